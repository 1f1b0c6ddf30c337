// The details of the records of a pass: read from the stores, with their base in the history. All of it requires pass.details.
// Details that cannot be read are neither changed nor removed: their records are noted as unread, so that the next run compares them again.
#pragma once
#include "engine/details/MergeDetails.h"
#include "engine/SidePlan.h"

namespace mb {

// For each mapped pair the type on `from` to the type on the other side.
const FieldTypeMap& AnnotationTypes(PipelinePass& pass, Side from);

// Nullopt where the store cannot tell; the record is then noted as unread. Requires: the record is open.
std::optional<std::u16string> ReadDetails(PipelinePass& pass, Side side, const com::Bstr& id);
// The same for a record that is not open.
std::optional<std::u16string> OpenAndReadDetails(PipelinePass& pass, Side side, const std::u16string& id);
// The next run compares the record's details again.
void NoteUnreadDetails(PipelinePass& pass, Side side, const std::u16string& id);

enum class DetailsCompared { Same, Changed, FirstMeeting };

// Compares a record with its base. FirstMeeting: the history has none, and the record has details to offer.
DetailsCompared CompareDetails(PipelinePass& pass, Side side, std::u16string_view text, const FieldValueMap& stored);

// What both sides recorded when the link was last synchronised, as the source has it; nullopt where either has no base,
// or the two are not the same.
std::optional<DetailsBase> StoredDetailsBase(PipelinePass& pass, Side source, const std::u16string& sourceId,
                                             const std::u16string& targetId);
// Keeps the record's stored base among values that replace its stored ones.
void CarryDetailsBase(PipelinePass& pass, Side side, const std::u16string& id, FieldValueMap& values);
// Stores the base with the values of both records. A record without stored values gets none.
void StoreDetailsBase(PipelinePass& pass, Side source, const std::u16string& sourceId, const std::u16string& targetId,
                      const DetailsBase& base);

// Whether the source's unit replaces the target's, where both are new and a record has only one of them. An annotation follows the side
// whose value the field gets. Else the record that was changed later wins; side 1 where the dates do not tell; the source where nothing
// travels from the target. `waiting`: what the target's record has to send back; null for nothing. Requires: the item has a target record.
bool SourceWinsDetails(PipelinePass& pass, Side source, const PlanItem& item, const PlanItem* waiting, const DetailsUnit& unit);

} // namespace mb
