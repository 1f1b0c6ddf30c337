// What becomes of two new records that were found to be the same contact.
#pragma once
#include "engine/duplicates/MatchRows.h"

namespace mb {

// Which of the two tasks is to be dropped, because its record has nothing to send.
struct DroppedTasks {
    bool drop1 = false, drop2 = false;
};

// Maps the two records to each other and decides: equal records are linked and nothing is copied; where only one has changes, it sends
// them; two with changes are a conflict.
DroppedTasks PairDuplicates(PipelinePass& pass, const std::u16string& id1, const std::u16string& id2, const MatchRows& rows);

} // namespace mb
