// A new record that the search for duplicates could not read may be the same contact as a new record of the other side.
#pragma once
#include "engine/PipelinePass.h"

namespace mb {

// Leaves each unreadable new record out of this run, with the new records of the other side that have its last name, or with all of them
// where not even the last name could be read. The history remembers the record, so that a record that stays unreadable waits only once.
void HoldBackUnreadable(PipelinePass& pass);

} // namespace mb
