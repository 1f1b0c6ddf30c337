// One pass over a map with both translators started: finds out what changed on each side, settles what clashes, asks the user, and
// writes both sides, one after the other.
#pragma once
#include "engine/RunState.h"
#include "engine/StoreClient.h"

namespace mb {

// Throws Cancelled or RunFailure. Requires: both translators are started. Afterwards the store clients tell whether a batch is still open.
void RunPipeline(RunState& run, PerSide<StoreClient>& stores, const PerSide<com::Ptr<ITrServices>>& services);

} // namespace mb
