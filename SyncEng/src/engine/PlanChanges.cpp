#include "engine/PlanChanges.h"

#include "dialogs/CChangeDetailsDlg.h"
#include "dialogs/CConfirmationDlg.h"
#include "dialogs/CDetailsDlg.h"

namespace mb {
namespace {

// A task's kind is handed to the dialogs as it is.
static_assert(PlannedKind(TaskDelete) == PlannedDelete && PlannedKind(TaskChange) == PlannedChange &&
              PlannedKind(TaskMatched) == PlannedMatch && PlannedKind(TaskNew) == PlannedNew);

std::vector<PlannedTask> plannedTasks(const TaskList& tasks)
{
    std::vector<PlannedTask> planned;
    planned.reserve(tasks.size());
    for (const auto& [id, task] : tasks)
        if (!task.alreadyGone) planned.push_back({task.Kind, &id, task.MappedId ? &*task.MappedId : nullptr, task.Changes.get()});
    return planned;
}

// Tells the sink of a host, call by call.
class PlanTeller {
public:
    PlanTeller(PipelinePass& pass, const PlannedChanges& changes, ISyncReview* review) : pass_(pass), changes_(changes), review_(review) {}

    // Whether the user is still to be asked.
    bool tell()
    {
        const bool details1 = tellCounts(Side::One), details2 = tellCounts(Side::Two);
        PlannedChanges all = changes_;
        all.ConfirmAdds = all.ConfirmUpdates = all.ConfirmDeletes = true;
        if (details1 || details2) tellDetails(all, details1, details2);
        const com::Bstr summary(details1 || details2 ? SummaryText(all) : std::u16string());
        const HRESULT answer = com::call(review_, &ISyncReview::OnPlanEnd, summary.get());
        pass_.run.onlyPlanned = answer == E_ABORT;
        goOnAfter(answer);
        return answer == S_OK;
    }

private:
    // E_ABORT of the host stops the run, which is told apart from the user's cancel.
    void goOnAfter(HRESULT answer)
    {
        if (answer == E_ABORT) pass_.run.abortMeaning = reStopped;
        require(answer);
    }

    // Returns whether the host wants to know the details of this side.
    bool tellCounts(Side target)
    {
        const Side source = otherSide(target);
        LONG additions = 0, changes = 0, deletions = 0;
        const LONG records = pass_.side(target).store.countOrZero();
        if (pass_.send[source]) {
            for (const PlannedTask& task : target == Side::One ? changes_.side1.tasks : changes_.side2.tasks) {
                additions += task.isAddition();
                changes += task.isChange();
            }
            for (const auto& [id, task] : pass_.side(target).tasks) deletions += task.Kind == TaskDelete && !task.alreadyGone;
        }
        VARIANT_BOOL details = VARIANT_FALSE;
        goOnAfter(com::call(review_, &ISyncReview::OnPlan, target == Side::One ? idTrans1 : idTrans2, records, additions, changes,
                            deletions, &details));
        return details != VARIANT_FALSE;
    }

    void tellDetails(const PlannedChanges& all, bool side1, bool side2)
    {
        CDetailsDlg details(all);
        details.prepare();
        for (const int list : {CDetailsDlg::idList1, CDetailsDlg::idList2}) {
            const _TransIds side = list == CDetailsDlg::idList1 ? idTrans1 : idTrans2;
            if (side == idTrans1 ? !side1 : !side2) continue;
            const std::size_t rows = details.model().find(list)->rows.size();
            for (std::size_t row = 0; row < rows; ++row) tellContact(details, all, side, list, row);
        }
    }

    void tellContact(const CDetailsDlg& details, const PlannedChanges& all, _TransIds side, int list, std::size_t row)
    {
        const auto& cells = details.model().find(list)->rows[row].cells;
        const com::Bstr action(cells[0]), first(cells[1]), last(cells[2]), company(cells[3]);
        goOnAfter(com::call(review_, &ISyncReview::OnPlannedContact, side, action.get(), first.get(), last.get(), company.get()));
        const PlannedTask* task = details.taskOf(list, row);
        if (!task || !task->isChange()) return;
        const PlannedSide& target = details.targetOf(list);
        CChangeDetailsDlg change({target.translator, target.clsid, *task->MappedId, task->Changes, &details.typesFor(list), all.SyncImages,
                                  target.name, target.database});
        change.prepare();
        for (const ListRow& field : change.model().find(CChangeDetailsDlg::idList)->rows) {
            const com::Bstr name(field.cells[0]), current(field.cells[1]), value(field.cells[2]);
            goOnAfter(com::call(review_, &ISyncReview::OnPlannedField, name.get(), current.get(), value.get()));
        }
    }

    PipelinePass& pass_;
    const PlannedChanges& changes_;
    ISyncReview* review_;
};

} // namespace

// Side 1 receives the tasks of side 2, and side 2 those of side 1. A deletion is carried out on the side of its own list.
Plan::Plan(PipelinePass& pass) : tasks1_(plannedTasks(pass.side(Side::Two).tasks)), tasks2_(plannedTasks(pass.side(Side::One).tasks))
{
    const RunState& run = pass.run;
    changes.side1 = {pass.side(Side::One).store.translator(), run.side(Side::One).id, tasks1_, run.side(Side::One).database,
                     run.side(Side::One).name};
    changes.side2 = {pass.side(Side::Two).store.translator(), run.side(Side::Two).id, tasks2_, run.side(Side::Two).database,
                     run.side(Side::Two).name};
    changes.ConfirmAdds = run.options.ConfirmAdds;
    changes.ConfirmUpdates = run.options.ConfirmUpdates;
    changes.ConfirmDeletes = run.options.ConfirmDeletes;
    changes.AllowReSync = pass.HasHistory;
    changes.FieldTypes = &pass.fieldTypes;
    changes.UnverifiedRecords = &pass.UnverifiedRecords;
    changes.SyncImages = run.options.SyncImages;
    changes.Categories = run.CategoryPass;
}

bool TellPlan(PipelinePass& pass, const PlannedChanges& changes)
{
    const auto review = pass.run.EventSink.tryAs<ISyncReview>();
    return !review || PlanTeller(pass, changes, review.get()).tell();
}

} // namespace mb
