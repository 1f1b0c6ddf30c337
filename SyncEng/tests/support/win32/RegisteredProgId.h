// Registers a ProgID of a class while this object lives. It is registered in the system's keys, where the component runtime looks for it,
// although the test's keys hide them.
#pragma once
#include "com.h"

#include <string>

namespace mbtest {

class RegisteredProgId {
public:
    RegisteredProgId(const std::u16string& progId, const GUID& clsid) : name_(progId.begin(), progId.end())
    {
        const SystemKeys shown;
        HKEY key = nullptr;
        com::check(HRESULT_FROM_WIN32(RegCreateKeyExW(HKEY_LOCAL_MACHINE, (classes + name_ + L"\\CLSID").c_str(), 0, nullptr,
                                                      REG_OPTION_VOLATILE, KEY_WRITE, nullptr, &key, nullptr)));
        const std::u16string text = com::guidText(clsid);
        const LSTATUS set = RegSetValueExW(key, nullptr, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                                           static_cast<DWORD>((text.size() + 1) * sizeof(char16_t)));
        RegCloseKey(key);
        com::check(HRESULT_FROM_WIN32(set));
    }
    RegisteredProgId(const RegisteredProgId&) = delete;
    RegisteredProgId& operator=(const RegisteredProgId&) = delete;
    ~RegisteredProgId()
    {
        const SystemKeys shown;
        RegDeleteTreeW(HKEY_LOCAL_MACHINE, (classes + name_).c_str());
    }

private:
    // Shows the process the system's keys in place of the test's while this object lives.
    class SystemKeys {
    public:
        SystemKeys()
        {
            com::check(HRESULT_FROM_WIN32(RegOpenKeyExW(HKEY_LOCAL_MACHINE, nullptr, 0, KEY_ALL_ACCESS, &own_)));
            RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
        }
        SystemKeys(const SystemKeys&) = delete;
        SystemKeys& operator=(const SystemKeys&) = delete;
        ~SystemKeys()
        {
            RegOverridePredefKey(HKEY_LOCAL_MACHINE, own_);
            RegCloseKey(own_);
        }

    private:
        HKEY own_ = nullptr;
    };

    static inline const std::wstring classes = L"Software\\Classes\\";
    std::wstring name_;
};

} // namespace mbtest
