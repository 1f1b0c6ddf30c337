// What a run is about to write, for the confirmation dialogs. The run owns everything that is pointed to.
#pragma once
#include "interfaces.h"
#include "store/FieldData.h"
#include <span>

namespace mb {

// What is done to one record of the written side.
enum PlannedKind : LONG {
    PlannedDelete = 0, // deletes the record
    PlannedChange = 1, // updates the record
    PlannedMatch = 2,  // links the record, and writes no field
    PlannedNew = 3,    // creates a record
    PlannedGone = 4    // nothing: the store has deleted the record itself
};

// The counts that the summary shows, the host is told, and the limit for deletions compares.
struct PlannedCounts {
    LONG additions = 0, changes = 0, deletions = 0;
    void add(PlannedKind kind) noexcept
    {
        additions += kind == PlannedNew;
        changes += kind == PlannedChange;
        deletions += kind == PlannedDelete;
    }
};

struct PlannedTask {
    PlannedKind Kind = PlannedDelete;
    const std::u16string* recordId = nullptr; // the record on the other side; for a deletion, the record to delete
    const std::u16string* MappedId = nullptr; // the record to update or link; null for an addition or deletion
    const FieldValueMap* Changes = nullptr;   // may be null
    [[nodiscard]] bool isAddition() const noexcept { return Kind == PlannedNew; }
    [[nodiscard]] bool isChange() const noexcept { return Kind == PlannedChange; }
    [[nodiscard]] bool isDeletion() const noexcept { return Kind == PlannedDelete; }
};

// One side and what is written to it.
struct PlannedSide {
    ITranslator* translator = nullptr;
    GUID clsid{};
    std::span<const PlannedTask> tasks; // in the order in which they are written
    std::u16string database;
    std::u16string name{}; // the run's name for the store; if empty, the translator's short name is shown
    PlannedCounts counts{};
};

struct PlannedChanges {
    PlannedSide side1, side2;
    bool ConfirmAdds = true, ConfirmUpdates = true, ConfirmDeletes = true;
    bool AllowReSync = false;
    const FieldTypeMap* FieldTypes = nullptr;                       // from field types of side 1 to those of side 2
    const std::vector<std::u16string>* UnverifiedRecords = nullptr; // not written because they are not verified
    bool SyncImages = false;
    bool Categories = false; // the records are categories
};

} // namespace mb
