// One run over one map: opens its history, loads and starts both translators, runs the pipeline, and settles what is left of a
// success or a failure.
#pragma once
#include "engine/RunState.h"

namespace mb {

HRESULT SyncOneMap(RunState& run);

} // namespace mb
