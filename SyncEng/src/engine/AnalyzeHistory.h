// Finds out what is known of both sides from the last run: whether this is a first synchronisation, and the history entries.
#pragma once
#include "engine/PipelinePass.h"

namespace mb {

// Sets FirstSync and HasHistory and fills both history lists. Identifiers that a translator changed by itself are followed first.
void AnalyzeHistory(PipelinePass& pass);

} // namespace mb
