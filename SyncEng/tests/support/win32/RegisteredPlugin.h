// A plug-in's library that has registered itself in the test's registry. The component runtime looks only in the system's, so it is given
// the named class objects by hand for as long as this lives.
#pragma once
#include "com.h"

#include "library.h"
#include <initializer_list>
#include <vector>

namespace mbtest {

class RegisteredPlugin {
public:
    RegisteredPlugin(const std::filesystem::path& file, std::initializer_list<GUID> classes)
    {
        platform::Library library(file);
        auto* const registerServer = library.function<HRESULT STDAPICALLTYPE()>("DllRegisterServer");
        auto* const getClassObject = library.function<HRESULT STDAPICALLTYPE(REFCLSID, REFIID, void**)>("DllGetClassObject");
        if (!registerServer || !getClassObject) throw com::Error(E_FAIL);
        library.release(); // objects of a test may outlive this
        com::check(registerServer());
        for (const GUID& clsid : classes) {
            com::Ptr<IUnknown> classObject;
            com::check(getClassObject(clsid, __uuidof(IUnknown), classObject.putVoid()));
            DWORD cookie = 0;
            com::check(CoRegisterClassObject(clsid, classObject.get(), CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE, &cookie));
            cookies_.push_back(cookie);
        }
    }
    RegisteredPlugin(const RegisteredPlugin&) = delete;
    RegisteredPlugin& operator=(const RegisteredPlugin&) = delete;
    ~RegisteredPlugin()
    {
        for (const DWORD cookie : cookies_) (void)CoRevokeClassObject(cookie);
    }

private:
    std::vector<DWORD> cookies_;
};

} // namespace mbtest
