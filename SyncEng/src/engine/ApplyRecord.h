// Copies one record from its side to the other one: creates or edits the target record, writes the mapped fields, saves, and stores
// in the history what each side now holds. The target's values are stored as read back, not as sent: a store that rewrites
// values does not seem changed at the next run.
#pragma once
#include "engine/SidePlan.h"

namespace mb {

// `targetId` is the item's; on return it is the identifier under which the target saved the record. `guard` is engaged once the target has
// saved the record: from then on nothing is thrown, and the caller has to link the record.
// `writtenFields` receives the mapped pairs whose field was written, by their index, in the order in which they were written.
void ApplyRecord(PipelinePass& pass, Side target, const PlanItem& item, std::optional<std::u16string>& targetId, LinkGuard& guard,
                 std::vector<std::size_t>& writtenFields);

} // namespace mb
