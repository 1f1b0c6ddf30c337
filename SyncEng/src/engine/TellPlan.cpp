#include "engine/TellPlan.h"

#include "dialogs/CChangeDetailsDlg.h"
#include "dialogs/CConfirmationDlg.h"
#include "dialogs/CDetailsDlg.h"

namespace mb {
namespace {

std::vector<PlannedTask> shownTasks(const SidePlan& plan)
{
    std::vector<PlannedTask> shown;
    shown.reserve(plan.size());
    for (const PlanItem& item : plan.copies)
        shown.push_back({item.kind, &item.sourceId, item.targetId ? &*item.targetId : nullptr, item.Changes.get()});
    for (const PlanItem& item : plan.deletions) shown.push_back({item.kind, &*item.targetId});
    return shown;
}

// Tells the sink of a host, call by call.
class PlanTeller {
public:
    PlanTeller(RunState& run, const PipelinePass& pass, const PerSide<SidePlan>& plans, const PlannedChanges& changes, ISyncReview* review)
        : run_(run), pass_(pass), plans_(plans), changes_(changes), review_(review)
    {
    }

    // Whether the user is still to be asked.
    bool tell()
    {
        const bool details1 = tellCounts(Side::One), details2 = tellCounts(Side::Two);
        PlannedChanges all = changes_;
        all.ConfirmAdds = all.ConfirmUpdates = all.ConfirmDeletes = true;
        if (details1 || details2) tellDetails(all, details1, details2);
        const com::Bstr summary(details1 || details2 ? SummaryText(all) : std::u16string());
        const HRESULT answer = com::call(review_, &ISyncReview::OnPlanEnd, summary.get());
        run_.onlyPlanned = answer == E_ABORT;
        goOnAfter(answer);
        return answer == S_OK;
    }

private:
    // E_ABORT of the host stops the run, which is told apart from the user's cancel.
    void goOnAfter(HRESULT answer)
    {
        if (answer == E_ABORT) run_.abortMeaning = reStopped;
        require(answer);
    }

    // Returns whether the host wants to know the details of this side.
    bool tellCounts(Side target)
    {
        const LONG records = pass_.sides[target].store.countOrZero();
        const PlannedCounts counts = plans_[target].written ? plans_[target].counts() : PlannedCounts();
        VARIANT_BOOL details = VARIANT_FALSE;
        goOnAfter(com::call(review_, &ISyncReview::OnPlan, target == Side::One ? idTrans1 : idTrans2, records, counts.additions,
                            counts.changes, counts.deletions, &details));
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

    RunState& run_;
    const PipelinePass& pass_;
    const PerSide<SidePlan>& plans_;
    const PlannedChanges& changes_;
    ISyncReview* review_;
};

} // namespace

ShownPlans::ShownPlans(const PipelinePass& pass, const PerSide<SidePlan>& plans) : tasks_{shownTasks(plans.one), shownTasks(plans.two)}
{
    const RunState& run = pass.run;
    const auto shown = [&](Side side) {
        return PlannedSide{pass.sides[side].store.translator(),
                           run.side(side).id,
                           tasks_[side],
                           run.side(side).database,
                           run.side(side).name,
                           plans[side].counts()};
    };
    changes.side1 = shown(Side::One);
    changes.side2 = shown(Side::Two);
    changes.ConfirmAdds = run.options.ConfirmAdds;
    changes.ConfirmUpdates = run.options.ConfirmUpdates;
    changes.ConfirmDeletes = run.options.ConfirmDeletes;
    changes.AllowReSync = pass.HasHistory;
    changes.FieldTypes = &pass.fieldTypes;
    changes.UnverifiedRecords = &pass.UnverifiedRecords;
    changes.SyncImages = run.options.SyncImages;
    changes.Categories = run.CategoryPass;
}

bool TellPlan(RunState& run, const PipelinePass& pass, const PerSide<SidePlan>& plans, const PlannedChanges& changes)
{
    const auto review = run.EventSink.tryAs<ISyncReview>();
    return !review || PlanTeller(run, pass, plans, changes, review.get()).tell();
}

} // namespace mb
