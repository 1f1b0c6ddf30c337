#include "engine/ConfirmChanges.h"

#include "dialogs/CConfirmationDlg.h"
#include "engine/EngineCodes.h"
#include "engine/TellPlan.h"
#include "foundation/SilentMode.h"

namespace mb {
namespace {

bool wantsConfirmation(const MapOptions& options, const PipelinePass& pass, const PerSide<SidePlan>& plans)
{
    if (SilentMode || !(options.ConfirmAdds || options.ConfirmUpdates || options.ConfirmDeletes)) return false;
    return !plans.one.empty() || !plans.two.empty() || !pass.UnverifiedRecords.empty();
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

void ConfirmChanges(RunState& run, const PipelinePass& pass, const PerSide<SidePlan>& plans)
{
    const ShownPlans shown(pass, plans);
    if (TellPlan(run, pass, plans, shown.changes) && wantsConfirmation(run.options, pass, plans)) askUser(run, shown.changes);
}

} // namespace mb
