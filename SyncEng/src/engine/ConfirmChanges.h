// What the user is shown before anything is written, and the change sets that go with it.
#pragma once
#include "engine/PipelinePass.h"

namespace mb {

// Reads the differing fields of every change that has a partner, and asks the user. Throws Cancelled if the user cancels, and
// RunFailure with codeReSync if the map is to be run again from an empty history.
void ConfirmChanges(PipelinePass& pass);

// Gives the changes of side 2 that have no change set yet theirs. Quirk kept on purpose: only
// side 2 gets this second chance.
void LoadTargetFields(PipelinePass& pass);

} // namespace mb
