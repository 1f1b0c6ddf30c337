// Finds the contacts to which a record's details refer, in the other store.
#pragma once
#include "engine/details/References.h"
#include "engine/SidePlan.h"

namespace mb {

// The counterparts of the records of `source` that the details name by their UIDs. Two records are counterparts if the history links them,
// or if the plans do. A record that is not written yet has none.
// The UIDs of all records of the side are read when a reference is looked up for the first time. Nullopt if some could not be read: a
// reference may then have a counterpart that is not known.
// Requires: pass.details, and no record is open.
std::optional<Counterparts> FindCounterparts(PipelinePass& pass, PerSide<SidePlan>& plans, Side source, std::u16string_view details);

} // namespace mb
