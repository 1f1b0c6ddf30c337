#include "server_scope.h"

#include "host.h"
#include "library.h"
#include "registry.h"

namespace platform {
namespace {

constexpr LCID systemDefault = 0x800;
constexpr WORD major = 1, minor = 0;

bool mayWriteMachineClasses() noexcept
{
    HKEY key = nullptr;
    if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"Software\\Classes", 0, KEY_CREATE_SUB_KEY | KEY_SET_VALUE, &key) != ERROR_SUCCESS) return false;
    RegCloseKey(key);
    return true;
}

// Redirects HKEY_CLASSES_ROOT to the user's classes. The category manager and the type library functions use the same root, so they follow.
LSTATUS leadClassesToUser() noexcept
{
    HKEY key = nullptr;
    LSTATUS status = RegCreateKeyExW(HKEY_CURRENT_USER, L"Software\\Classes", 0, nullptr, 0, MAXIMUM_ALLOWED, nullptr, &key, nullptr);
    if (status != ERROR_SUCCESS) return status;
    status = RegOverridePredefKey(HKEY_CLASSES_ROOT, key);
    RegCloseKey(key);
    return status;
}

// Returns an OLEAUT32 function that older systems lack; null if it is missing.
template <class F> F* automationFunction(const char* name)
{
    static const Library automation = Library(std::filesystem::path(L"OLEAUT32.DLL"));
    return automation.function<F>(name);
}

bool isRegistered(REFGUID library)
{
    return RegistryKey::open(Root::ClassesRoot, u"TypeLib\\" + com::guidText(library) + u"\\1.0").has_value();
}

} // namespace

ServerScope::ServerScope() : perUser_(environment(u"MBSYNC_PER_USER") == u"1" || !mayWriteMachineClasses())
{
    if (perUser_) com::check(HRESULT_FROM_WIN32(leadClassesToUser()));
    formerLocale_ = GetThreadLocale();
    SetThreadLocale(systemDefault);
}

ServerScope::~ServerScope()
{
    SetThreadLocale(formerLocale_);
    if (perUser_) RegOverridePredefKey(HKEY_CLASSES_ROOT, nullptr);
}

HRESULT ServerScope::registerTypeLibrary(const std::filesystem::path& file) const noexcept
{
    return com::guarded([&]() -> HRESULT {
        com::Ptr<ITypeLib> library;
        com::check(LoadTypeLibEx(file.c_str(), REGKIND_NONE, library.put()));
        auto* name = const_cast<OLECHAR*>(file.c_str());
        using ForUser = HRESULT WINAPI(ITypeLib*, OLECHAR*, OLECHAR*);
        const auto forUser = perUser_ ? automationFunction<ForUser>("RegisterTypeLibForUser") : nullptr;
        return forUser ? forUser(library.get(), name, nullptr) : RegisterTypeLib(library.get(), name, nullptr);
    });
}

HRESULT ServerScope::unregisterTypeLibrary(REFGUID library) const noexcept
{
    return com::guarded([&]() -> HRESULT {
        if (!isRegistered(library)) return S_OK;
        using ForUser = HRESULT WINAPI(REFGUID, WORD, WORD, LCID, SYSKIND);
        const auto forUser = perUser_ ? automationFunction<ForUser>("UnRegisterTypeLibForUser") : nullptr;
        return (forUser ? forUser : &UnRegisterTypeLib)(library, major, minor, LOCALE_NEUTRAL, SYS_WIN64);
    });
}

} // namespace platform
