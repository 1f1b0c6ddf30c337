// The engine's locks: one for each map, which covers its runs and its history, and one for the configuration.
#pragma once
#include "com.h"
#include "process_lock.h"

namespace mb {

// Another thread or process holds the lock.
inline constexpr HRESULT codeInUse = static_cast<HRESULT>(0x80040241);
// The file system has no locks, and the user has not said to go without (the environment variable MB_WITHOUT_LOCKS).
inline constexpr HRESULT codeNoLocks = static_cast<HRESULT>(0x80040242);

class StoreLock {
public:
    // Both give S_OK, codeInUse, codeNoLocks or the code of the system's error; after a failure failure() says why. The thread that holds a
    // lock may take it again.
    HRESULT takeMap(const GUID& map);
    // Waits a while: a change of the configuration is short.
    HRESULT takeConfiguration(const std::filesystem::path& store);
    void release() noexcept { lock_.release(); }
    // A sentence for the user.
    [[nodiscard]] const std::u16string& failure() const noexcept { return failure_; }

private:
    HRESULT settle(const std::error_code& error, const std::filesystem::path& file, std::u16string busy);
    platform::ProcessLock lock_;
    std::u16string failure_;
};

} // namespace mb
