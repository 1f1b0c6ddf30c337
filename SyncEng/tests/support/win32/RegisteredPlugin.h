// Lets a plug-in's library register itself in the test's registry. The component runtime looks only in the system's registry, so the given
// classes are registered with the runtime while this object lives.
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
        library.release(); // stays loaded: objects of a test may outlive this object
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
