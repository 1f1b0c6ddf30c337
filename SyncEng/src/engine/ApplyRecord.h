// Copies one record from its side to the other one: creates or edits the target record, writes the mapped fields, saves, and stores
// in the history what each side now holds. The target's values are stored as read back, not as sent: a store that rewrites
// values does not seem changed at the next run.
#pragma once
#include "engine/details/References.h"
#include "engine/SidePlan.h"

namespace mb {

struct RecordWrites {
    std::vector<std::size_t> fields; // the mapped pairs whose field was written, by their index, in the order of the writes
    bool details = false;
    bool nextRun = false;                    // nothing was written: what a new record refers to could not be read
    Reference waitsFor = Reference::None;    // nothing was written: the source's details refer to records that have to be written before
    std::vector<std::u16string> overwritten; // lines of the target's details that gave way to a later change of the source
};

// `targetId` is the item's; on return it is the identifier under which the target saved the record. `guard` is engaged once the target has
// saved the record: from then on nothing is thrown, and the caller has to link the record.
// `waiting` is what the target's record has to send back afterwards; null for nothing. `writes` receives what was written of the record.
// `turn`: None at first; records with references wait then. Any other value writes the record whatever it refers to.
void ApplyRecord(PipelinePass& pass, PerSide<SidePlan>& plans, Side target, Reference turn, const PlanItem& item, const PlanItem* waiting,
                 std::optional<std::u16string>& targetId, LinkGuard& guard, RecordWrites& writes);

} // namespace mb
