// Finds out what is known of both sides from the last run: whether this is a first synchronisation, and the history entries.
#pragma once
#include "engine/PipelinePass.h"

namespace mb {

// Sets FirstSync and HasHistory and fills both history lists. Identifiers that a translator changed by itself are followed first.
HRESULT AnalyzeHistory(PipelinePass& pass);

// Ends the run because this side's store could not tell whether it renamed the known record `id`, which is not there under that identifier.
HRESULT failUnknownRenaming(PipelinePass& pass, Side side, const std::u16string& id);

} // namespace mb
