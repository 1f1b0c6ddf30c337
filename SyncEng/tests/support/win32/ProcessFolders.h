// While this object lives, redirects the process's data and cache to a folder, and its registry to separate keys. The component runtime
// still looks for classes in the system's keys.
#pragma once
#include "com.h"
#include "TranslatorClasses.h"

#include <array>
#include <filesystem>
#include <string>
#include <vector>

namespace mbtest {

class ProcessFolders {
public:
    explicit ProcessFolders(const std::filesystem::path& folder) : path_(L"Software\\mbtest\\" + folder.filename().native())
    {
        const wchar_t* const places[] = {L"\\User", L"\\Machine", L"\\Machine\\Software\\Classes"};
        for (std::size_t i = 0; i < roots.size(); ++i) keys_[i] = made(HKEY_CURRENT_USER, path_ + places[i]);
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
        for (const HKEY key : refused_) { // a key without access cannot be deleted
            letIn(key, true);
            RegCloseKey(key);
        }
        for (std::size_t i = 0; i < roots.size(); ++i) {
            RegOverridePredefKey(roots[i], nullptr);
            RegCloseKey(keys_[i]);
        }
        RegDeleteTreeW(HKEY_CURRENT_USER, path_.c_str());
    }

    // Denies access to the product's keys. The system's keys stay accessible, because the folders are found through them.
    void refuseRegistry()
    {
        for (const HKEY root : {HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE})
            for (const wchar_t* path : refusedKeys) {
                const HKEY key = made(root, path);
                letIn(key, false);
                refused_.push_back(key);
            }
    }

private:
    static inline const std::array roots{HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE, HKEY_CLASSES_ROOT};
    static constexpr const wchar_t* refusedKeys[] = {L"Software\\Zorel\\MBSyncEng", L"Software\\Zorel\\Mirabook", L"Software\\Zorel"};

    static HKEY made(HKEY root, const std::wstring& path)
    {
        HKEY key = nullptr;
        const LSTATUS status = RegCreateKeyExW(root, path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr);
        com::check(HRESULT_FROM_WIN32(status));
        return key;
    }
    // An empty access list denies access to everyone; a missing one grants access to everyone.
    static void letIn(HKEY key, bool everyone)
    {
        ACL empty;
        SECURITY_DESCRIPTOR descriptor;
        InitializeAcl(&empty, sizeof empty, ACL_REVISION);
        InitializeSecurityDescriptor(&descriptor, SECURITY_DESCRIPTOR_REVISION);
        SetSecurityDescriptorDacl(&descriptor, TRUE, everyone ? nullptr : &empty, FALSE);
        RegSetKeySecurity(key, DACL_SECURITY_INFORMATION, &descriptor);
    }
    static void set(HKEY key, const wchar_t* name, const std::filesystem::path& value)
    {
        const auto size = static_cast<DWORD>((value.native().size() + 1) * sizeof(wchar_t));
        com::check(HRESULT_FROM_WIN32(RegSetValueExW(key, name, 0, REG_EXPAND_SZ, reinterpret_cast<const BYTE*>(value.c_str()), size)));
    }

    std::wstring path_;
    std::array<HKEY, 3> keys_{};
    std::vector<HKEY> refused_;
    TranslatorClasses classes_;
};

} // namespace mbtest
