// The locks of the stores of the map that runs. They keep the runs of two maps that share a store apart: a run reads and writes a store
// that nobody else synchronises meanwhile. Taking never waits: the run of a store that is in use is refused, and the host tries again.
#pragma once
#include "store/StoreLock.h"
#include <map>
#include <string>
#include <vector>

namespace mb {

class RunLocks {
public:
    // Takes the locks that are not held yet, in one order for all runs, so that of two runs with the same stores one gets them. All or
    // none: a refused call leaves what was held before. Stores without a name are left out. The results are those of StoreLock.
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
