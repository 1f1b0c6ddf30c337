#include "engine/duplicates/MatchRows.h"

#include "engine/SeparateGroups.h"

namespace mb {
namespace {

bool readField(PassSide& side, std::size_t i, MatchField& out)
{
    const auto type = side.fieldType(i);
    if (!type) return false;
    const GUID& field = side.fields.data()[i];
    out = {*type, side.store.fieldFlags(field).value_or(0), side.store.fieldMaxLength(field).value_or(noMaxLength)};
    return true;
}

SpecialField* specialOf(MatchRows& rows, LONG type)
{
    switch (type) {
    case ftFirstName: return &rows.firstName;
    case ftEmail1: return &rows.email;
    case ftNotes: return &rows.notes;
    case ftCategories: return &rows.categories;
    default: return nullptr;
    }
}

} // namespace

MatchRows BuildMatchRows(PipelinePass& pass)
{
    MatchRows made;
    for (std::size_t i = 0; i < static_cast<std::size_t>(pass.FieldCount); ++i) {
        MatchRow row;
        row.index = i;
        if (!readField(pass.side(Side::One), i, row.field1) || !readField(pass.side(Side::Two), i, row.field2)) continue;
        made.rows.push_back(row);
        if (row.field1.type == ftLastName) made.lastName2 = row.field2.type;
        if (row.field1.type == ftDisplayName) made.displayName2 = row.field2.type;
        if (SpecialField* special = specialOf(made, row.field1.type))
            *special = {row.field2.type, row.field1.flags, row.field2.flags, row.field1.maxLength, row.field2.maxLength};
    }
    return made;
}

bool isGroupTask(const RecordTask& task) { return isGroup(valueOf(task, ftKind)); }

FieldValueMap& changesOf(RecordTask& task)
{
    if (!task.Changes) task.Changes = std::make_unique<FieldValueMap>();
    return *task.Changes;
}

} // namespace mb
