// The one-time start-up step of the process, and its reverse: log settings, the user's data folder, the log, the configuration store.
#pragma once
#include "com.h"
#include "host.h"
#include <atomic>
#include <filesystem>
#include <functional>
#include <mutex>

namespace mb {

// One thread at a time. The step repeats at each request for a class object until it has succeeded once. It never fails the request.
class ModuleStart {
public:
    using OpenStore = std::function<HRESULT(const std::filesystem::path&)>;
    void ensureStarted(const OpenStore& openConfigStore, const std::filesystem::path& host = platform::executablePath());
    // Closes the store if it was opened, then the log.
    void stop(const std::function<void()>& closeConfigStore);
    [[nodiscard]] bool started() const noexcept { return ModuleStarted; }
    void storeWasClosed() noexcept { ModuleStarted = false; }

private:
    std::mutex oneAtATime_;
    std::atomic<bool> ModuleStarted = false;
};

// What the user has set for the log, with the defaults written where there is none.
struct LogSettings {
    DWORD LoggingLevel = 0;
    DWORD MaxLogFileSize = 1024;
};
LogSettings ReadLogSettings();

// The configuration tool keeps files of its own.
bool hostIsConfigurationTool(const std::filesystem::path& executable);
// The contact program, which only transfers.
bool hostIsContactProgram(const std::filesystem::path& executable);

} // namespace mb
