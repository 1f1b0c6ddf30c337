// The engine's locks: one for each map, which covers its runs and its history, one for each contact store, which covers the runs of all
// maps that share it, and one for the configuration.
#pragma once
#include "com.h"
#include "process_lock.h"

namespace mb {

// Another thread or process holds the lock.
inline constexpr HRESULT codeInUse = static_cast<HRESULT>(0x80040241);
// The file system has no locks, and the user has not said to go without (the environment variable MB_WITHOUT_LOCKS).
inline constexpr HRESULT codeNoLocks = static_cast<HRESULT>(0x80040242);

// A contact store, as the settings of a map or its translator name it.
struct ContactStore {
    GUID translator{};
    std::u16string database;
};
// The name of the store's lock file: a hash of the canonical name of its place, or of translator and database where that is no path. Stores
// whose names differ only in case share a lock.
std::u16string LockFileName(const ContactStore& store);

class StoreLock {
public:
    // All give S_OK, codeInUse, codeNoLocks or the code of the system's error; after a failure failure() says why. The thread that holds a
    // lock may take it again.
    HRESULT takeMap(const GUID& map);
    // mayAsk: the holder may wait for its user.
    HRESULT takeStore(const ContactStore& store, bool mayAsk);
    // Waits a while: a change of the configuration is short.
    HRESULT takeConfiguration(const std::filesystem::path& store);
    void release() noexcept { lock_.release(); }
    // A sentence for the user.
    [[nodiscard]] const std::u16string& failure() const noexcept { return failure_; }
    // After codeInUse of a store: whether the holder may wait for its user.
    [[nodiscard]] bool holderMayAsk() const noexcept { return holderMayAsk_; }

private:
    HRESULT settle(const std::error_code& error, const std::filesystem::path& file, std::u16string busy);
    platform::ProcessLock lock_;
    std::u16string failure_;
    bool holderMayAsk_ = false;
};

} // namespace mb
