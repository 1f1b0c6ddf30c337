#include "Installation.h"

#include "com.h"
#include <gtest/gtest.h>
#include <random>

namespace mbtest {
namespace {

namespace fs = std::filesystem;

constexpr wchar_t shellFolders[] = L"Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\User Shell Folders";
constexpr wchar_t dataFolderValue[] = L"AppData";

fs::path temporaryPath(const char* name)
{
    std::random_device random;
    return fs::temp_directory_path() / (name + std::to_string(random()) + std::to_string(random()));
}

void requireWin32(bool done)
{
    if (!done) throw com::Error(HRESULT_FROM_WIN32(GetLastError()));
}

std::wstring dataFolder()
{
    wchar_t text[1024] = {};
    DWORD size = sizeof text;
    const LSTATUS status = RegGetValueW(HKEY_CURRENT_USER, shellFolders, dataFolderValue,
                                        RRF_RT_REG_SZ | RRF_RT_REG_EXPAND_SZ | RRF_NOEXPAND, nullptr, text, &size);
    return status == ERROR_SUCCESS ? text : L"%USERPROFILE%\\AppData\\Roaming";
}

void setDataFolder(const std::wstring& folder)
{
    const auto size = static_cast<DWORD>((folder.size() + 1) * sizeof(wchar_t));
    const LSTATUS status = RegSetKeyValueW(HKEY_CURRENT_USER, shellFolders, dataFolderValue, REG_EXPAND_SZ, folder.c_str(), size);
    com::check(HRESULT_FROM_WIN32(status));
}

fs::path systemProgram(const wchar_t* name)
{
    wchar_t folder[MAX_PATH];
    requireWin32(GetSystemDirectoryW(folder, MAX_PATH) > 0);
    return fs::path(folder) / name;
}

} // namespace

unsigned long registerLibrary(const fs::path& library)
{
    return runProgram(systemProgram(L"regsvr32.exe"), {L"/s", library.native()}).code;
}

unsigned long unregisterLibrary(const fs::path& library)
{
    return runProgram(systemProgram(L"regsvr32.exe"), {L"/s", L"/u", library.native()}).code;
}

Installation::Installation() : folder_(temporaryPath("mbinstall")), formerDataFolder_(dataFolder())
{
    fs::create_directories(folder_);
    setDataFolder(folder_.native());
    EXPECT_EQ(registerLibrary(MODULE_FILE), 0u);
    EXPECT_EQ(registerLibrary(VCARD_PLUGIN), 0u);
}

Installation::~Installation()
{
    CoFreeUnusedLibrariesEx(0, 0); // unloads the module from this process, so that its data folder can be removed
    EXPECT_EQ(unregisterLibrary(VCARD_PLUGIN), 0u);
    EXPECT_EQ(unregisterLibrary(MODULE_FILE), 0u);
    setDataFolder(formerDataFolder_);
    std::error_code error;
    fs::remove_all(folder_, error);
}

} // namespace mbtest
