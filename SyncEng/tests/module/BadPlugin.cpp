// Translators that break the contract: one class succeeds without an object, one throws when an object is created, one is not a translator.
#include "PluginExports.h"
#include "SyncEngLib.h"
#include <stdexcept>

namespace {

constexpr GUID emptyClass{0xBAD00001, 0x1111, 0x4222, {0x83, 0x33, 0x44, 0x44, 0x44, 0x44, 0x44, 0x44}};
constexpr GUID throwingClass{0xBAD00002, 0x1111, 0x4222, {0x83, 0x33, 0x44, 0x44, 0x44, 0x44, 0x44, 0x44}};
constexpr GUID foreignClass{0xBAD00003, 0x1111, 0x4222, {0x83, 0x33, 0x44, 0x44, 0x44, 0x44, 0x44, 0x44}};

HRESULT makeNothing(IUnknown*, REFIID, void** out) noexcept
{
    *out = nullptr;
    return S_OK;
}

class ThrowingFactory final : public com::Object<IClassFactory> {
public:
    explicit ThrowingFactory(IUnknown* outer) : Object(outer) {}
    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown*, REFIID, void**) override { throw std::runtime_error("not today"); }
    HRESULT STDMETHODCALLTYPE LockServer(BOOL) override { return S_OK; }
};

class Foreign final : public com::Object<ILogFile> {
public:
    explicit Foreign(IUnknown* outer) : Object(outer) {}
    HRESULT STDMETHODCALLTYPE AppendString(BSTR) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE Flush() override { return S_OK; }
    HRESULT STDMETHODCALLTYPE ClearLog() override { return S_OK; }
    HRESULT STDMETHODCALLTYPE Delete() override { return S_OK; }
};

constexpr com::ClassEntry classes[] = {{&emptyClass, u"MBBad.Empty", u"Makes nothing", makeNothing},
                                       {&throwingClass, u"MBBad.Throwing", u"Throws", makeNothing},
                                       {&foreignClass, u"MBBad.Foreign", u"Is no translator", com::create<Foreign>}};

} // namespace

STDAPI DllGetClassObject(REFCLSID clsid, REFIID riid, void** out)
{
    if (clsid == throwingClass) return com::create<ThrowingFactory>(nullptr, riid, out);
    return com::getClassObject(classes, clsid, riid, out);
}
STDAPI DllCanUnloadNow() { return com::moduleLocks == 0 ? S_OK : S_FALSE; }
STDAPI DllRegisterServer() { return platform::registerServer(mb::plugin::registrationOf(classes)); }
STDAPI DllUnregisterServer() { return platform::unregisterServer(mb::plugin::registrationOf(classes)); }
