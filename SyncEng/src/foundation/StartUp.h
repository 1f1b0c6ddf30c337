// The process's one-time start-up (log settings, data folder, log, configuration store) and its shutdown.
#pragma once
#include "com.h"
#include "host.h"
#include <atomic>
#include <filesystem>
#include <functional>
#include <mutex>

namespace mb {

// Start-up is attempted at each request for a class object until it has succeeded once. Its failure never fails the request. Thread-safe.
class ModuleStart {
public:
    using OpenStore = std::function<HRESULT(const std::filesystem::path&)>;
    void ensureStarted(const OpenStore& openConfigStore, const std::filesystem::path& host = platform::executablePath());
    // Closes the store, if it was opened, and then the log.
    void stop(const std::function<void()>& closeConfigStore);
    [[nodiscard]] bool started() const noexcept { return ModuleStarted; }
    void storeWasClosed() noexcept { ModuleStarted = false; }

private:
    std::mutex oneAtATime_;
    std::atomic<bool> ModuleStarted = false;
};

// Reads the user's log settings; missing ones are written to the registry with their defaults.
struct LogSettings {
    DWORD LoggingLevel = 0;
    DWORD MaxLogFileSize = 1024;
};
LogSettings ReadLogSettings();

// The configuration tool uses its own store and log.
bool hostIsConfigurationTool(const std::filesystem::path& executable);
// The contact program only transfers.
bool hostIsContactProgram(const std::filesystem::path& executable);

} // namespace mb
