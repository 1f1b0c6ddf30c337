#include "files.h"
#include "foundation/ClassTable.h"
#include "library.h"
#include "registry.h"
#include "text.h"
#include "TransferFixture.h"

#include <fstream>

namespace {

using namespace mbtest;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr char16_t outlookExpress[] = u"{A268D411-2A98-40B8-8071-B9489A5DE4B2}", notes[] = u"{297D3C58-569B-4F38-AC59-D4E278D54779}",
                   outlook[] = u"{3D52B2B7-74EB-4DDA-8E54-566B1361665C}";

struct Listing {
    HRESULT hr = E_UNEXPECTED;
    std::vector<std::u16string> guids, names, paths;
    std::vector<bool> configurable, images;
};

class TargetListTest : public TransferTest {
protected:
    static std::vector<bool> flags(SAFEARRAY* array)
    {
        std::vector<bool> found;
        LONG high = -1;
        VARTYPE type = VT_EMPTY;
        if (!array) return found;
        EXPECT_EQ(SafeArrayGetVartype(array, &type), S_OK);
        EXPECT_EQ(type, VT_BOOL);
        EXPECT_EQ(SafeArrayGetUBound(array, 1, &high), S_OK);
        for (LONG i = 0; i <= high; ++i) {
            VARIANT_BOOL flag = 1;
            EXPECT_EQ(SafeArrayGetElement(array, &i, &flag), S_OK);
            EXPECT_TRUE(flag == VARIANT_TRUE || flag == VARIANT_FALSE);
            found.push_back(flag == VARIANT_TRUE);
        }
        EXPECT_EQ(SafeArrayDestroy(array), S_OK);
        return found;
    }
    static std::vector<std::u16string> texts(SAFEARRAY* array)
    {
        auto found = com::textArray(array);
        EXPECT_EQ(SafeArrayDestroy(array), S_OK);
        return found;
    }
    Listing list(bool withImages)
    {
        auto* const garbage = reinterpret_cast<SAFEARRAY*>(this); // the caller's out arguments may be uninitialised
        SAFEARRAY* arrays[5]{garbage, garbage, garbage, garbage, withImages ? garbage : nullptr};
        Listing listing;
        listing.hr = withImages ? transferer->GetTranslatorsEx(&arrays[0], &arrays[1], &arrays[2], &arrays[3], &arrays[4])
                                : transferer->GetTranslators(&arrays[0], &arrays[1], &arrays[2], &arrays[3]);
        if (FAILED(listing.hr)) {
            EXPECT_THAT(arrays, Each(nullptr)) << "a failure sets all arrays to null";
            return listing;
        }
        listing.guids = texts(arrays[0]);
        listing.names = texts(arrays[1]);
        listing.paths = texts(arrays[2]);
        listing.configurable = flags(arrays[3]);
        listing.images = flags(arrays[4]);
        return listing;
    }
    void install(const char16_t* clsid)
    {
        GUID id{};
        com::check(com::parseGuid(clsid, &id));
        com::check(scenario.create<ITrMapEntry>(__uuidof(TrManager))->Install(id));
    }
    void uninstallTarget() { com::check(scenario.create<ITrMapEntry>(__uuidof(TrManager))->UnInstall(fakeClass2)); }
    // Puts the Lotus Notes library with these bytes beside the host.
    void putNotesLibrary(const std::string& bytes)
    {
        const auto host = scenario.folder.path() / "host";
        std::filesystem::create_directories(host);
        std::ofstream(host / platform::libraryFileName("LNTrans"), std::ios::binary) << bytes;
        constexpr char16_t path[] = u"Software\\Zorel\\Mirabook\\Main";
        ASSERT_TRUE(platform::createKeyPath(platform::Root::CurrentUser, path));
        const std::u16string program = platform::textOf(host / "mb.exe");
        ASSERT_TRUE(platform::RegistryKey::open(platform::Root::CurrentUser, path)->setText(u"Path", program));
        transferer = scenario.create<ISyncTransfer>(__uuidof(SyncTransfer)); // looks for the library only in its constructor
    }
};

TEST_F(TargetListTest, TheTargetsAreListedWithoutTheHostsOwnTranslator)
{
    for (const bool withImages : {false, true}) {
        const Listing listing = list(withImages);
        ASSERT_EQ(listing.hr, S_OK);
        EXPECT_THAT(listing.guids, ElementsAre(com::guidText(fakeClass2)));
        EXPECT_THAT(listing.names, ElementsAre(u"The other program"));
        EXPECT_THAT(listing.paths, ElementsAre(u""));
        EXPECT_THAT(listing.configurable, ElementsAre(true));
        EXPECT_EQ(listing.images.size(), withImages ? 1u : 0u);
    }
}

TEST_F(TargetListTest, WithOnlyTheHostsTranslatorTheListingFails)
{
    uninstallTarget();
    EXPECT_EQ(list(false).hr, E_FAIL);
    EXPECT_EQ(list(true).hr, E_FAIL);
}

TEST_F(TargetListTest, ANameThatBeginsWithTheHostsNameIsLeftOutIgnoringCase)
{
    for (const char16_t* name : {u"Mirabook", u"mIrAbOoK", u"MIRABOOKS of old"}) {
        scenario.two().options.longName = name;
        EXPECT_EQ(list(false).hr, E_FAIL);
    }
    for (const char16_t* name : {u"My Mirabook", u"Miraboo"}) {
        scenario.two().options.longName = name;
        EXPECT_THAT(list(false).names, ElementsAre(name));
    }
}

TEST_F(TargetListTest, TheImageFlagTellsWhetherATargetSupportsImages)
{
    EXPECT_THAT(list(true).images, ElementsAre(false));
    scenario.two().options.images = true;
    EXPECT_THAT(list(true).images, ElementsAre(true));
}

TEST_F(TargetListTest, OnlyOutlookExpressIsNotConfigurable)
{
    install(outlookExpress);
    install(outlook);
    const Listing listing = list(false);
    ASSERT_EQ(listing.guids.size(), 3u);
    for (std::size_t i = 0; i < 3; ++i) EXPECT_EQ(listing.configurable[i], listing.guids[i] != outlookExpress) << i;
}

TEST_F(TargetListTest, ThePathIsThatOfTheTargetsProgram)
{
    uninstallTarget();
    install(outlook);
    EXPECT_THAT(list(false).paths, ElementsAre(u"outlook.exe"));
    setRegistryText(u"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\App Paths\\outlook.exe", u"", u"C:\\Office\\outlook.exe");
    EXPECT_THAT(list(false).paths, ElementsAre(u"C:\\Office\\outlook.exe"));
}

TEST_F(TargetListTest, AnUnregisteredLotusNotesTranslatorIsOfferedIfItsLibraryExists)
{
    EXPECT_THAT(list(true).guids, ElementsAre(com::guidText(fakeClass2)));
    putNotesLibrary("");
    EXPECT_THAT(list(true).guids, ElementsAre(com::guidText(fakeClass2))) << "an empty library file does not count";
    putNotesLibrary("no library, but something");
    const Listing listing = list(true);
    EXPECT_THAT(listing.guids, ElementsAre(com::guidText(fakeClass2), notes));
    EXPECT_THAT(listing.names, ElementsAre(u"The other program", u"Lotus Notes 4.6 or later"));
    EXPECT_THAT(listing.paths, ElementsAre(u"", u""));
    EXPECT_THAT(listing.images, ElementsAre(false, true));
    EXPECT_THAT(listing.configurable, ElementsAre(true, true));
}

TEST_F(TargetListTest, ALotusNotesTranslatorThatIsRegisteredIsNotOfferedTwice)
{
    putNotesLibrary("something");
    install(notes);
    EXPECT_EQ(list(false).guids.size(), 2u);
}

TEST_F(TargetListTest, TheLotusNotesLibraryAloneIsNotATarget)
{
    putNotesLibrary("something");
    uninstallTarget();
    EXPECT_EQ(list(false).hr, E_FAIL);
}

// A translator manager that fails to name its translators.
class NamelessManager final : public com::Object<ITrManager, ITrMap> {
public:
    explicit NamelessManager(IUnknown* outer) noexcept : Object(outer) {}
    static inline std::u16string named; // the only class with a name

