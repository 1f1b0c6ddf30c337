#include "server_registration.h"

#include "categories.h"
#include "files.h"
#include "registry.h"
#include "server_scope.h"

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

std::u16string applicationKey(const ServerRegistration& server) { return u"AppID\\" + com::guidText(*server.applicationId); }
std::u16string applicationFileKey(const ServerRegistration& server) { return std::u16string(u"AppID\\") + server.applicationFile; }

void registerApplication(const ServerRegistration& server)
{
    setDefault(applicationKey(server), server.applicationName);
    setDefault(applicationFileKey(server), {});
    setText(applicationFileKey(server), u"AppID", com::guidText(*server.applicationId));
}

void unregisterClass(const ServerRegistration& server, const com::ClassEntry& entry)
{
    if (server.category) (void)unregisterClassInCategory(*entry.clsid, *server.category);
    RegistryKey::remove(Root::ClassesRoot, classKey(entry));
    RegistryKey::remove(Root::ClassesRoot, versionedName(entry));
    RegistryKey::remove(Root::ClassesRoot, entry.progId);
}

} // namespace

HRESULT registerServer(const ServerRegistration& server) noexcept
{
    return com::guarded([&] {
        const ServerScope scope;
        if (server.applicationName) registerApplication(server);
        for (const com::ClassEntry& entry : server.classes) registerClass(server, entry);
        if (server.typeLibrary) com::check(scope.registerTypeLibrary(server.library));
        if (server.ownCategory) com::check(registerCategory(*server.ownCategory, server.ownCategoryName));
    });
}

HRESULT unregisterServer(const ServerRegistration& server) noexcept
{
    return com::guarded([&] {
        const ServerScope scope;
        const HRESULT category = server.ownCategory ? unregisterCategory(*server.ownCategory) : S_OK;
        const HRESULT library = server.typeLibrary ? scope.unregisterTypeLibrary(*server.typeLibrary) : S_OK;
        for (const com::ClassEntry& entry : server.classes) unregisterClass(server, entry);
        if (server.applicationName) {
            RegistryKey::remove(Root::ClassesRoot, applicationFileKey(server));
            RegistryKey::remove(Root::ClassesRoot, applicationKey(server));
        }
        com::check(category);
        com::check(library);
    });
}

} // namespace platform
