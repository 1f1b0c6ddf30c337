// The conflicts of one call of the conflict stage: which pairs of records both want to change each other, and what is planned for them.
#pragma once
#include "engine/PipelinePass.h"
#include <map>

namespace mb {

struct Conflict {
    std::u16string partner;  // the record on side 2
    bool isDelete = false;   // a change against a deletion
    LONG action = croNotify; // the resolution planned at detection
};

// By the record on side 1: the order in which the user sees them.
using ConflictTable = std::map<std::u16string, Conflict>;

// Finds the pairs, and reads the changes of those that history shows as changed on both sides. A pair whose changes touch different
// fields is no conflict: each side's changes travel to the other.
void DetectConflicts(PipelinePass& pass, class StageProgress& progress, ConflictTable& conflicts);

// The fields changed on both sides of a pair, in step; images only where they are to be compared.
struct ConflictFields {
    std::vector<LONG> side1, side2;
};
ConflictFields ListConflictFields(bool includeImages, const FieldValueMap& changes1, const FieldValueMap& changes2,
                                  const FieldTypeMap& types);

} // namespace mb
