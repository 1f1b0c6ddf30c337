#include "server_registration.h"

#include "categories.h"
#include "files.h"
#include "registry.h"

namespace platform {
namespace {

void setDefault(const std::u16string& path, std::u16string_view text)
{
    if (path.find(u'\\') != std::u16string::npos) (void)createKeyPath(Root::ClassesRoot, path);
    const auto key = RegistryKey::create(Root::ClassesRoot, path);
    if (!key || (!text.empty() && !key->setText(u"", text))) throw com::Error(E_ACCESSDENIED);
}

void setText(const std::u16string& path, std::u16string_view name, std::u16string_view text)
{
    const auto key = RegistryKey::open(Root::ClassesRoot, path);
    if (!key || !key->setText(name, text)) throw com::Error(E_ACCESSDENIED);
}

std::u16string classKey(const com::ClassEntry& entry) { return u"CLSID\\" + com::guidText(*entry.clsid); }
std::u16string versionedName(const com::ClassEntry& entry) { return std::u16string(entry.progId) + u".1"; }

void registerClass(const ServerRegistration& server, const com::ClassEntry& entry)
{
    const std::u16string key = classKey(entry), clsid = com::guidText(*entry.clsid), plainName = entry.progId, name = versionedName(entry);
    setDefault(name, entry.description);
    setDefault(name + u"\\CLSID", clsid);
    setDefault(plainName, entry.description);
    setDefault(plainName + u"\\CLSID", clsid);
    setDefault(plainName + u"\\CurVer", name);
    setDefault(key, entry.description);
    setDefault(key + u"\\ProgID", name);
    setDefault(key + u"\\VersionIndependentProgID", plainName);
    setDefault(key + u"\\Programmable", {});
    setDefault(key + u"\\InprocServer32", textOf(server.library));
    setText(key + u"\\InprocServer32", u"ThreadingModel", u"Apartment");
    if (server.applicationId) setText(key, u"AppID", com::guidText(*server.applicationId));
    if (server.typeLibrary) setDefault(key + u"\\TypeLib", com::guidText(*server.typeLibrary));
    if (server.category) com::check(registerClassInCategory(*entry.clsid, *server.category));
}

} // namespace

HRESULT registerServer(const ServerRegistration& server) noexcept
{
    return com::guarded([&] {
        for (const com::ClassEntry& entry : server.classes) registerClass(server, entry);
    });
}

HRESULT unregisterServer(const ServerRegistration& server) noexcept
{
    return com::guarded([&] {
        for (const com::ClassEntry& entry : server.classes) {
            RegistryKey::remove(Root::ClassesRoot, classKey(entry));
            RegistryKey::remove(Root::ClassesRoot, versionedName(entry));
            RegistryKey::remove(Root::ClassesRoot, entry.progId);
        }
    });
}

} // namespace platform
