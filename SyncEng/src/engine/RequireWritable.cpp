#include "engine/RequireWritable.h"

#include "engine/FailureReport.h"

namespace mb {
namespace {

void requireWritable(StoreClient& store, const SidePlan& plan)
{
    bool asked = false; // whether a record can be added
    for (const PlanItem& item : plan.copies) {
        if (item.kind == PlannedMatch || (item.kind == PlannedNew && asked)) continue;
        asked = asked || item.kind == PlannedNew;
        store.expectWritable(com::Bstr(item.targetId.value_or(std::u16string())).get());
    }
    for (const PlanItem& item : plan.deletions)
        if (item.kind == PlannedDelete) store.expectWritable(com::Bstr(*item.targetId).get());
}

} // namespace

void RequireWritable(const PipelinePass& pass, const PerSide<SidePlan>& plans)
{
    for (const Side target : {Side::Two, Side::One}) {
        StoreClient& store = pass.sides[target].store;
        if (plans[target].written && store.tellsAccess()) charging(pass, target, [&] { requireWritable(store, plans[target]); });
    }
}

} // namespace mb
