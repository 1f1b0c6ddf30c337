#include "engine/RunLocks.h"

namespace mb {

HRESULT RunLocks::take(const std::vector<ContactStore>& stores, bool mayAsk)
{
    std::map<std::u16string, const ContactStore*> wanted;
    for (const ContactStore& store : stores)
        if (!store.database.empty()) wanted.emplace(LockFileName(store), &store);

    std::map<std::u16string, StoreLock> taken;
    for (const auto& [name, store] : wanted) {
        if (held_.contains(name)) continue;
        StoreLock lock;
        const HRESULT hr = lock.takeStore(*store, mayAsk);
        if (FAILED(hr)) {
            failure_ = lock.failure();
            holderMayAsk_ = lock.holderMayAsk();
            return hr;
        }
        taken.emplace(name, std::move(lock));
    }
    held_.merge(taken);
    return S_OK;
}

} // namespace mb
