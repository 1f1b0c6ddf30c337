// One pass over a map with both translators started: finds out what changed on each side, settles what clashes, asks the user, and
// writes both sides, one after the other.
#pragma once
#include "engine/RunState.h"

namespace mb {

HRESULT RunPipeline(RunState& run, const PerSide<com::Ptr<ITranslator>>& translators, const PerSide<com::Ptr<ITrServices>>& services);

} // namespace mb
