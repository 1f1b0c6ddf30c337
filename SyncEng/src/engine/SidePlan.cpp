#include "engine/SidePlan.h"

#include <algorithm>

namespace mb {
namespace {

PlannedKind kindOf(const RecordTask& task)
{
    switch (task.Kind) {
    case TaskDelete: return task.alreadyGone ? PlannedGone : PlannedDelete;
    case TaskMatched: return PlannedMatch;
    case TaskChange:
    case TaskNew: break;
    }
    return task.MappedId ? PlannedChange : PlannedNew;
}

PlanItem itemOf(std::u16string&& recordId, RecordTask&& task)
{
    PlanItem item;
    item.kind = kindOf(task);
    if (item.isDeletion()) {
        item.targetId = std::move(recordId);
    } else {
        item.sourceId = std::move(recordId);
        item.targetId = std::move(task.MappedId);
    }
    item.Changes = std::move(task.Changes);
    item.Values = std::move(task.Values);
    item.conflict = task.conflict;
    item.withoutDetails = task.withoutDetails;
    item.FieldMapRemapped = task.FieldMapRemapped;
    return item;
}

} // namespace

PlanItem* FindItem(PlanItems& items, std::u16string_view recordId)
{
    const auto at = std::ranges::lower_bound(items, recordId, {}, &PlanItem::recordId);
    return at != items.end() && at->recordId() == recordId ? &*at : nullptr;
}

PlannedCounts SidePlan::counts() const noexcept
{
    PlannedCounts counts;
    for (const PlanItems* items : {&copies, &deletions})
        for (const PlanItem& item : *items) counts.add(item.kind);
    return counts;
}

PerSide<SidePlan> MakePlans(PipelinePass& pass)
{
    PerSide<SidePlan> plans;
    for (const Side side : bothSides) {
        const Side other = otherSide(side);
        plans[side].written = pass.send[other];
        plans[side].linkedRecords = static_cast<LONG>(pass.side(side).historyList.size());
        plans[side].sourceRecords = pass.side(other).recordCount;
        TaskList& tasks = pass.side(side).tasks;
        while (!tasks.empty()) {
            auto task = tasks.extract(tasks.begin());
            PlanItem item = itemOf(std::move(task.key()), std::move(task.mapped()));
            PlanItems& items = item.isDeletion() ? plans[side].deletions : plans[other].copies;
            items.push_back(std::move(item));
        }
    }
    for (const Side side : bothSides) plans[side].planned = plans[side].size();
    return plans;
}

} // namespace mb
