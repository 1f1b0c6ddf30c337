// The plug-in's four entry points: its one class, and the keys by which the engine finds it.
#include "ModulePath.h"
#include "VCardTranslator.h"

#include "registry.h"

using namespace mb::vcard;
using platform::RegistryKey;
using platform::Root;

namespace {

constexpr com::ClassEntry kClasses[] = {
    {&CLSID_VCardTranslator, u"MBVCard.VCardTranslator", u"vCard folder or file", &com::create<VCardTranslator>}};

// The component category of all translators.
constexpr std::u16string_view kCategory = u"{DCCCC8B9-C75D-44A2-9D89-9E7C78169C12}";

std::u16string classKey() { return u"CLSID\\" + com::guidText(CLSID_VCardTranslator); }

bool setDefault(const std::u16string& path, std::u16string_view text)
{
    if (!platform::createKeyPath(Root::ClassesRoot, path)) return false;
    const auto key = RegistryKey::open(Root::ClassesRoot, path);
    return key && (text.empty() || key->setText(u"", text));
}

bool registerClass(const std::u16string& library)
{
    const com::ClassEntry& entry = kClasses[0];
    const std::u16string key = classKey(), server = key + u"\\InprocServer32";
    if (!setDefault(key, entry.description) || !setDefault(server, library) ||
        !setDefault(key + u"\\ProgID", std::u16string(entry.progId) + u".1"))
        return false;
    const auto serverKey = RegistryKey::open(Root::ClassesRoot, server);
    return serverKey && serverKey->setText(u"ThreadingModel", u"Apartment") &&
           setDefault(key + u"\\Implemented Categories\\" + std::u16string(kCategory), {}) &&
           setDefault(std::u16string(entry.progId) + u".1\\CLSID", com::guidText(*entry.clsid));
}

} // namespace

STDAPI DllGetClassObject(REFCLSID clsid, REFIID riid, void** out) { return com::getClassObject(kClasses, clsid, riid, out); }

STDAPI DllCanUnloadNow() { return com::moduleLocks == 0 ? S_OK : S_FALSE; }

STDAPI DllRegisterServer()
{
    return com::guarded([]() -> HRESULT {
        const std::u16string library = modulePath();
        return !library.empty() && registerClass(library) ? S_OK : REGDB_E_WRITEREGDB;
    });
}

STDAPI DllUnregisterServer()
{
    return com::guarded([] {
        RegistryKey::remove(Root::ClassesRoot, classKey());
        RegistryKey::remove(Root::ClassesRoot, std::u16string(kClasses[0].progId) + u".1");
    });
}
