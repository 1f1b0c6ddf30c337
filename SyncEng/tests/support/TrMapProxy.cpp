#include "TrMapProxy.h"

extern "C" HRESULT DllGetClassObject(REFCLSID clsid, REFIID riid, void** out);

namespace mbtest {

TrMapProxy::TrMapProxy(IUnknown* outer) : Object(outer)
{
    // The exports of the module ignore a ClassOverride.
    com::Ptr<IClassFactory> factory;
    com::check(DllGetClassObject(__uuidof(TrManager), __uuidof(IClassFactory), factory.putVoid()));
    com::check(factory->CreateInstance(nullptr, __uuidof(ITrMap), own_.putVoid()));
}

// Interfaces other than ITrMap are those of the module's own object. The pointer needs no reference: that object lives as long as this one.
IUnknown* TrMapProxy::findOther(REFIID riid) noexcept
{
    com::Ptr<IUnknown> found;
    return SUCCEEDED(own_->QueryInterface(riid, found.putVoid())) ? found.get() : nullptr;
}

} // namespace mbtest
