// When a run locks the stores of its map. Before it loads the translators, by the names in their settings, since a translator may read the
// listing of its store as soon as it is started; and by the names that the translators tell, where these are other stores.
#pragma once
#include "engine/MapClient.h"
#include "engine/RunState.h"

namespace mb {

// By the settings of both sides; a side that keeps its database elsewhere is left out.
void LockConfiguredStores(RunState& run, const MapClient& client, const GUID& map);
// An empty name is left out. Requires: the translators of both sides are known. Where a store is locked or cannot be, RunFailure is thrown
// and run.error says why.
void LockStores(RunState& run, const PerSide<std::u16string>& databases);
// Notes why the run does not take place, and that it does not begin anew the next time.
void RefuseRun(RunState& run, HRESULT code, std::u16string_view why);

} // namespace mb
