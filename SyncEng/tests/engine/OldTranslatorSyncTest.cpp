// Maps with a translator of the older contract on one side: the plug-in's own library, registered, and a fake on the other side.
#include "files.h"
#include "RegisteredPlugin.h"
#include "SyncScenario.h"

#include <fstream>
#include <gmock/gmock.h>

namespace {

using namespace mbtest;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

constexpr GUID oldNumbers{0x01D00001, 0x1111, 0x4111, {0x81, 0x11, 0x01, 0xD0, 0, 0, 0, 0x01}};
constexpr GUID oldTexts{0x01D00002, 0x2222, 0x4222, {0x82, 0x22, 0x01, 0xD0, 0, 0, 0, 0x02}};

class OldTranslatorSyncTest : public ::testing::TestWithParam<GUID> {
protected:
    OldTranslatorSyncTest()
    {
        const auto maps = scenario.maps();
        com::check(maps->Create(fakeClass1, GetParam(), &map_));
        com::check(maps->SetDatabase(map_, idTrans2, com::Bstr(platform::textOf(file())).get()));
    }
    std::filesystem::path file() const { return scenario.folder.path() / "old.txt"; }
    std::string oldText() const { return scenario.folder.read(file()); }
    // As the old program's user edits: a text, and the date with it.
    void editOld(const std::string& from, const std::string& to)
    {
        std::string text = oldText();
        const std::size_t at = text.find(from), date = text.rfind("modified\t", at);
        ASSERT_NE(at, std::string::npos);
        text.replace(at, from.size(), to);
        text.replace(date, text.find('\n', date) - date, "modified\tdate:47000.0");
        scenario.folder.write("old.txt", text);
    }
    HRESULT sync() { return scenario.syncMap(map_); }

    SyncScenario scenario;
    RegisteredPlugin plugin{OLD_PLUGIN, {oldNumbers, oldTexts}};
    GUID map_{};
};

TEST_P(OldTranslatorSyncTest, BothSidesAreKeptInStepAndTheNextRunWritesNothing)
{
    const auto ann = scenario.one().add({{ftFirstName, u"Ann"}, {ftLastName, u"Smith"}, {ftEmail1, u"ann@example.org"}});
    const auto bob = scenario.one().add({{ftFirstName, u"Bob"}, {ftLastName, u"Jones"}});
    scenario.folder.write("old.txt", "id\tx1\ncreated\ttext:2001-02-03\nmodified\ttext:2001-02-04\n101\tCarl\n102\tBrown\n\n");
    ASSERT_EQ(sync(), S_OK);
    EXPECT_THAT(oldText(), HasSubstr("101\tAnn\n102\tSmith\n104\tann@example.org\n"));
    EXPECT_EQ(scenario.one().records.size(), 3u);
    ASSERT_EQ(sync(), S_OK);
    EXPECT_THAT(scenario.writes(), IsEmpty());

    editOld("ann@example.org", "ann@example.net");
    scenario.one().set(bob, ftLastName, u"Jones-Smith");
    ASSERT_EQ(sync(), S_OK);
    EXPECT_EQ(scenario.one().get(ann, ftEmail1), u"ann@example.net");
    EXPECT_THAT(oldText(), HasSubstr("Jones-Smith"));

    scenario.one().remove(bob);
    ASSERT_EQ(sync(), S_OK);
    EXPECT_THAT(oldText(), Not(HasSubstr("Jones-Smith")));
    ASSERT_EQ(sync(), S_OK);
    EXPECT_THAT(scenario.writes(), IsEmpty());
}

TEST_P(OldTranslatorSyncTest, AFileThatDoesNotOpenIsToldByTheOldTranslator)
{
    const auto elsewhere = scenario.folder.path() / "no folder" / "old.txt";
    ASSERT_EQ(scenario.maps()->SetDatabase(map_, idTrans2, com::Bstr(platform::textOf(elsewhere)).get()), S_OK);
    EXPECT_TRUE(FAILED(sync()));
    EXPECT_NE(scenario.lastError().first.find(u"no folder"), std::u16string::npos);
}

INSTANTIATE_TEST_SUITE_P(BothKindsOfIds, OldTranslatorSyncTest, ::testing::Values(oldNumbers, oldTexts),
                         [](const auto& parameter) { return parameter.param == oldNumbers ? "Numbers" : "Texts"; });

} // namespace
