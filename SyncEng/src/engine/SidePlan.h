// The plan of a pass: what will be written to each side, in the order in which it is written. It is made of the tasks once, when all
// decisions are taken; the later stages take the plan alone.
#pragma once
#include "dialogs/PlannedChanges.h"
#include "engine/PipelinePass.h"
#include <deque>

namespace mb {

struct PlanItem {
    PlannedKind kind = PlannedNew;
    std::u16string sourceId;                // the record on the other side; empty for a deletion
    std::optional<std::u16string> targetId; // the record on the written side; none for a record to create
    std::unique_ptr<FieldValueMap> Changes; // the fields to write; null or empty means all
    std::unique_ptr<RecordValues> Values;   // of the record of recordId(), if the search for duplicates has read them
    LONG conflict = 0;                      // as in the task
    bool withoutDetails = false;            // as in the task
    bool FieldMapRemapped = false;          // as in the task

    [[nodiscard]] bool isDeletion() const noexcept { return kind == PlannedDelete || kind == PlannedGone; }
    // The record because of which the item is written. It is on the other side, or for a deletion on the written side.
    [[nodiscard]] const std::u16string& recordId() const noexcept { return isDeletion() ? *targetId : sourceId; }
};

// In the order of recordId(), by code units, case-sensitive.
using PlanItems = std::deque<PlanItem>;

// The item of the record; null if there is none.
PlanItem* FindItem(PlanItems& items, std::u16string_view recordId);

// What will be written to one side: the copies first, then those that wait for others, and then the deletions. An item leaves its list when
// it is done.
struct SidePlan {
    PlanItems copies;        // additions, changes and links
    PlanItems relations;     // copies whose details refer to other records: they wait until those are written
    PlanItems members;       // copies whose details name the members of a group: they wait longest
    PlanItems deletions;     // also the records that are gone already
    bool written = true;     // by this run; the plan of a side that is not written is only shown
    std::size_t planned = 0; // how many items there were before the first one was done
    LONG linkedRecords = 0;  // how many records of this side the history links
    LONG sourceRecords = -1; // how many records the other side's store counted in the scan; -1 if it was not scanned

    [[nodiscard]] std::size_t size() const noexcept { return copies.size() + relations.size() + members.size() + deletions.size(); }
    [[nodiscard]] bool empty() const noexcept { return size() == 0; }
    [[nodiscard]] PlannedCounts counts() const noexcept;
};

// Makes the plans of the tasks, and leaves the task lists empty.
PerSide<SidePlan> MakePlans(PipelinePass& pass);

} // namespace mb
