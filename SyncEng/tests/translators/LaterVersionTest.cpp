// TrManager with files that a later version of the program wrote: each call that needs such a file fails, the error text names the file,
// and the file is not changed.
#include "TranslatorsFixture.h"

#include "error_text.h"
#include "files.h"
#include "text.h"

namespace {

using namespace mbtest;

constexpr char later[] = "<Scs Version=\"5\"><Sc><ST>Trans1</ST><SN>U3luY0luZm8=</SN></Sc></Scs>";

class LaterVersionTest : public TranslatorsTest {
protected:
    LaterVersionTest() { (void)platform::takeErrorText(); }
    void put(const std::filesystem::path& file) const { folder.write(std::filesystem::relative(file, folder.path()).string(), later); }
    void expectRefused(HRESULT hr, const std::filesystem::path& file) const
    {
        EXPECT_EQ(hr, mb::storeOfLaterVersion);
        const std::string text = platform::utf8(platform::takeErrorText());
        EXPECT_EQ(text.find("\"" + platform::utf8(platform::textOf(file)) + "\" was written by a later version (5)"), 0u) << text;
        EXPECT_EQ(folder.read(file), later);
    }
};

TEST_F(LaterVersionTest, AHistoryIsNeitherReadNorChanged)
{
    const auto file = historyFile(mapA);
    put(file);
    const auto map = maps();
    VARIANT_BOOL status = VARIANT_FALSE;
    DATE time = 5;
    com::Bstr database1, database2;
    const com::Bstr text(u"Trans1");
    expectRefused(map->GetLastSyncStatus(mapA, &status), file);
    expectRefused(map->GetLastSyncTime(mapA, &time), file);
    expectRefused(map->GetLastSyncDatabase(mapA, database1.put(), database2.put()), file);
    expectRefused(map->SetLastSyncDatabases(mapA, text.get(), text.get()), file);
    expectRefused(map->SetLastSyncTime(mapA, 46000.5), file);
    expectRefused(map->SetFieldMapStatusForHistRecs(mapA, text.get(), VARIANT_TRUE), file);
    const auto records = create<IFidemarkSupport>(__uuidof(TrManager));
    expectRefused(records->Initialize(mapA), file);
    EXPECT_EQ(records->SetRecordStatus(idTrans1, text.get(), 1), E_POINTER);
    EXPECT_EQ(records->Cleanup(), S_OK);
    EXPECT_EQ(folder.read(file), later);
}

TEST_F(LaterVersionTest, AHistoryOfCategoriesIsNotRead)
{
    writePair(mapA);
    ASSERT_EQ(maps()->SetCategoryGuid(mapA, mapB), S_OK);
    put(historyFile(mapB));
    SAFEARRAY *ids = nullptr, *names = nullptr;
    expectRefused(maps()->GetHistoryCategories(mapA, idTrans1, &ids, &names), historyFile(mapB));
    EXPECT_EQ(ids, nullptr);
}

TEST_F(LaterVersionTest, AHistorySurvivesDeletingAndRecreatingItsMap)
{
    const auto file = historyFile(mapA);
    writePair(mapA);
    put(file);
    expectRefused(manager()->DeleteMap(mapA), file);
    EXPECT_EQ(maps()->CreateEx(mapA, pluginClass1, pluginClass2), S_OK);
    EXPECT_EQ(folder.read(file), later);
}

TEST_F(LaterVersionTest, AListOfRecordsByFileIsNotOpened)
{
    const auto file = folder.data() / "CNFilter.xml";
    put(file);
    const auto filter = create<IFidemarkFilter>(__uuidof(TrManager));
    expectRefused(filter->OpenStore(), file);
    const com::Bstr text(u"f");
    EXPECT_EQ(filter->AddEntry(text.get(), text.get()), E_POINTER);
    EXPECT_EQ(filter->DeleteEntry(nullptr, nullptr), E_POINTER);
    EXPECT_EQ(filter->CloseStore(), S_OK);
    EXPECT_EQ(folder.read(file), later);
}

TEST_F(LaterVersionTest, WithoutItsConfigurationTheManagerReportsWhyThereAreNoMaps)
{
    const auto file = folder.data() / "later.xml";
    put(file);
    ASSERT_EQ(mb::CloseConfigStore(), S_OK);
    ASSERT_EQ(mb::OpenConfigStore(file), mb::storeOfLaterVersion);
    LONG count = 0;
    GUID* ids = nullptr;
    EXPECT_EQ(manager()->EnumerateMaps(&count, &ids), E_POINTER);
    EXPECT_EQ(platform::utf8(platform::takeErrorText()).find("\"" + platform::utf8(platform::textOf(file)) + "\" was written by a later"),
              0u);
    EXPECT_EQ(folder.read(file), later);
}

} // namespace
