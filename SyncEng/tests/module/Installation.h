// The module and the vCard plug-in, registered by regsvr32 for as long as this lives, with the user's data in a folder of the test's.
#pragma once
#include "RunProgram.h"

namespace mbtest {

// As an administrator does it, without a message box.
unsigned long registerLibrary(const std::filesystem::path& library);
unsigned long unregisterLibrary(const std::filesystem::path& library);

class Installation {
public:
    Installation();
    Installation(const Installation&) = delete;
    Installation& operator=(const Installation&) = delete;
    ~Installation();
    [[nodiscard]] const std::filesystem::path& folder() const noexcept { return folder_; }
    // Where the engine keeps configuration, histories and log.
    [[nodiscard]] std::filesystem::path data() const { return folder_ / "Zorel" / "MBSync"; }

private:
    std::filesystem::path folder_;
    std::wstring formerDataFolder_;
};

} // namespace mbtest
