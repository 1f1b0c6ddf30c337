// Defines the four entry points of a plug-in from its table of classes. A macro, because each module exports its own functions.
#pragma once
#include "host.h"
#include "server_registration.h"

namespace mb::plugin {

// The component category of all translators.
inline constexpr GUID translatorCategory{0xDCCCC8B9, 0xC75D, 0x44A2, {0x9D, 0x89, 0x9E, 0x7C, 0x78, 0x16, 0x9C, 0x12}};

inline platform::ServerRegistration registrationOf(std::span<const com::ClassEntry> classes)
{
    return {classes, platform::modulePathOf(classes.data()), &translatorCategory, nullptr, nullptr};
}

} // namespace mb::plugin

#define PLUGIN_EXPORTS(table)                                                                                                              \
    STDAPI DllGetClassObject(REFCLSID clsid, REFIID riid, void** out) { return com::getClassObject(table, clsid, riid, out); }             \
    STDAPI DllCanUnloadNow() { return com::moduleLocks == 0 ? S_OK : S_FALSE; }                                                            \
    STDAPI DllRegisterServer() { return platform::registerServer(mb::plugin::registrationOf(table)); }                                     \
    STDAPI DllUnregisterServer() { return platform::unregisterServer(mb::plugin::registrationOf(table)); }
