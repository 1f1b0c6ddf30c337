// Writes one side: the other side's additions, changes and matches, then the deletions that this side's own list holds, all in one
// batch of the translator's.
#pragma once
#include "engine/PipelinePass.h"

namespace mb {

// Opens the batch and runs both loops. A task leaves its list as soon as it is done. The first failure ends the side; what was done
// stays, and the batch stays open.
void WriteSide(PipelinePass& pass, Side target);

// Closes the batch. Any exception, Cancelled included, means that the batch was not ended, so that the records written in it may be lost.
void EndSide(PipelinePass& pass, Side target);

} // namespace mb
