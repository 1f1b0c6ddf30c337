#include "RegisteredClass.h"

namespace mbtest {
namespace {

class Factory final : public com::Object<IClassFactory> {
public:
    explicit Factory(IUnknown* outer) noexcept : Object(outer) {}
    RegisteredClass::Create create;
    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID riid, void** out) override { return create(outer, riid, out); }
    HRESULT STDMETHODCALLTYPE LockServer(BOOL) override { return S_OK; }
};

} // namespace

RegisteredClass::RegisteredClass(const GUID& clsid, Create create)
{
    auto factory = com::make<Factory>();
    factory->create = std::move(create);
    com::check(CoRegisterClassObject(clsid, com::Ptr<IClassFactory>(factory).get(), CLSCTX_INPROC_SERVER, 1, &cookie_));
}

RegisteredClass::~RegisteredClass() { (void)CoRevokeClassObject(cookie_); }

} // namespace mbtest
