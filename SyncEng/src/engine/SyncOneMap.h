// One run over one map: opens its history, loads and starts both translators, runs the pipeline, and settles what is left of a
// success or a failure.
#pragma once
#include "engine/RunState.h"
#include <memory>

namespace mb {

// The pass over the categories leaves the history of the contacts, which it has opened, in `kept`, and the pass that follows takes it
// from there: a large history is read once a run.
HRESULT SyncOneMap(RunState& run, std::shared_ptr<CSyncHistory>& kept);

} // namespace mb
