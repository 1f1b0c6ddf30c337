// Settles every pair of records that both want to change each other, by option or by asking, and edits both task lists so that the
// later stages need to know nothing of conflicts.
#pragma once
#include "engine/PipelinePass.h"

namespace mb {

// E_ABORT if the user or the sink cancelled.
HRESULT ResolveConflicts(PipelinePass& pass);

} // namespace mb
