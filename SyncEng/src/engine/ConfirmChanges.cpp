#include "engine/ConfirmChanges.h"

#include "engine/RecordChanges.h"
#include "engine/ResolveConflicts.h"

namespace mb {
namespace {

bool wantsChangeSet(const RecordTask& task) { return task.MappedId && !task.Changes && (task.Kind == TaskChange || task.Kind == TaskNew); }

std::unique_ptr<FieldValueMap> changeSet(PipelinePass& pass, Side side, const std::u16string& id, const RecordTask& task)
{
    return std::make_unique<FieldValueMap>(ReadRecordChanges(pass, side, id, ReadErrors::GiveUp, task.FieldMapRemapped));
}

void settle(PipelinePass& pass, Side side)
{
    for (auto& [id, task] : pass.side(side).Tasks) {
        if (!task.MappedId || task.Settled) continue;
        if (wantsChangeSet(task)) task.Changes = changeSet(pass, side, id, task);
        if (!task.Changes) task.Changes = std::make_unique<FieldValueMap>();
        task.Settled = 1;
    }
}

} // namespace

HRESULT ConfirmChanges(PipelinePass& pass)
{
    FillFieldTypes(pass);
    settle(pass, Side::One);
    settle(pass, Side::Two);
    return S_OK;
}

void LoadTargetFields(PipelinePass& pass)
{
    for (auto& [id, task] : pass.side(Side::Two).Tasks)
        if (wantsChangeSet(task)) task.Changes = changeSet(pass, Side::Two, id, task);
}

} // namespace mb
