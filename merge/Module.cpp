// The merge component's class, which the engine finds by its ProgID, and the entry points of its library.
#include "host.h"
#include "MergeComponent.h"
#include "server_registration.h"

namespace {

constexpr CLSID CLSID_MergeComponent{0x5b1d2c0e, 0x7a34, 0x4c61, {0x9f, 0x0b, 0x2d, 0x86, 0x3e, 0x51, 0xc4, 0xa7}};

constexpr com::ClassEntry classes[] = {
    {&CLSID_MergeComponent, u"TwinWiz.CMergeDialog", u"Merging two versions of a contact", com::create<mb::merge::MergeComponent>}};

platform::ServerRegistration registration() { return {classes, platform::modulePathOf(classes), nullptr, nullptr, nullptr}; }

} // namespace

STDAPI DllGetClassObject(REFCLSID clsid, REFIID riid, void** out) { return com::getClassObject(classes, clsid, riid, out); }
STDAPI DllCanUnloadNow() { return com::moduleLocks == 0 ? S_OK : S_FALSE; }
STDAPI DllRegisterServer() { return platform::registerServer(registration()); }
STDAPI DllUnregisterServer() { return platform::unregisterServer(registration()); }
