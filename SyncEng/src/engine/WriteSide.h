// Writes one side: its additions, changes and links, and then its deletions, all in one batch of the translator's.
#pragma once
#include "engine/SidePlan.h"

namespace mb {

// Opens the batch and does what the plan of the target says. An item leaves its plan as soon as it is done. The first failure ends the
// side; what was done stays, and the batch stays open. Of the other side's plan only the cached values of a record that was written are
// dropped.
void WriteSide(PipelinePass& pass, PerSide<SidePlan>& plans, Side target);

// Closes the batch. Any exception, Cancelled included, means that the batch was not ended, so that the records written in it may be lost.
void EndSide(StoreClient& target);

} // namespace mb
