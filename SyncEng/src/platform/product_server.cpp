#include "product_server.h"

#include "com.h"
#include "files.h"
#include "library.h"
#include "registry.h"
#include "server_scope.h"
#include <optional>

namespace platform {
namespace {

// Returns the library that the ProgID belongs to; an empty path if the server is not a library, nullopt if there is no server.
std::optional<std::filesystem::path> serverOf(std::u16string_view progId)
{
    const auto name = RegistryKey::open(Root::ClassesRoot, std::u16string(progId) + u"\\CLSID");
    const auto clsid = name ? name->text(u"") : std::nullopt;
    const auto known = clsid ? RegistryKey::open(Root::ClassesRoot, u"CLSID\\" + *clsid) : std::nullopt;
    if (!known) return std::nullopt;
    const auto key = RegistryKey::open(Root::ClassesRoot, u"CLSID\\" + *clsid + u"\\InprocServer32");
    const auto file = key ? key->text(u"") : std::nullopt;
    return file ? pathOf(*file) : std::filesystem::path();
}

// Looks only at the classes in which a registration would be written: the user's or the machine's.
std::optional<std::filesystem::path> serverInScope(std::u16string_view progId)
{
    const ServerScope scope;
    return serverOf(progId);
}

void call(const char* function, const std::filesystem::path& library)
{
    Library server(library);
    if (const auto entry = server.function<HRESULT()>(function)) (void)entry();
    (void)server.release(); // keeps its objects and static data valid until the process ends
}

} // namespace

void registerUnlessTaken(std::u16string_view progId, const std::filesystem::path& library) noexcept
{
    (void)com::guarded([&] {
        if (!fileExists(library)) return;
        auto server = serverInScope(progId);
        if (!server) server = serverOf(progId);
        if (!server || (!server->empty() && !fileExists(*server))) call("DllRegisterServer", library);
    });
}

void unregisterOwn(std::u16string_view progId, const std::filesystem::path& library) noexcept
{
    (void)com::guarded([&] {
        const auto server = serverInScope(progId);
        std::error_code unknown;
        if (server && std::filesystem::equivalent(*server, library, unknown)) call("DllUnregisterServer", library);
    });
}

} // namespace platform
