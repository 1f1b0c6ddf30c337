// What the user is shown before anything is written.
#pragma once
#include "engine/SidePlan.h"

namespace mb {

// Tells the host the plans and asks the user. Throws Cancelled if one of them stops the run, and RunFailure with codeReSync if the map is
// to be run again from an empty history.
void ConfirmChanges(RunState& run, const PipelinePass& pass, const PerSide<SidePlan>& plans);

} // namespace mb
