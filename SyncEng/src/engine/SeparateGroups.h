// Keeps groups of contacts and persons apart. A record is a group if the field ftKind of its store says "group".
// - Where the map pairs the kinds of both stores, a group travels like a contact.
// - Where it does not, the other store would take a group for a person: groups take no part in the run. None is copied, matched or
//   deleted, and a group that an earlier run linked is unlinked.
// - A link of a group with a person was made by an earlier version, which dropped the kind. The link goes, and no record is deleted. The
//   person is a copy of the group: it is left out from then on, or it would come back to the group's store as a person.
#pragma once
#include "engine/PipelinePass.h"

namespace mb {

bool isGroup(std::u16string_view kind);

// Takes the records that take no part out of the tasks. It changes no history: links go before records are written.
// Requires: both sides are scanned, and findKinds() was called.
void SeparateGroups(PipelinePass& pass);

// Remembers the copies of groups in the history.
void WriteGroupCopies(PipelinePass& pass);

} // namespace mb