    HRESULT STDMETHODCALLTYPE EnumerateTranslators(LONG* count, GUID** ids) override
    {
        const GUID both[] = {fakeClass1, fakeClass2};
        return com::giveArray<GUID>(both, count, ids);
    }
    HRESULT STDMETHODCALLTYPE GetName(REFGUID id, VARIANT_BOOL longName, BSTR* name) override
    {
        EXPECT_EQ(longName, VARIANT_TRUE);
        *name = nullptr;
        if (com::guidText(id) != named) return E_FAIL;
        return com::guarded([&] { com::give(name, u"Named"); });
    }
    HRESULT STDMETHODCALLTYPE GetNameImageSupport(REFGUID id, VARIANT_BOOL longName, BSTR* name, VARIANT_BOOL* images) override
    {
        *images = VARIANT_TRUE;
        return GetName(id, longName, name);
    }

    HRESULT STDMETHODCALLTYPE EnumerateMaps(LONG*, GUID**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE DeleteMap(REFGUID) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE EnumerateTranslatorsEx(LONG*, GUID**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE EnumerateMapsEx(LONG*, GUID**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Create(REFGUID, REFGUID, GUID*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetTranslators(REFGUID, GUID*, GUID*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetFieldMap(REFGUID, GUID*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetFieldMap(REFGUID, REFGUID) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetOption(REFGUID, LONG, VARIANT*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetOption(REFGUID, LONG, VARIANT) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE ConfigureTranslator(REFGUID, _TransIds, HWND, BSTR*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetCurrentDatabase(REFGUID, BSTR*, BSTR*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetDatabase(REFGUID, _TransIds, BSTR) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetLastSyncDatabase(REFGUID, BSTR*, BSTR*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetLastSyncTime(REFGUID, DATE*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE LoadTranslator(REFGUID, _TransIds, HWND, VARIANT_BOOL, ITranslator**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE ConfigureTranslator2(REFGUID, _TransIds, HWND, BSTR*, VARIANT*, BSTR*, BSTR*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE CreateEx(REFGUID, REFGUID, REFGUID) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetLastSyncStatus(REFGUID, VARIANT_BOOL*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetShortLongNameDescription(REFGUID, BSTR*, BSTR*, BSTR*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetConfiguredTranslator(REFGUID, _TransIds, ITranslator**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetLastSyncTime(REFGUID, DATE) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetCategoryGuid(REFGUID, GUID*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetCategoryGuid(REFGUID, REFGUID) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetHistoryCategories(REFGUID, _TransIds, SAFEARRAY**, SAFEARRAY**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetNameAvailability(REFGUID, VARIANT_BOOL, BSTR*, LONG*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetLastSyncDatabases(REFGUID, BSTR, BSTR) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE ConfigureFieldMapping(HWND, REFGUID, VARIANT_BOOL) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetFieldMapStatusForHistRecs(REFGUID, BSTR, VARIANT_BOOL) override { return E_NOTIMPL; }
};

TEST_F(TargetListTest, ATranslatorWhoseNameCannotBeReadIsLeftOutWithoutError)
{
    static constexpr com::ClassEntry rows[] = {{&__uuidof(TrManager), u"", u"", com::create<NamelessManager>}};
    const mb::ClassOverride nameless(rows);
    NamelessManager::named = com::guidText(fakeClass2);
    for (const bool withImages : {false, true}) {
        const Listing listing = list(withImages);
        ASSERT_EQ(listing.hr, S_OK);
        EXPECT_THAT(listing.guids, ElementsAre(com::guidText(fakeClass2)));
        EXPECT_THAT(listing.names, ElementsAre(u"Named"));
    }
    NamelessManager::named.clear();
    EXPECT_EQ(list(false).hr, E_FAIL);
}

} // namespace
