// The process's configuration store. The start-up step opens it, the unload of the module closes it. While it is closed, reads and writes
// return E_POINTER.
#pragma once
#include "store/StoreFile.h"

namespace mb {

StoreFile& ConfigStore();

HRESULT OpenConfigStore(const std::filesystem::path& path);
// Saves and closes the store; succeeds if it is not open. configStoreIsOpen() returns false afterwards.
HRESULT CloseConfigStore();
bool configStoreIsOpen() noexcept;

} // namespace mb
