// What the stages of a run pass on to each other: a task, which is one action because of one record, and the ordered task lists of both
// sides. A record is named by its identifier; its values are read from the translator when needed.
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
    bool withoutDetails = false;            // of a TaskMatched: neither record has a line of details that could travel
    bool FieldMapRemapped = false;          // all fields count as changed, and the history's flag is cleared after the write
};

// By the identifier on the list's own side, in the order of code units, case-sensitive. The tasks are applied in this order.
using TaskList = std::map<std::u16string, RecordTask>;

// The task of the key; a task with default values is made if there is none.
RecordTask& TaskAt(TaskList& map, const std::u16string& key);
TaskList::iterator FindTask(TaskList& map, const std::u16string& key);
// Erases the task and moves the iterator to the next one. False, and no change, at the end.
bool DropTask(TaskList::iterator& at, TaskList& map);

// Part of the documented interface, as are the two below. The engine uses the map's own functions.
std::u16string& FieldValueAt(FieldValueMap& map, LONG type);
void CopyFieldValues(FieldValueMap& destination, const FieldValueMap& source);
// Empties every text and leaves the types.
void FreeFieldValues(FieldValueMap& map);

// Whether both sides changed the same mapped field.
bool ChangesOverlap(const FieldValueMap& fields1, const FieldValueMap& fields2, const FieldTypeMap& types);

} // namespace mb
