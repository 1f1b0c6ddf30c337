#include "store/ConfigStore.h"

#include <utility>

namespace mb {

namespace {

bool storeIsOpen = false;

} // namespace

StoreFile& ConfigStore()
{
    static StoreFile store;
    return store;
}

HRESULT OpenConfigStore(const std::filesystem::path& path)
{
    const HRESULT hr = ConfigStore().OpenShared(path);
    storeIsOpen = SUCCEEDED(hr);
    return hr;
}

HRESULT CloseConfigStore() { return std::exchange(storeIsOpen, false) ? ConfigStore().Close() : S_OK; }
bool configStoreIsOpen() noexcept { return storeIsOpen; }

} // namespace mb
