// Registration and unregistration with regsvr32.
#include "com.h"

#include "Installation.h"
#include "RegistryDump.h"
#include "text.h"
#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace mbtest;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

constexpr char16_t machineClasses[] = u"Software\\Classes\\";

// Returns the lines that are only in `after`, as UTF-8 for a readable failure message.
std::vector<std::string> newIn(const std::set<std::u16string>& after, const std::set<std::u16string>& before)
{
    std::vector<std::string> found;
    for (const std::u16string& line : after)
        if (!before.contains(line)) found.push_back(platform::utf8(line));
    return found;
}

// Ignores case, because the case of key names depends on the system.
bool hasLine(const std::set<std::u16string>& lines, const std::u16string& line)
{
    return std::ranges::any_of(lines, [&](const std::u16string& other) { return platform::equalNoCase(other, line); });
}

bool has(const std::set<std::u16string>& lines, const std::u16string& path, const std::u16string& name, const std::u16string& text)
{
    return hasLine(lines, machineClasses + path + u" | " + name + u" = 1:" + text + u'\0');
}

std::wstring valueOf(HKEY root, const wchar_t* path)
{
    wchar_t text[1024] = {};
    DWORD size = sizeof text;
    return RegGetValueW(root, path, nullptr, RRF_RT_REG_SZ, nullptr, text, &size) == ERROR_SUCCESS ? text : L"";
}

class Registration : public testing::Test {
protected:
    ~Registration() override
    {
        SetEnvironmentVariableW(L"MBSYNC_PER_USER", nullptr);
        unregisterLibrary(MODULE_FILE);
    }
};

} // namespace

TEST_F(Registration, UnregisteringLeavesNothingBehind)
{
    for (const wchar_t* perUser : {L"", L"1"}) {
        SetEnvironmentVariableW(L"MBSYNC_PER_USER", perUser);
        const auto before = registryLines();
        ASSERT_EQ(registerLibrary(MODULE_FILE), 0u);
        const auto between = registryLines();
        EXPECT_THAT(newIn(between, before), testing::Not(IsEmpty()));
        ASSERT_EQ(unregisterLibrary(MODULE_FILE), 0u);
        const auto after = registryLines();
        EXPECT_THAT(newIn(after, before), IsEmpty());
        EXPECT_THAT(newIn(before, after), IsEmpty());
    }
}

TEST_F(Registration, UnregisteringAPluginLeavesNothingBehind)
{
    const auto before = registryLines();
    ASSERT_EQ(registerLibrary(VCARD_PLUGIN), 0u);
    EXPECT_THAT(newIn(registryLines(), before), testing::Not(IsEmpty()));
    ASSERT_EQ(unregisterLibrary(VCARD_PLUGIN), 0u);
    EXPECT_THAT(newIn(registryLines(), before), IsEmpty());
}

TEST_F(Registration, RegisteringAndUnregisteringAreIdempotent)
{
    const auto before = registryLines();
    ASSERT_EQ(registerLibrary(MODULE_FILE), 0u);
    const auto once = registryLines();
    ASSERT_EQ(registerLibrary(MODULE_FILE), 0u);
    EXPECT_THAT(newIn(registryLines(), once), IsEmpty());
    ASSERT_EQ(unregisterLibrary(MODULE_FILE), 0u);
    EXPECT_EQ(unregisterLibrary(MODULE_FILE), 0u);
    EXPECT_THAT(newIn(registryLines(), before), IsEmpty());
}

TEST_F(Registration, AClassHasItsNamesItsServerAndItsIdentifiers)
{
    ASSERT_EQ(registerLibrary(MODULE_FILE), 0u);
    const auto lines = registryLines();
    const std::u16string clsid = u"{DB261C5C-DFBE-4CDA-B5F2-E718824032A6}", key = u"CLSID\\" + clsid;
    const std::u16string module = std::filesystem::path(MODULE_FILE).make_preferred().u16string();
    EXPECT_TRUE(has(lines, key + u"\\ProgID", u"", u"MBSync.TrManager.1"));
    EXPECT_TRUE(has(lines, key + u"\\VersionIndependentProgID", u"", u"MBSync.TrManager"));
    EXPECT_TRUE(has(lines, key + u"\\InprocServer32", u"", module));
    EXPECT_TRUE(has(lines, key + u"\\InprocServer32", u"ThreadingModel", u"Apartment"));
    EXPECT_TRUE(has(lines, key + u"\\TypeLib", u"", u"{33D2D523-69CB-4FB4-A8FE-AA6DDD4893C7}"));
    EXPECT_TRUE(has(lines, key, u"AppID", u"{90F753D0-DD7F-4564-90CE-4C72CCC3299C}"));
    EXPECT_TRUE(hasLine(lines, machineClasses + key + u"\\Programmable"));
    EXPECT_TRUE(has(lines, u"MBSync.TrManager.1\\CLSID", u"", clsid));
    EXPECT_TRUE(has(lines, u"MBSync.TrManager\\CLSID", u"", clsid));
    EXPECT_TRUE(has(lines, u"MBSync.TrManager\\CurVer", u"", u"MBSync.TrManager.1"));
}

