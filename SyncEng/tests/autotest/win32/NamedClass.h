// While this object lives, registers a class under its ProgID in the system's registry, where scripts look for it. The objects come from
// the module that is linked into the test.
#pragma once
#include "com.h"

#include <string>

extern "C" HRESULT DllGetClassObject(REFCLSID clsid, REFIID riid, void** out);

namespace mbtest {

class NamedClass {
public:
    // Requires: the process still sees the system's keys.
    NamedClass(std::u16string_view progId, REFCLSID clsid) : path_(L"Software\\Classes\\" + std::wstring(progId.begin(), progId.end()))
    {
        const std::u16string text = com::guidText(clsid);
        const auto size = static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t));
        const LSTATUS set = RegSetKeyValueW(HKEY_LOCAL_MACHINE, (path_ + L"\\CLSID").c_str(), nullptr, REG_SZ, text.c_str(), size);
        com::check(HRESULT_FROM_WIN32(set));
        com::Ptr<IUnknown> classObject;
        com::check(DllGetClassObject(clsid, __uuidof(IUnknown), classObject.putVoid()));
        com::check(CoRegisterClassObject(clsid, classObject.get(), CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE, &cookie_));
    }
    NamedClass(const NamedClass&) = delete;
    NamedClass& operator=(const NamedClass&) = delete;
    ~NamedClass()
    {
        (void)CoRevokeClassObject(cookie_);
        RegDeleteTreeW(HKEY_LOCAL_MACHINE, path_.c_str());
    }

private:
    std::wstring path_;
    DWORD cookie_ = 0;
};

} // namespace mbtest
