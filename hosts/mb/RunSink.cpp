#include "RunSink.h"

#include "Output.h"

namespace mbhost {

HRESULT STDMETHODCALLTYPE RunSink::OnProgress(_SyncProgress progress, DOUBLE fPercent) { return progress_->OnProgress(progress, fPercent); }

// A pass begins with the stage of this name, and nothing else tells which of the two passes a plan belongs to.
HRESULT STDMETHODCALLTYPE RunSink::OnProgress2(BSTR label, DOUBLE fPercent)
{
    return com::guarded([&] {
        const std::string stage = printable(com::viewOf(label));
        if (stage == categoriesBegin_) plan.ofCategories = true;
        if (stage == contactsBegin_) plan.ofCategories = false;
        return progress_->OnProgress2(label, fPercent);
    });
}

// A look at the plan shows too many deletions as well.
HRESULT STDMETHODCALLTYPE RunSink::OnPlan(_TransIds side, LONG records, LONG additions, LONG changes, LONG deletions,
                                          VARIANT_BOOL* pDetails)
{
    if (!pDetails) return E_POINTER;
    *pDetails = planOnly ? VARIANT_TRUE : VARIANT_FALSE;
    const int index = side == idTrans1 ? 0 : 1;
    (plan.ofCategories ? plan.categories : plan.sides)[index] = {records, additions, changes, deletions};
    if (limit.allows(records, deletions)) return S_OK;
    refusedSide = index;
    return planOnly ? S_OK : E_ABORT;
}

// The limit of this run stands in place of the map's own.
HRESULT STDMETHODCALLTYPE RunSink::OnDeletionLimit(_TransIds side, LONG linked, LONG deletions, LONG, VARIANT_BOOL* pAllow)
{
    if (!pAllow) return E_POINTER;
    const int index = side == idTrans1 ? 0 : 1;
    const bool allowed = limit.allows(linked, deletions);
    *pAllow = allowed || planOnly ? VARIANT_TRUE : VARIANT_FALSE;
    if (allowed) return S_OK;
    refusedSide = index;
    (plan.ofCategories ? plan.categories : plan.sides)[index] = {linked, 0, 0, deletions};
    return S_OK;
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
