// Registers the module and the vCard plug-in with regsvr32 while an Installation lives, with the user's data in a temporary folder.
#pragma once
#include "RunProgram.h"

namespace mbtest {

// Both run regsvr32 without message boxes and return its exit code.
unsigned long registerLibrary(const std::filesystem::path& library);
unsigned long unregisterLibrary(const std::filesystem::path& library);

class Installation {
public:
    Installation();
    Installation(const Installation&) = delete;
    Installation& operator=(const Installation&) = delete;
    ~Installation();
    [[nodiscard]] const std::filesystem::path& folder() const noexcept { return folder_; }
    // The folder of the engine's configuration, histories and log.
    [[nodiscard]] std::filesystem::path data() const { return folder_ / "Zorel" / "MBSync"; }

private:
    std::filesystem::path folder_;
    std::wstring formerDataFolder_;
};

} // namespace mbtest
