// Leads the process's data, cache and registry into a folder and into keys of its own, for as long as this lives. The component runtime
// itself goes on looking for classes in the system's keys.
#pragma once
#include "com.h"
#include "TranslatorClasses.h"

#include <array>
#include <filesystem>
#include <string>

namespace mbtest {

class ProcessFolders {
public:
    explicit ProcessFolders(const std::filesystem::path& folder) : path_(L"Software\\mbtest\\" + folder.filename().native())
    {
        for (std::size_t i = 0; i < roots.size(); ++i) keys_[i] = made(HKEY_CURRENT_USER, path_ + L"\\" + std::to_wstring(i));
        for (std::size_t i = 0; i < roots.size(); ++i) com::check(HRESULT_FROM_WIN32(RegOverridePredefKey(roots[i], keys_[i])));
        const HKEY shell = made(HKEY_CURRENT_USER, L"Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\User Shell Folders");
        set(shell, L"AppData", folder / "data");
        set(shell, L"Local AppData", folder / "cache");
        RegCloseKey(shell);
    }
    ProcessFolders(const ProcessFolders&) = delete;
    ProcessFolders& operator=(const ProcessFolders&) = delete;
    ~ProcessFolders()
    {
        for (std::size_t i = 0; i < roots.size(); ++i) {
            RegOverridePredefKey(roots[i], nullptr);
            RegCloseKey(keys_[i]);
        }
        RegDeleteTreeW(HKEY_CURRENT_USER, path_.c_str());
    }

    // The product's own keys lead nowhere, so that none can be read or made; the system's are needed to find the folders.
    void refuseRegistry()
    {
        constexpr wchar_t nowhere[] = L"\\Registry\\Machine\\none";
        for (const HKEY root : {HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE}) {
            HKEY link = nullptr;
            RegDeleteTreeW(root, L"Software\\Zorel");
            com::check(
                HRESULT_FROM_WIN32(RegCreateKeyExW(root, L"Software\\Zorel", 0, nullptr, REG_OPTION_VOLATILE | REG_OPTION_CREATE_LINK,
                                                   KEY_ALL_ACCESS, nullptr, &link, nullptr)));
            const LSTATUS set = RegSetValueExW(link, L"SymbolicLinkValue", 0, REG_LINK, reinterpret_cast<const BYTE*>(nowhere),
                                               sizeof nowhere - sizeof(wchar_t));
            RegCloseKey(link);
            com::check(HRESULT_FROM_WIN32(set));
        }
    }

private:
    static inline const std::array roots{HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE, HKEY_CLASSES_ROOT};

    static HKEY made(HKEY root, const std::wstring& path)
    {
        HKEY key = nullptr;
        const LSTATUS status = RegCreateKeyExW(root, path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr);
        com::check(HRESULT_FROM_WIN32(status));
        return key;
    }
    static void set(HKEY key, const wchar_t* name, const std::filesystem::path& value)
    {
        const auto size = static_cast<DWORD>((value.native().size() + 1) * sizeof(wchar_t));
        com::check(HRESULT_FROM_WIN32(RegSetValueExW(key, name, 0, REG_EXPAND_SZ, reinterpret_cast<const BYTE*>(value.c_str()), size)));
    }

    std::wstring path_;
    std::array<HKEY, 3> keys_{};
    TranslatorClasses classes_;
};

} // namespace mbtest
