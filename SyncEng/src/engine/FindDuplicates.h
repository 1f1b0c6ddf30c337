// Finds new records that stand on both sides already, before any of them is copied, and makes pairs of them: silently where they agree,
// as a conflict where they differ.
#pragma once
#include "engine/PipelinePass.h"

namespace mb {

// By translator 2, if it can tell.
HRESULT FindDuplicatesByTranslator(PipelinePass& pass);
// By the engine's own rules; settles the conflicts of what it found.
HRESULT FindDuplicates(PipelinePass& pass);
// The same without a document, each new record of one side against each of the other. Images take no part.
HRESULT FindDuplicatesInMemory(PipelinePass& pass);

} // namespace mb
