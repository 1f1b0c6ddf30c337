// Finds what changed on one side since the last run, and makes tasks of it.
// A record whose modified date is the stored one is unchanged and is not read. Where the date moved, the field values decide.
#pragma once
#include "engine/PipelinePass.h"

namespace mb {

// Additions and changes go to this side's tasks; a missing record becomes a deletion in the other side's tasks. Of the history only the
// date of an unchanged record is written. A store that contradicts itself about its records ends the run.
void ScanSide(PipelinePass& pass, Side side, bool enabled);

// Ends the run where a side misses known records and listed fewer records than it counted: the missing ones may be the unlisted ones.
void CheckListings(PipelinePass& pass);

// Compares the fields of unread records that this run would delete or write over. One that was changed becomes a change of its own; a
// deletion of one that still cannot be read waits for the next run, and so does a change that would overwrite an unread field.
void CompareUnread(PipelinePass& pass);

// Removes the pairs that neither side has any more from the history. Requires: both sides were scanned without a contradiction.
void ForgetPairsMissingOnBoth(PipelinePass& pass);

} // namespace mb
