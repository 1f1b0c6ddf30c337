// Decides which items of the plans write details. An item whose target already holds the merged details does not write them, and is dropped
// if it would write nothing else. Where the history has no base, as of two records that were just paired, the lines of both sides are
// united: the target's record gets an item of its own if the source lacks a line of it.
#pragma once
#include "engine/SidePlan.h"

namespace mb {

// Does nothing in a pass without details. Afterwards the value of ftDetails in a change set is what the run will change, for display: a
// line for each line of details, behind "+" or "-".
void PlanDetails(PipelinePass& pass, PerSide<SidePlan>& plans);

} // namespace mb
