// Copies one record from its side to the other one: creates or edits the target record, writes the mapped fields, saves, and stores
// in the history what each side now holds. The target's values are stored as read back, not as sent: a store that rewrites
// values does not seem changed at the next run.
#pragma once
#include "engine/SidePlan.h"

namespace mb {

struct RecordWrites {
    std::vector<std::size_t> fields; // the mapped pairs whose field was written, by their index, in the order of the writes
    bool details = false;
    std::vector<std::u16string> overwritten; // lines of the target's details that gave way to a later change of the source
};

// `targetId` is the item's; on return it is the identifier under which the target saved the record. `guard` is engaged once the target has
// saved the record: from then on nothing is thrown, and the caller has to link the record.
// `waiting` is what the target's record has to send back afterwards; null for nothing. `writes` receives what was written of the record.
void ApplyRecord(PipelinePass& pass, Side target, const PlanItem& item, const PlanItem* waiting, std::optional<std::u16string>& targetId,
                 LinkGuard& guard, RecordWrites& writes);

} // namespace mb
