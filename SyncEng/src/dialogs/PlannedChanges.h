// What a run is about to write, as the confirmation and its details show it. The run owns all of it.
#pragma once
#include "interfaces.h"
#include "store/FieldData.h"
#include <span>

namespace mb {

// The kinds of a task, as the run numbers them.
enum PlannedKind : LONG { PlannedDelete = 0, PlannedChange = 1, PlannedMatch = 2, PlannedNew = 3 };

struct PlannedTask {
    LONG Kind = PlannedDelete;
    const std::u16string* recordId = nullptr;
    const std::u16string* MappedId = nullptr; // the record on the other side; null for none
    const FieldValueMap* Changes = nullptr;   // may be null
    [[nodiscard]] bool isAddition() const noexcept { return carriesValues() && !MappedId; }
    [[nodiscard]] bool isChange() const noexcept { return carriesValues() && MappedId; }
    [[nodiscard]] bool isDeletion() const noexcept { return Kind == PlannedDelete; }

private:
    [[nodiscard]] bool carriesValues() const noexcept { return Kind == PlannedChange || Kind == PlannedNew; }
};

// One side: its store, and the tasks whose values come to it. Their records are the other side's, but for those of deletions: a
// deletion stands among the tasks of the records it takes away, so it is carried out on the side opposite to the list it stands in.
struct PlannedSide {
    ITranslator* translator = nullptr;
    GUID clsid{};
    std::span<const PlannedTask> tasks;
    std::u16string database;
    std::u16string name{}; // as the run calls the store; the translator's short name where the run gives none
};

struct PlannedChanges {
    PlannedSide side1, side2;
    bool ConfirmAdds = true, ConfirmUpdates = true, ConfirmDeletes = true;
    bool AllowReSync = false;
    const FieldTypeMap* FieldTypes = nullptr;                       // from side 1 to side 2
    const std::vector<std::u16string>* UnverifiedRecords = nullptr; // left out, since they are not verified
    bool SyncImages = false;
    bool Categories = false; // the records are categories
};

} // namespace mb
