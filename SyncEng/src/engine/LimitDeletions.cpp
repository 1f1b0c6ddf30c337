#include "engine/LimitDeletions.h"

#include "engine/EngineCodes.h"
#include "engine/FailureReport.h"
#include "foundation/Log.h"

namespace mb {
namespace {

constexpr LONG smallStore = 3; // a store of no more linked records has no limit

// A record that its store no longer has cannot be lost.
LONG countDeletions(const TaskList& tasks)
{
    LONG count = 0;
    for (const auto& [id, task] : tasks) count += task.Kind == TaskDelete && !task.AlreadyGone;
    return count;
}

bool hostAllows(const RunState& run, Side side, LONG linked, LONG deletions)
{
    const auto review = run.EventSink.tryAs<IDeletionGuard>();
    VARIANT_BOOL allowed = VARIANT_FALSE;
    return review &&
           SUCCEEDED(com::call(review, &IDeletionGuard::OnDeletionLimit, side == Side::One ? idTrans1 : idTrans2, linked, deletions,
                               run.Options.DeletionLimit, &allowed)) &&
           allowed != VARIANT_FALSE;
}

} // namespace

HRESULT LimitDeletions(PipelinePass& pass)
{
    RunState& run = pass.run;
    if (run.Options.DeletionLimit <= 0) return S_OK;
    for (const Side side : {Side::One, Side::Two}) {
        const auto linked = static_cast<LONG>(pass.side(side).HistoryList.size());
        const LONG deletions = countDeletions(pass.side(side).Tasks);
        if (linked <= smallStore ||
            static_cast<std::int64_t>(deletions) * 100 <= static_cast<std::int64_t>(linked) * run.Options.DeletionLimit)
            continue;
        if (hostAllows(run, side, linked, deletions)) continue;
        const SideState& emptied = run.side(otherSide(side));
        run.Error = {};
        chargeTo(run, otherSide(side));
        run.Error.LastErrorMessage1 = Format(
            u"%s no longer has %d of the %d records that it shared with %s (%s), so the run would delete them there too. The limit is %d "
            u"percent; nothing was written.",
            emptied.Name, deletions, linked, run.side(side).Name, emptied.Database, run.Options.DeletionLimit);
        return codeDeletionsRefused;
    }
    return S_OK;
}

} // namespace mb
