// Reads what the updates of a plan will write.
#pragma once
#include "engine/SidePlan.h"

namespace mb {

// Gives each update that has no change set yet the fields of its source record that differ from the history. The types of the mapped fields
// are known afterwards.
void LoadTargetFields(PipelinePass& pass, PerSide<SidePlan>& plans);

} // namespace mb
