// The stage between the plan and the first write: ends the run if the target's system does not allow a record to be written.
#pragma once
#include "engine/SidePlan.h"

namespace mb {

// Fails, charged to the store, if a record that the plan changes or deletes cannot be written, or none can be added. Stores that do not
// tell are left out.
void RequireWritable(const PipelinePass& pass, const PerSide<SidePlan>& plans);

} // namespace mb
