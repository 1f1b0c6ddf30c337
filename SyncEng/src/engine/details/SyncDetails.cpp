#include "engine/details/SyncDetails.h"

#include "engine/details/PictureLines.h"
#include "engine/FieldGroups.h"
#include <algorithm>

namespace mb {
namespace {

std::optional<DetailsBase> baseIn(const FieldValueMap& stored)
{
    const auto at = stored.find(ftDetails);
    return at == stored.end() ? std::nullopt : parseDetailsBase(at->second);
}

std::optional<DetailsBase> baseOf(const MapHistory& history, Side side, const std::u16string& id)
{
    FieldValueMap stored;
    return history.readFieldData(side, id, stored) ? baseIn(stored) : std::nullopt;
}

void storeBase(MapHistory& history, Side side, const std::u16string& id, const DetailsBase& base)
{
    FieldValueMap stored;
    if (!history.readFieldData(side, id, stored)) return;
    stored[ftDetails] = composeDetailsBase(base);
    history.tryWriteFieldData(side, id, stored);
}

// Whether the item writes the source's field of the type, or another one of its group: an address has one annotation.
bool writesField(const PlanItem& item, LONG type)
{
    if (item.kind == PlannedMatch || !item.Changes || item.Changes->empty()) return item.kind != PlannedMatch;
    return std::ranges::any_of(*item.Changes, [&](const auto& change) {
        return change.first == type || std::ranges::any_of(fieldGroups, [&](FieldGroup group) {
                   return IsFieldInGroup(type, group) && IsFieldInGroup(change.first, group);
               });
    });
}

} // namespace

const FieldTypeMap& AnnotationTypes(PipelinePass& pass, Side from)
{
    pass.fillFieldTypes();
    if (from == Side::One) return pass.fieldTypes;
    if (pass.fieldTypesBack.empty())
        for (const auto& [type1, type2] : pass.fieldTypes) pass.fieldTypesBack.emplace(type2, type1);
    return pass.fieldTypesBack;
}

void NoteUnreadDetails(PipelinePass& pass, Side side, const std::u16string& id)
{
    pass.detailsUnread = true;
    pass.side(side).unread[id].fields.push_back(ftDetails);
}

std::optional<std::u16string> ReadDetails(PipelinePass& pass, Side side, const com::Bstr& id)
{
    std::u16string text;
    if (pass.side(side).store.readText(id.get(), (*pass.details)[side], text)) return text;
    NoteUnreadDetails(pass, side, id.text());
    return std::nullopt;
}

std::optional<std::u16string> OpenAndReadDetails(PipelinePass& pass, Side side, const std::u16string& id)
{
    const com::Bstr key(id);
    const OpenReading reading(pass.side(side).store, key.get());
    if (reading) return ReadDetails(pass, side, key);
    NoteUnreadDetails(pass, side, id);
    return std::nullopt;
}

DetailsCompared CompareDetails(PipelinePass& pass, Side side, std::u16string_view text, const FieldValueMap& stored)
{
    const FieldTypeMap& types = AnnotationTypes(pass, side);
    const auto home = PicturesAtHome(pass, text);
    if (const auto base = baseIn(stored))
        return detailsAsInBase(text, *base, types, home) ? DetailsCompared::Same : DetailsCompared::Changed;
    return detailsAsInBase(text, {}, types, home) ? DetailsCompared::Same : DetailsCompared::FirstMeeting;
}

std::optional<DetailsBase> StoredDetailsBase(PipelinePass& pass, Side source, const std::u16string& sourceId,
                                             const std::u16string& targetId)
{
    if (pass.run.historyObsolete) return std::nullopt;
    const auto own = baseOf(pass.run.history, source, sourceId);
    const auto other = own ? baseOf(pass.run.history, otherSide(source), targetId) : std::nullopt;
    return other && isMirror(*own, *other) ? own : std::nullopt;
}

void CarryDetailsBase(PipelinePass& pass, Side side, const std::u16string& id, FieldValueMap& values)
{
    FieldValueMap stored;
    if (!pass.run.history.readFieldData(side, id, stored)) return;
    if (const auto at = stored.find(ftDetails); at != stored.end()) values[ftDetails] = at->second;
}

void StoreDetailsBase(PipelinePass& pass, Side source, const std::u16string& sourceId, const std::u16string& targetId,
                      const DetailsBase& base)
{
    storeBase(pass.run.history, source, sourceId, base);
    storeBase(pass.run.history, otherSide(source), targetId, mirrored(base));
}

bool SourceWinsDetails(PipelinePass& pass, Side source, const PlanItem& item, const PlanItem* waiting, const DetailsUnit& unit)
{
    const Side target = otherSide(source);
    if (unit.isAnnotation()) {
        if (writesField(item, unit.field)) return true;
        if (waiting && writesField(*waiting, AnnotationTypes(pass, source).at(unit.field))) return false;
    }
    if (!pass.send[target]) return true;
    const auto own = pass.side(source).store.modified(com::Bstr(item.sourceId).get()),
               other = pass.side(target).store.modified(com::Bstr(*item.targetId).get());
    const bool known = own && other && *own != 0.0 && *other != 0.0 && *own != *other;
    return known ? *own > *other : source == Side::One;
}

} // namespace mb
