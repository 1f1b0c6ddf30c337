#include "RunSink.h"

#include "Output.h"
#include <algorithm>

namespace mbhost {

HRESULT STDMETHODCALLTYPE RunSink::OnProgress(_SyncProgress progress, DOUBLE fPercent) { return progress_->OnProgress(progress, fPercent); }

HRESULT STDMETHODCALLTYPE RunSink::OnProgress2(BSTR label, DOUBLE fPercent) { return progress_->OnProgress2(label, fPercent); }

// A dry run goes on over the limit: its plan shows that a run would be refused.
HRESULT STDMETHODCALLTYPE RunSink::OnPlan(_TransIds side, LONG records, LONG additions, LONG changes, LONG deletions,
                                          VARIANT_BOOL* pDetails)
{
    if (!pDetails) return E_POINTER;
    *pDetails = planOnly ? VARIANT_TRUE : VARIANT_FALSE;
    return com::guarded([&] {
        const int index = side == idTrans1 ? 0 : 1;
        (plan.ofCategories ? plan.categories : plan.sides)[index] = {records, additions, changes, deletions};
        return allows(index, records, deletions, limit.allows(records, deletions)) || planOnly ? S_OK : E_ABORT;
    });
}

// The limit of this run overrides the map's option.
HRESULT STDMETHODCALLTYPE RunSink::OnDeletionLimit(_TransIds side, LONG linked, LONG deletions, LONG, VARIANT_BOOL* pAllow)
{
    if (!pAllow) return E_POINTER;
    *pAllow = VARIANT_FALSE;
    return com::guarded([&] {
        // The engine asks about a small store only if the other store is empty.
        const bool allowed = allows(side == idTrans1 ? 0 : 1, linked, deletions, limit.allowsOfAnySize(linked, deletions));
        *pAllow = allowed || planOnly ? VARIANT_TRUE : VARIANT_FALSE;
    });
}

bool RunSink::allows(int side, LONG records, LONG deletions, bool withinLimit)
{
    const std::pair asked{plan.ofCategories, side};
    if (withinLimit || confirmed_.contains(asked)) return true;
    const TooManyDeletions tooMany{plan.ofCategories, side, records, deletions, limit.text()};
    progress_->finish(); // a question may follow
    if (!planOnly && confirmDeletions && confirmDeletions(tooMany)) {
        confirmed_.insert(asked);
        return true;
    }
    const bool known =
        std::ranges::any_of(plan.refused, [&](const auto& other) { return std::pair(other.ofCategories, other.side) == asked; });
    if (!known) plan.refused.push_back(tooMany);
    return false;
}

HRESULT STDMETHODCALLTYPE RunSink::OnRunBegin(ISyncRunReport*)
{
    return com::guarded([&] {
        if (onRunBegin) onRunBegin();
    });
}

HRESULT STDMETHODCALLTYPE RunSink::OnPassBegin(_SyncPass pass)
{
    plan.ofCategories = pass == passCategories;
    if (plan.ofCategories) { // a run that starts over reports its plan again
        plan.categoryNames.clear();
        plan.categorySummary.clear();
    } else {
        plan.contacts.clear();
        plan.summary.clear();
    }
    return S_OK;
}

HRESULT STDMETHODCALLTYPE RunSink::OnItem(ISyncReportItem*) { return S_OK; }

// The events are taken from the final report, not from OnItem: a run that starts over reports its items again.
HRESULT STDMETHODCALLTYPE RunSink::OnRunEnd(ISyncRunReport* pReport)
{
    return com::guarded([&] {
        LONG how = 0, code = 0;
        com::Bstr text;
        com::check(pReport->GetEnd(&how, &code, text.put()));
        end = static_cast<_RunEnd>(how);
        events = RunEvents(pReport);
    });
}

HRESULT STDMETHODCALLTYPE RunSink::OnPlannedContact(_TransIds side, BSTR action, BSTR firstName, BSTR lastName, BSTR company)
{
    return com::guarded([&] {
        const std::string first = printable(com::viewOf(firstName)), last = printable(com::viewOf(lastName));
        (plan.ofCategories ? plan.categoryNames : plan.contacts)
            .push_back({side == idTrans1 ? 0 : 1,
                        printable(com::viewOf(action)),
                        first + (first.empty() || last.empty() ? "" : " ") + last,
                        printable(com::viewOf(company)),
                        {}});
    });
}

HRESULT STDMETHODCALLTYPE RunSink::OnPlannedField(BSTR name, BSTR currentValue, BSTR newValue)
{
    return com::guarded([&]() -> HRESULT {
        auto& told = plan.ofCategories ? plan.categoryNames : plan.contacts;
        if (told.empty()) return E_UNEXPECTED;
        told.back().fields.push_back(
            {printable(com::viewOf(name)), printable(com::viewOf(currentValue)), printable(com::viewOf(newValue))});
        return S_OK;
    });
}

HRESULT STDMETHODCALLTYPE RunSink::OnPlanEnd(BSTR summary)
{
    return com::guarded([&]() -> HRESULT {
        (plan.ofCategories ? plan.categorySummary : plan.summary) += com::viewOf(summary);
        return planOnly ? E_ABORT : acceptSummary ? S_FALSE : S_OK;
    });
}

} // namespace mbhost
