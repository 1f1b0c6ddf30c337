// The stage between the plan and the first write: a record that the target's system does not let be written ends the run here.
#pragma once
#include "engine/PipelinePass.h"

namespace mb {

// Fails, charged to the store, if a record that the plan changes or deletes cannot be written, or none can be added. Stores that do not
// tell are passed over.
void RequireWritable(PipelinePass& pass);

} // namespace mb
