// The links between the two sides' history entries: two records are the same contact only while a pair of entries links them.
#pragma once
#include "engine/PipelinePass.h"

namespace mb {

// Drops the record's entry and its partner's. Stops at the first change that fails: the next run finds what is left.
void UnlinkHistoryEntry(MapHistory& history, Side side, const std::u16string& recordId);

// Gives the record's entry a new identifier, and tells its partner's entry, which is looked up on the partner side. Stops at the first
// change that fails: the next run finds what is left.
void RekeyHistoryEntry(MapHistory& history, Side side, const std::u16string& oldId, const std::u16string& newId, Side partnerSide);

// Marks whether the field map changed since the record was last synchronised. A record without an entry is left out.
void SetFieldMapChangedFlag(RunState& run, Side side, const std::u16string& recordId, bool flag);

// Writes the two linked entries with the present dates of the records, so that the engine's own write is no change at the next run. Ends
// the run where an entry cannot be written: without the link the record would be copied once more. A source with neither identifiers nor
// dates of its own gets no entry: its record stays unlinked.
// `targetWaits`: the target record has a change of its own that is written later in this run. Until then it keeps its stored date: if the
// run ended before, the next run could not see the change.
void StampHistoryPair(PipelinePass& pass, Side source, const std::u16string& recordId, const std::u16string& targetId, bool targetWaits);

} // namespace mb
