// What the stages of a run say to each other: one intended action on one record, and the ordered lists of them, one a side.
// A record is never held as an object; it is named by its identifier and its values are read from the translator when needed.
#pragma once
#include "com.h"
#include "engine/RecordValues.h"
#include "store/FieldData.h"
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace mb {

enum TaskKind : LONG {
    TaskDelete = 0,  // delete the record of the key; runs on the side of the list that holds the task
    TaskChange = 1,  // the record of the key changed: update MappedId on the other side
    TaskMatched = 2, // the record of the key was matched to MappedId: link them, write no field
    TaskNew = 3      // the record of the key is new: create it on the other side
};

struct RecordTask {
    TaskKind Kind = TaskDelete;
    std::optional<std::u16string> MappedId; // the record on the other side; none for a new record that no search has matched
    std::unique_ptr<FieldValueMap> Changes; // the fields that differ; when not empty, only these are written
    std::unique_ptr<RecordValues> Values;   // the record's values, once the search for duplicates has read them
    bool pairExamined = false;              // the conflict stage has judged this pair, and does not judge it again in this run
    bool alreadyGone = false;               // of a TaskDelete: the store does not have the record, so there is nothing to delete
    bool Settled = false;                   // the change set is final
    LONG conflict = 0;                      // the resolution of the record's conflict, of _ConflictResolutionOptions; 0 for no conflict
    bool FieldMapRemapped = false;          // all fields count as changed, and the history's flag is cleared after the write
};

// By identifier of the list's own side, in plain order of code units, case counting: the order in which tasks are applied.
using TaskList = std::map<std::u16string, RecordTask>;

// The task of the key, made with all fields zero if there is none. A whole task stored there replaces the former one.
RecordTask& TaskAt(TaskList& map, const std::u16string& key);
TaskList::iterator FindTask(TaskList& map, const std::u16string& key);
// Erases the task and moves the iterator to the next one. False, and no change, at the end.
bool DropTask(TaskList::iterator& at, TaskList& map);

std::u16string& FieldValueAt(FieldValueMap& map, LONG type);
void CopyFieldValues(FieldValueMap& destination, const FieldValueMap& source);
// Empties every text and leaves the types.
void FreeFieldValues(FieldValueMap& map);

// Whether both sides changed the same mapped field.
bool ChangesOverlap(const FieldValueMap& fields1, const FieldValueMap& fields2, const FieldTypeMap& types);

} // namespace mb
