// The locks of the stores of the map that runs: two maps that share a store do not run at the same time. Taking a lock never waits: the run
// of a store that is in use is refused, and the host tries again.
#pragma once
#include "store/StoreLock.h"
#include <map>
#include <string>
#include <vector>

namespace mb {

class RunLocks {
public:
    // Takes the locks that are not held yet, in the same order in all runs, so that two runs with the same stores do not block each other.
    // A refused call takes none and keeps those that were held before. Stores without a name are left out. Returns the results of
    // StoreLock.
    HRESULT take(const std::vector<ContactStore>& stores, bool mayAsk);
    void release() noexcept { held_.clear(); }
    // Of the last refusal.
    [[nodiscard]] const std::u16string& failure() const noexcept { return failure_; }
    [[nodiscard]] bool holderMayAsk() const noexcept { return holderMayAsk_; }

private:
    std::map<std::u16string, StoreLock> held_; // by the name of the lock's file
    std::u16string failure_;
    bool holderMayAsk_ = false;
};

} // namespace mb
