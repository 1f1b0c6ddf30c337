// The process-wide configuration store. It is opened by the start-up step and closed when the module unloads; while it is closed every
// read and write answers E_POINTER.
#pragma once
#include "store/StoreFile.h"

namespace mb {

StoreFile& ConfigStore();

HRESULT OpenConfigStore(const std::filesystem::path& path);
// Saves and closes; nothing to do is success. True from configStoreIsOpen until then.
HRESULT CloseConfigStore();
bool configStoreIsOpen() noexcept;

} // namespace mb
