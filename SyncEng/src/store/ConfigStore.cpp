#include "store/ConfigStore.h"

namespace mb {

StoreFile& ConfigStore()
{
    static StoreFile store;
    return store;
}

HRESULT OpenConfigStore(const std::filesystem::path& path) { return ConfigStore().Open(path, true); }
HRESULT CloseConfigStore() { return ConfigStore().isOpen() ? ConfigStore().Close() : S_OK; }
bool configStoreIsOpen() noexcept { return ConfigStore().isOpen(); }

} // namespace mb
