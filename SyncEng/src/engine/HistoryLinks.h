// The links between the two sides' history entries: two records are the same contact only while a pair of entries links them.
#pragma once
#include "engine/PipelinePass.h"

namespace mb {

// Drops the record's entry and its partner's; stops at the first failure.
HRESULT UnlinkHistoryEntry(CSyncHistory& history, Side side, const std::u16string& recordId);

// Gives the record's entry a new identifier, and tells its partner's entry, which is looked for on the partner side.
HRESULT RekeyHistoryEntry(CSyncHistory& history, Side side, const std::u16string& oldId, const std::u16string& newId, Side partnerSide);

// Marks whether the field map changed since the record was last synchronised.
HRESULT SetFieldMapChangedFlag(const RunState& run, Side side, const std::u16string& recordId, bool flag);

// Writes the two linked entries with the dates that the records bear now, so that the engine's own write is no change at the
// next run. A source with neither identifiers nor dates of its own gets no entry: its record stays unlinked.
HRESULT StampHistoryPair(PipelinePass& pass, Side source, const std::u16string& recordId, const std::u16string& targetId, DATE knownDate);

} // namespace mb