TEST_F(Registration, ApplicationTypeLibraryAndCategoryHaveTheirKeys)
{
    ASSERT_EQ(registerLibrary(MODULE_FILE), 0u);
    const auto lines = registryLines();
    const std::u16string library = u"TypeLib\\{33D2D523-69CB-4FB4-A8FE-AA6DDD4893C7}\\1.0";
    EXPECT_TRUE(has(lines, u"AppID\\{90F753D0-DD7F-4564-90CE-4C72CCC3299C}", u"", u"MBSync"));
    EXPECT_TRUE(has(lines, u"AppID\\MBSync.DLL", u"AppID", u"{90F753D0-DD7F-4564-90CE-4C72CCC3299C}"));
    EXPECT_TRUE(has(lines, library, u"", u"Mirabook Synchronizion Engine 1.0 Type Library"));
    EXPECT_TRUE(hasLine(lines, machineClasses + library + u"\\0\\win64"));
    EXPECT_TRUE(std::ranges::any_of(lines, [](const std::u16string& line) {
        return line.find(u"Component Categories\\{DCCCC8B9-C75D-44A2-9D89-9E7C78169C12} | ") != std::u16string::npos &&
               line.find(u"Mirabook Synchronization Translator") != std::u16string::npos;
    }));
}

TEST_F(Registration, EveryClassIsListedAndCanBeCreated)
{
    ASSERT_EQ(registerLibrary(MODULE_FILE), 0u);
    CLSID clsid{};
    com::Ptr<IUnknown> object;
    const wchar_t* names[] = {L"TrServices", L"TrManager",    L"TranslatorBridge", L"SyncTransfer", L"Synchronizer",
                              L"LogFile",    L"InteropDummy", L"FieldMap",         L"DataStream",   L"SyncAutoTest"};
    int listed = 0;
    for (const wchar_t* name : names) {
        const std::wstring progId = std::wstring(L"MBSync.") + name + L".1";
        if (FAILED(CLSIDFromProgID(progId.c_str(), &clsid))) continue;
        ++listed;
        EXPECT_EQ(com::createInstance(clsid, object, CLSCTX_INPROC_SERVER), S_OK)
            << platform::utf8(std::u16string(progId.begin(), progId.end()));
        object.reset();
    }
    EXPECT_EQ(listed, 10);
    CoFreeUnusedLibrariesEx(0, 0);
}

TEST_F(Registration, APerUserRegistrationWritesTheUsersClasses)
{
    SetEnvironmentVariableW(L"MBSYNC_PER_USER", L"1");
    ASSERT_EQ(registerLibrary(MODULE_FILE), 0u);
    constexpr wchar_t progId[] = L"Software\\Classes\\MBSync.Synchronizer.1\\CLSID";
    EXPECT_EQ(valueOf(HKEY_CURRENT_USER, progId), L"{66A38135-AAD7-4E07-9EF2-5348B4FE66D9}");
    EXPECT_EQ(valueOf(HKEY_LOCAL_MACHINE, progId), L"");
    ASSERT_EQ(unregisterLibrary(MODULE_FILE), 0u);
    EXPECT_EQ(valueOf(HKEY_CURRENT_USER, progId), L"");
}

TEST_F(Registration, TheThreadsLocaleIsRestored)
{
    const HMODULE module = LoadLibraryW(std::filesystem::path(MODULE_FILE).c_str());
    ASSERT_TRUE(module);
    const auto call = [&](const char* name) {
        return reinterpret_cast<HRESULT(STDMETHODCALLTYPE*)()>(reinterpret_cast<void*>(GetProcAddress(module, name)))();
    };
    const LCID german = MAKELCID(MAKELANGID(LANG_GERMAN, SUBLANG_GERMAN), SORT_DEFAULT), before = GetThreadLocale();
    ASSERT_TRUE(SetThreadLocale(german));
    EXPECT_EQ(call("DllRegisterServer"), S_OK);
    EXPECT_EQ(GetThreadLocale(), german);
    EXPECT_EQ(call("DllUnregisterServer"), S_OK);
    EXPECT_EQ(GetThreadLocale(), german);
    SetThreadLocale(before);
    FreeLibrary(module);
}
