// The mapped fields as the search for duplicates sees them: one row for each pair of fields that both sides know.
#pragma once
#include "engine/PipelinePass.h"

namespace mb {

inline constexpr ULONG noMaxLength = 0xFFFFFFFF;

struct MatchField {
    LONG type = 0;
    ULONG flags = 0, maxLength = noMaxLength;
};

struct MatchRow {
    MatchField field1, field2;
    std::size_t index = 0; // of the pair among the mapped fields
};

// A field with a rule of its own: its type on side 2, and the flags and lengths of both sides. All zero if it is not mapped.
struct SpecialField {
    LONG type2 = 0;
    ULONG flags1 = 0, flags2 = 0, maxLength1 = 0, maxLength2 = 0;
};

struct MatchRows {
    std::vector<MatchRow> rows;
    SpecialField firstName, email, notes, categories;
    LONG lastName2 = 0, displayName2 = 0;
};

MatchRows BuildMatchRows(PipelinePass& pass);

inline const MatchField& fieldOf(const MatchRow& row, Side side) noexcept { return side == Side::One ? row.field1 : row.field2; }

// Whether a record takes part in the search: it is new, has no partner yet, and no conflict of it was settled. A settled record stays
// alone: paired again, it would no longer be a conflict, and the two records would exchange their values.
inline bool isOpenNew(const RecordTask& task) noexcept
{
    return task.Kind == TaskNew && !task.Settled && (!task.MappedId || task.MappedId->empty());
}

// A value of a record that was read; the empty text where it has none.
inline std::u16string_view valueOf(const RecordTask& task, LONG type)
{
    return task.Values ? task.Values->find(type).value_or(std::u16string_view()) : std::u16string_view();
}

// Whether the record that was read is a group. A group matches groups alone.
bool isGroupTask(const RecordTask& task);

FieldValueMap& changesOf(RecordTask& task);

} // namespace mb
