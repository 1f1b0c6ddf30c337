// Registers a class of the component runtime, whose objects a function creates, while this object lives.
#pragma once
#include "com.h"
#include <functional>

namespace mbtest {

class RegisteredClass {
public:
    // As IClassFactory::CreateInstance.
    using Create = std::function<HRESULT(IUnknown* outer, REFIID riid, void** out)>;
    RegisteredClass(const GUID& clsid, Create create);
    RegisteredClass(const RegisteredClass&) = delete;
    RegisteredClass& operator=(const RegisteredClass&) = delete;
    ~RegisteredClass();

private:
    DWORD cookie_ = 0;
};

} // namespace mbtest
