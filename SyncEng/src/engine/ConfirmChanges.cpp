#include "engine/ConfirmChanges.h"

#include "dialogs/CConfirmationDlg.h"
#include "engine/EngineCodes.h"
#include "engine/PlanChanges.h"
#include "engine/RecordChanges.h"
#include "foundation/SilentMode.h"

namespace mb {
namespace {

bool wantsChangeSet(const RecordTask& task) { return task.MappedId && !task.Changes && (task.Kind == TaskChange || task.Kind == TaskNew); }

std::unique_ptr<FieldValueMap> changeSet(PipelinePass& pass, Side side, const std::u16string& id, const RecordTask& task)
{
    return std::make_unique<FieldValueMap>(ReadRecordChanges(pass, side, id, ReadErrors::GiveUp, task.FieldMapRemapped));
}

void settle(PipelinePass& pass, Side side)
{
    for (auto& [id, task] : pass.side(side).tasks) {
        if (!task.MappedId || task.Settled) continue;
        if (wantsChangeSet(task)) task.Changes = changeSet(pass, side, id, task);
        if (!task.Changes) task.Changes = std::make_unique<FieldValueMap>();
        task.Settled = true;
    }
}

bool wantsConfirmation(PipelinePass& pass)
{
    const MapOptions& options = pass.run.options;
    if (SilentMode || !(options.ConfirmAdds || options.ConfirmUpdates || options.ConfirmDeletes)) return false;
    return !pass.side(Side::One).tasks.empty() || !pass.side(Side::Two).tasks.empty() || !pass.UnverifiedRecords.empty();
}

void askUser(RunState& run, const PlannedChanges& changes)
{
    CConfirmationDlg dialog(changes);
    const int ending = ShowDialog(dialog, run.ParentWindow);
    if (dialog.unanswered()) run.abortMeaning = reUnanswered;
    switch (ending) {
    case idOk: return;
    case idReSync: run.ResyncRequested = true; throw RunFailure(codeReSync);
    default: throw Cancelled{};
    }
}

} // namespace

void ConfirmChanges(PipelinePass& pass)
{
    pass.fillFieldTypes();
    settle(pass, Side::One);
    settle(pass, Side::Two);
    const Plan plan(pass);
    if (TellPlan(pass, plan.changes) && wantsConfirmation(pass)) askUser(pass.run, plan.changes);
}

void LoadTargetFields(PipelinePass& pass)
{
    for (auto& [id, task] : pass.side(Side::Two).tasks)
        if (wantsChangeSet(task)) task.Changes = changeSet(pass, Side::Two, id, task);
}

} // namespace mb
