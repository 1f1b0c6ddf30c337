// Finds new records that both sides have already, before any of them is copied, and makes pairs of them: silently where they agree, as a
// conflict where they differ.
#pragma once
#include "engine/PipelinePass.h"

namespace mb {

// By translator 2, if it can tell.
void FindDuplicatesByTranslator(PipelinePass& pass);
// By the engine's own rules. Returns whether there was anything to search for: the pairs that it found are then still to be settled.
bool FindDuplicates(PipelinePass& pass);
// The same without a document, each new record of one side against each of the other. Images take no part.
bool FindDuplicatesInMemory(PipelinePass& pass);

} // namespace mb
