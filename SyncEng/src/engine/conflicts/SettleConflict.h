// Carries out the resolution of one conflict on its two tasks.
#pragma once
#include "engine/conflicts/Conflicts.h"

namespace mb {

// The two tasks of a conflict, and what was found out about it.
struct ConflictPair {
    TaskList::iterator task1, task2;
    FieldValueMap Scratch1, Scratch2;     // what a merge left for each side
    std::optional<ConflictFields> fields; // none while they were not computed
};

void SettleConflict(PipelinePass& pass, ConflictPair& pair, LONG resolution);

} // namespace mb
