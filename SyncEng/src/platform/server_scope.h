// What the registration of a server needs on Windows: the thread's locale, the user's or the machine's classes, and the type library. On
// Linux these functions do nothing and succeed.
#pragma once
#include "com.h"

#include <filesystem>

namespace platform {

// While a ServerScope lives, the thread's locale is the system's default, and a registration for the current user redirects the classes'
// root key to the user's classes. The registration is for the user if the environment variable MBSYNC_PER_USER is 1, or if the machine's
// classes may not be written.
class ServerScope {
public:
    ServerScope();
    ServerScope(const ServerScope&) = delete;
    ServerScope& operator=(const ServerScope&) = delete;
    ~ServerScope();

    // Registers version 1.0 of the type library in the file's resources.
    [[nodiscard]] HRESULT registerTypeLibrary(const std::filesystem::path& file) const noexcept;
    // Succeeds if the type library is not registered.
    [[nodiscard]] HRESULT unregisterTypeLibrary(REFGUID library) const noexcept;

private:
    bool perUser_ = false;
    ULONG formerLocale_ = 0;
};

} // namespace platform
