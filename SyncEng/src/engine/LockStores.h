// Locks the stores of a map for its run: before the translators are loaded by the names in their settings, because a started translator may
// read its store at once, and later by the names that the translators tell, where these are other stores.
#pragma once
#include "engine/MapClient.h"
#include "engine/RunState.h"

namespace mb {

// By the settings of both sides; a side that keeps its database elsewhere is left out. Settings that cannot be read end the run: a store
// would be opened without its lock.
void LockConfiguredStores(RunState& run, const MapClient& client, const GUID& map);
// An empty name is left out. Requires: the translators of both sides are known. Where a store is locked or cannot be, RunFailure is thrown
// and run.error says why.
void LockStores(RunState& run, const PerSide<std::u16string>& databases);
// Records why the run does not take place, and withdraws a requested new start from an empty history.
void RefuseRun(RunState& run, HRESULT code, std::u16string_view why);

} // namespace mb
