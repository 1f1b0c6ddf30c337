// Plug-ins that break the contract, registered as translators: loading them fails with a clear code, and the engine survives.
#include "com.h"

#include "Installation.h"
#include "interfaces.h"
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iterator>

using namespace mbtest;
using testing::HasSubstr;

namespace {

constexpr GUID emptyClass{0xBAD00001, 0x1111, 0x4222, {0x83, 0x33, 0x44, 0x44, 0x44, 0x44, 0x44, 0x44}};
constexpr GUID throwingClass{0xBAD00002, 0x1111, 0x4222, {0x83, 0x33, 0x44, 0x44, 0x44, 0x44, 0x44, 0x44}};
constexpr GUID foreignClass{0xBAD00003, 0x1111, 0x4222, {0x83, 0x33, 0x44, 0x44, 0x44, 0x44, 0x44, 0x44}};
constexpr GUID vCardClass{0x86705195, 0xe5f6, 0x4fbc, {0xad, 0x43, 0xe8, 0x5e, 0xd5, 0x84, 0x3b, 0x9a}};

class BadPlugin : public testing::Test {
protected:
    BadPlugin() { EXPECT_EQ(registerLibrary(BAD_PLUGIN), 0u); }
    ~BadPlugin() override { EXPECT_EQ(unregisterLibrary(BAD_PLUGIN), 0u); }
    // Registers another library for the class, until the plug-in is unregistered.
    static void serveFrom(const GUID& clsid, const std::filesystem::path& library)
    {
        const std::u16string key = u"CLSID\\" + com::guidText(clsid) + u"\\InprocServer32";
        const std::wstring path(key.begin(), key.end());
        const auto size = static_cast<DWORD>((library.native().size() + 1) * sizeof(wchar_t));
        ASSERT_EQ(RegSetKeyValueW(HKEY_CLASSES_ROOT, path.c_str(), nullptr, REG_SZ, library.c_str(), size), ERROR_SUCCESS);
    }
    static HRESULT load(const GUID& clsid)
    {
        com::Ptr<ITrMapEntry> entry;
        com::check(com::createInstance(__uuidof(TrManager), entry));
        com::Ptr<ITranslator> translator;
        const HRESULT hr = entry->Load(clsid, translator.put());
        EXPECT_FALSE(translator);
        return hr;
    }
    com::Ptr<ITrMap> maps() const
    {
        com::Ptr<ITrMap> made;
        com::check(com::createInstance(__uuidof(TrManager), made));
        return made;
    }
    std::string log() const
    {
        std::ifstream in(installation.data() / "MBSync.log", std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }
    void expectRefusal(const GUID& clsid)
    {
        EXPECT_TRUE(FAILED(load(clsid)));
        GUID map{};
        EXPECT_TRUE(FAILED(maps()->Create(vCardClass, clsid, &map)));
        EXPECT_THAT(log(), HasSubstr(" occurred while loading module {BAD0000")) << "the failure is logged";
    }
    Installation installation;
};

} // namespace

TEST_F(BadPlugin, NullWithSuccessIsAFailure) { expectRefusal(emptyClass); }

TEST_F(BadPlugin, AThrowingPluginIsAFailure) { expectRefusal(throwingClass); }

TEST_F(BadPlugin, AClassThatIsNotATranslatorIsAFailure)
{
    EXPECT_EQ(load(foreignClass), REGDB_E_CLASSNOTREG) << "the bridge's result for a class that has neither contract";
    expectRefusal(foreignClass);
}

TEST_F(BadPlugin, ALibraryThatIsNotAServerIsAFailure)
{
    wchar_t system[MAX_PATH];
    GetSystemDirectoryW(system, MAX_PATH);
    serveFrom(foreignClass, std::filesystem::path(system) / L"version.dll");
    expectRefusal(foreignClass);
}

TEST_F(BadPlugin, AFileThatIsNotALibraryIsAFailure)
{
    const auto file = installation.folder() / "plain.dll";
    std::ofstream(file) << "no library";
    serveFrom(foreignClass, file);
    expectRefusal(foreignClass);
}

TEST_F(BadPlugin, AMapWhosePluginCannotBeLoadedAnyMoreFailsTheRun)
{
    std::filesystem::create_directories(installation.folder() / "cards");
    const com::Bstr cards((installation.folder() / "cards").u16string());
    GUID map{};
    ASSERT_EQ(maps()->Create(vCardClass, vCardClass, &map), S_OK);
    ASSERT_EQ(maps()->SetDatabase(map, idTrans1, cards.get()), S_OK);
    const auto file = installation.folder() / "plain.dll";
    std::ofstream(file) << "no library";
    serveFrom(vCardClass, file);
    com::Ptr<ISynchronizer> synchronizer;
    ASSERT_EQ(com::createInstance(__uuidof(Synchronizer), synchronizer), S_OK);
    ASSERT_EQ(synchronizer->Initialize(nullptr, VARIANT_FALSE), S_OK);
    EXPECT_TRUE(FAILED(synchronizer->Synchronize(map, VARIANT_TRUE)));
    EXPECT_EQ(synchronizer->Cleanup(), S_OK);
    EXPECT_THAT(log(), HasSubstr(" occurred while loading module {86705195"));
}

TEST_F(BadPlugin, TheOtherTranslatorsAreStillListed)
{
    com::Ptr<ITrManager> manager;
    ASSERT_EQ(com::createInstance(__uuidof(TrManager), manager), S_OK);
    com::TaskArray<GUID> found;
    ASSERT_EQ(manager->EnumerateTranslators(found.putCount(), found.put()), S_OK);
    EXPECT_THAT(std::vector<GUID>(found.items().begin(), found.items().end()), testing::Contains(vCardClass));
}
