// Refuses a run that would empty a store: a store that lost its contacts looks to the history like a store whose user deleted them.
#pragma once
#include "engine/SidePlan.h"

namespace mb {

// Fails with codeDeletionsRefused, before anything is written, where a side that held more than three linked records would lose a larger
// share of them than the map's option allows. A host may allow it once through IDeletionGuard. A map without the option has no limit.
void LimitDeletions(RunState& run, const PerSide<SidePlan>& plans);

} // namespace mb
