// What becomes of two new records that were found to be the same contact.
#pragma once
#include "engine/MatchRows.h"

namespace mb {

// Which of the two leaves its list, since it has nothing to give.
struct DroppedTasks {
    bool drop1 = false, drop2 = false;
};

// Maps the two to each other, and decides: equal records are linked and nothing is copied, one that has something to give gives it,
// two that differ are a conflict.
DroppedTasks PairDuplicates(PipelinePass& pass, const std::u16string& id1, const std::u16string& id2, const MatchRows& rows);

} // namespace mb
