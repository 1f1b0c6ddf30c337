// Plug-ins that do what none should, registered as translators: each is a clear code, and the engine lives on.
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
    // Makes the class another library's for as long as the registration lasts.
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
    // A run of a map between a good store and one of the class.
    HRESULT run(const GUID& clsid)
    {
        std::filesystem::create_directories(installation.folder() / "cards");
        com::Ptr<ITrMap> maps;
        com::Ptr<ISynchronizer> synchronizer;
        com::check(com::createInstance(__uuidof(TrManager), maps));
        com::check(com::createInstance(__uuidof(Synchronizer), synchronizer));
        GUID map{};
        com::check(maps->Create(vCardClass, clsid, &map));
        com::check(maps->SetDatabase(map, idTrans1, com::Bstr((installation.folder() / "cards").u16string()).get()));
        com::check(synchronizer->Initialize(nullptr, VARIANT_FALSE));
        const HRESULT hr = synchronizer->Synchronize(map, VARIANT_TRUE);
        (void)synchronizer->Cleanup();
        return hr;
    }
    std::string log() const
    {
        std::ifstream in(installation.data() / "MBSync.log", std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }
    void expectRefusal(const GUID& clsid)
    {
        EXPECT_TRUE(FAILED(load(clsid)));
        EXPECT_TRUE(FAILED(run(clsid)));
        EXPECT_THAT(log(), HasSubstr("An error occurred while ")) << "the log tells of it";
    }
    Installation installation;
};

} // namespace

TEST_F(BadPlugin, NullWithSuccessIsAFailure) { expectRefusal(emptyClass); }

TEST_F(BadPlugin, OneThatThrowsIsAFailure) { expectRefusal(throwingClass); }

TEST_F(BadPlugin, AClassThatIsNoTranslatorIsAFailure)
{
    EXPECT_EQ(load(foreignClass), E_NOINTERFACE);
    expectRefusal(foreignClass);
}

TEST_F(BadPlugin, ALibraryThatIsNoServerIsAFailure)
{
    wchar_t system[MAX_PATH];
    GetSystemDirectoryW(system, MAX_PATH);
    serveFrom(foreignClass, std::filesystem::path(system) / L"version.dll");
    expectRefusal(foreignClass);
}

TEST_F(BadPlugin, AFileThatIsNoLibraryIsAFailure)
{
    const auto file = installation.folder() / "plain.dll";
    std::ofstream(file) << "no library";
    serveFrom(foreignClass, file);
    expectRefusal(foreignClass);
}

TEST_F(BadPlugin, TheOthersAreListedAllTheSame)
{
    com::Ptr<ITrManager> manager;
    ASSERT_EQ(com::createInstance(__uuidof(TrManager), manager), S_OK);
    com::TaskArray<GUID> found;
    ASSERT_EQ(manager->EnumerateTranslators(found.putCount(), found.put()), S_OK);
    EXPECT_THAT(std::vector<GUID>(found.items().begin(), found.items().end()), testing::Contains(vCardClass));
}
