// Settles every pair of records that both want to change each other, by option or by asking, and edits both task lists so that the
// later stages need to know nothing of conflicts.
#pragma once
#include "engine/PipelinePass.h"

namespace mb {

// Throws Cancelled if the user or the sink cancelled.
void ResolveConflicts(PipelinePass& pass);

} // namespace mb
