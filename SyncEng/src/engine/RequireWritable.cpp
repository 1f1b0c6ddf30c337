#include "engine/RequireWritable.h"

#include "engine/FailureReport.h"

namespace mb {
namespace {

void requireWritable(PipelinePass& pass, Side target)
{
    StoreClient& store = pass.side(target).store;
    bool asked = false; // whether a record can be added
    for (const auto& [id, task] : pass.side(otherSide(target)).tasks) {
        if (task.Kind == TaskDelete || task.Kind == TaskMatched || (!task.MappedId && asked)) continue;
        asked = asked || !task.MappedId;
        store.expectWritable(com::Bstr(task.MappedId.value_or(std::u16string())).get());
    }
    for (const auto& [id, task] : pass.side(target).tasks)
        if (task.Kind == TaskDelete && !task.alreadyGone) store.expectWritable(com::Bstr(id).get());
}

} // namespace

void RequireWritable(PipelinePass& pass)
{
    for (const Side target : {Side::Two, Side::One}) {
        if (!pass.send[otherSide(target)] || !pass.side(target).store.tellsAccess()) continue;
        charging(pass, target, [&] { requireWritable(pass, target); });
    }
}

} // namespace mb
