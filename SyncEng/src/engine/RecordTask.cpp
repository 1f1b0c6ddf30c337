#include "engine/RecordTask.h"
#include <algorithm>

namespace mb {

RecordTask& TaskAt(TaskList& map, const std::u16string& key) { return map[key]; }

TaskList::iterator FindTask(TaskList& map, const std::u16string& key) { return map.find(key); }

bool DropTask(TaskList::iterator& at, TaskList& map)
{
    if (at == map.end()) return false;
    at = map.erase(at);
    return true;
}

std::u16string& FieldValueAt(FieldValueMap& map, LONG type) { return map[type]; }

void CopyFieldValues(FieldValueMap& destination, const FieldValueMap& source)
{
    for (const auto& [type, value] : source) destination[type] = value;
}

void FreeFieldValues(FieldValueMap& map)
{
    for (auto& [type, value] : map) value.clear();
}

bool ChangesOverlap(const FieldValueMap& fields1, const FieldValueMap& fields2, const FieldTypeMap& types)
{
    return std::any_of(fields1.begin(), fields1.end(),
                       [&](const auto& field) { return fields2.contains(mappedType(&types, field.first)); });
}

} // namespace mb
