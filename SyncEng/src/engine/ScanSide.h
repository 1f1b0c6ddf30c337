// Finds out what changed on one side since the last run, and puts it down as tasks.
// The modified date tells cheaply that nothing happened; where it moved, the field values decide whether something really did.
#pragma once
#include "engine/PipelinePass.h"

namespace mb {

// Additions and changes go to this side's tasks; a record that is gone becomes a deletion in the other side's tasks.
// The history is touched in one way only: the date of an entry that proved unchanged. A store that contradicts itself about what it
// has ends the run.
void ScanSide(PipelinePass& pass, Side side, bool enabled);

// Ends the run where a side misses known records and did not list as many as it counted: what it misses may be what it did not list.
void CheckListings(PipelinePass& pass);

// Compares the fields of unread records that this run would delete or write over. One that was changed becomes a change of its own; a
// deletion of one that still cannot be read waits for the next run, and so does a change that would overwrite an unread field.
void CompareUnread(PipelinePass& pass);

// Takes the pairs that are gone on both sides out of the history, once every side was scanned and none contradicted itself.
void ForgetPairsMissingOnBoth(PipelinePass& pass);

} // namespace mb
