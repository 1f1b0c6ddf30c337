// Creates objects by class: from class objects registered in the process, otherwise from the server library that the registry names.
#include "com.h"
#include "library.h"
#include "registry.h"
#include <map>
#include <mutex>
#include <vector>

namespace {

using GetClassObjectFn = HRESULT(REFCLSID, REFIID, void**);
using CanUnloadFn = HRESULT();

struct Registered {
    CLSID clsid;
    com::Ptr<IUnknown> factory;
};

struct Runtime {
    std::mutex lock;
    DWORD nextCookie = 1;
    std::map<DWORD, Registered> classObjects;
    std::map<std::u16string, platform::Library> servers; // by path; a server stays loaded while it has objects
};

// Never destroyed: at exit, objects may outlive the static objects of other libraries.
Runtime& runtime()
{
    static auto* instance = new Runtime;
    return *instance;
}

com::Ptr<IUnknown> registeredFactory(REFCLSID clsid)
{
    Runtime& r = runtime();
    const std::lock_guard guard(r.lock);
    for (const auto& [cookie, entry] : r.classObjects)
        if (entry.clsid == clsid) return entry.factory;
    return {};
}

HRESULT serverFunction(REFCLSID clsid, GetClassObjectFn** out)
{
    const std::u16string path = u"CLSID\\" + com::guidText(clsid) + u"\\InprocServer32";
    const auto key = platform::RegistryKey::open(platform::Root::ClassesRoot, path);
    const auto file = key ? key->text(u"") : std::nullopt;
    if (!file || file->empty()) return REGDB_E_CLASSNOTREG;
    Runtime& r = runtime();
    const std::lock_guard guard(r.lock);
    auto found = r.servers.find(*file);
    if (found == r.servers.end()) {
        platform::Library library{std::filesystem::path(*file)};
        if (!library) return CO_E_DLLNOTFOUND;
        found = r.servers.emplace(*file, std::move(library)).first;
    }
    *out = found->second.function<GetClassObjectFn>("DllGetClassObject");
    return *out ? S_OK : CO_E_ERRORINDLL;
}

} // namespace

HRESULT CoInitialize(void*) { return S_OK; }
void CoUninitialize() {}

HRESULT CoRegisterClassObject(REFCLSID clsid, IUnknown* factory, DWORD, DWORD, DWORD* cookie)
{
    if (!factory || !cookie) return E_INVALIDARG;
    return com::guarded([&] {
        Runtime& r = runtime();
        const std::lock_guard guard(r.lock);
        *cookie = r.nextCookie++;
        r.classObjects.emplace(*cookie, Registered{clsid, factory});
    });
}

HRESULT CoRevokeClassObject(DWORD cookie)
{
    com::Ptr<IUnknown> last; // released after the lock
    Runtime& r = runtime();
    const std::lock_guard guard(r.lock);
    const auto found = r.classObjects.find(cookie);
    if (found == r.classObjects.end()) return E_INVALIDARG;
    last = found->second.factory;
    r.classObjects.erase(found);
    return S_OK;
}

HRESULT CoGetClassObject(REFCLSID clsid, DWORD, void*, REFIID riid, void** out)
{
    if (!out) return E_POINTER;
    *out = nullptr;
    return com::guarded([&]() -> HRESULT {
        if (const auto factory = registeredFactory(clsid)) return factory->QueryInterface(riid, out);
        GetClassObjectFn* get = nullptr;
        if (const HRESULT hr = serverFunction(clsid, &get); FAILED(hr)) return hr;
        return get(clsid, riid, out);
    });
}

HRESULT CoCreateInstance(REFCLSID clsid, IUnknown* outer, DWORD context, REFIID riid, void** out)
{
    if (!out) return E_POINTER;
    *out = nullptr;
    return com::guarded([&]() -> HRESULT {
        com::Ptr<IClassFactory> factory;
        if (const HRESULT hr = CoGetClassObject(clsid, context, nullptr, __uuidof(IClassFactory), factory.putVoid()); FAILED(hr)) return hr;
        return factory->CreateInstance(outer, riid, out);
    });
}

void CoFreeUnusedLibraries()
{
    Runtime& r = runtime();
    const std::lock_guard guard(r.lock);
    std::erase_if(r.servers, [](const auto& server) {
        auto* canUnload = server.second.template function<CanUnloadFn>("DllCanUnloadNow");
        return canUnload && canUnload() == S_OK;
    });
}
