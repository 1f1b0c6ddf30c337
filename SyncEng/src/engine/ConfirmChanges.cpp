#include "engine/ConfirmChanges.h"

#include "dialogs/CConfirmationDlg.h"
#include "engine/EngineCodes.h"
#include "engine/PlanChanges.h"
#include "engine/RecordChanges.h"
#include "engine/ResolveConflicts.h"
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
    for (auto& [id, task] : pass.side(side).Tasks) {
        if (!task.MappedId || task.Settled) continue;
        if (wantsChangeSet(task)) task.Changes = changeSet(pass, side, id, task);
        if (!task.Changes) task.Changes = std::make_unique<FieldValueMap>();
        task.Settled = 1;
    }
}

bool wantsConfirmation(PipelinePass& pass)
{
    const MapOptions& options = pass.run.Options;
    if (SilentMode || !(options.ConfirmAdds || options.ConfirmUpdates || options.ConfirmDeletes)) return false;
    return !pass.side(Side::One).Tasks.empty() || !pass.side(Side::Two).Tasks.empty() || !pass.run.UnverifiedRecords.empty();
}

HRESULT askUser(RunState& run, const PlannedChanges& changes)
{
    CConfirmationDlg dialog(changes);
    const int ending = ShowDialog(dialog, run.ParentWindow);
    if (dialog.unanswered()) run.Abort = reUnanswered;
    switch (ending) {
    case idOk: return S_OK;
    case idReSync: run.ResyncRequested = true; return codeReSync;
    default: return E_ABORT;
    }
}

} // namespace

HRESULT ConfirmChanges(PipelinePass& pass)
{
    FillFieldTypes(pass);
    settle(pass, Side::One);
    settle(pass, Side::Two);
    const Plan plan(pass);
    const HRESULT told = TellPlan(pass, plan.changes);
    if (told != S_OK) return FAILED(told) ? told : S_OK;
    return wantsConfirmation(pass) ? askUser(pass.run, plan.changes) : S_OK;
}

void LoadTargetFields(PipelinePass& pass)
{
    for (auto& [id, task] : pass.side(Side::Two).Tasks)
        if (wantsChangeSet(task)) task.Changes = changeSet(pass, Side::Two, id, task);
}

} // namespace mb
