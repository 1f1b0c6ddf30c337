// What surrounds the registration of a server where the system has a component runtime: the locale, for whom it is done, and the type
// library. Elsewhere there is nothing of this, and all of it succeeds.
#pragma once
#include "com.h"

#include <filesystem>

namespace platform {

// While this lives, the thread's locale is the system's default. A registration for the user alone leads the classes' keys to the
// user's own; it is for the user if the environment's MBSYNC_PER_USER is 1, or if the machine's classes may not be written.
class ServerScope {
public:
    ServerScope();
    ServerScope(const ServerScope&) = delete;
    ServerScope& operator=(const ServerScope&) = delete;
    ~ServerScope();

    // Version 1.0 of the library in the resources of the file.
    [[nodiscard]] HRESULT registerTypeLibrary(const std::filesystem::path& file) const noexcept;
    // One that is not registered is gone already.
    [[nodiscard]] HRESULT unregisterTypeLibrary(REFGUID library) const noexcept;

private:
    bool perUser_ = false;
    ULONG formerLocale_ = 0;
};

} // namespace platform
