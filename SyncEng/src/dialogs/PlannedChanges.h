// What a run is about to write, for the confirmation dialogs. The run owns everything that is pointed to.
#pragma once
#include "interfaces.h"
#include "store/FieldData.h"
#include <span>

namespace mb {

// The kinds of a task; the engine uses the same numbers.
enum PlannedKind : LONG { PlannedDelete = 0, PlannedChange = 1, PlannedMatch = 2, PlannedNew = 3 };

struct PlannedTask {
    LONG Kind = PlannedDelete;
    const std::u16string* recordId = nullptr;
    const std::u16string* MappedId = nullptr; // the record that `recordId` is linked to; null for none
    const FieldValueMap* Changes = nullptr;   // may be null
    [[nodiscard]] bool isAddition() const noexcept { return carriesValues() && !MappedId; }
    [[nodiscard]] bool isChange() const noexcept { return carriesValues() && MappedId; }
    [[nodiscard]] bool isDeletion() const noexcept { return Kind == PlannedDelete; }

private:
    [[nodiscard]] bool carriesValues() const noexcept { return Kind == PlannedChange || Kind == PlannedNew; }
};

// One side and its tasks. Each task's record belongs to the other side: an addition or change copies that record to this side, but a
// deletion deletes that record, so it is carried out on the other side.
struct PlannedSide {
    ITranslator* translator = nullptr;
    GUID clsid{};
    std::span<const PlannedTask> tasks;
    std::u16string database;
    std::u16string name{}; // the run's name for the store; if empty, the translator's short name is shown
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
