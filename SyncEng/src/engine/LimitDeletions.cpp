#include "engine/LimitDeletions.h"

#include "engine/EngineCodes.h"
#include "engine/FailureReport.h"
#include "foundation/Log.h"

namespace mb {
namespace {

constexpr LONG smallStore = 3; // a store of no more linked records has no limit, unless the other one is empty

bool hostAllows(const RunState& run, Side side, LONG linked, LONG deletions)
{
    const auto review = run.EventSink.tryAs<IDeletionGuard>();
    VARIANT_BOOL allowed = VARIANT_FALSE;
    return review &&
           answered(com::call(review, &IDeletionGuard::OnDeletionLimit, side == Side::One ? idTrans1 : idTrans2, linked, deletions,
                              run.options.deletionLimit, &allowed)) &&
           allowed != VARIANT_FALSE;
}

// A store that lists no record at all more likely misses its drive or folder than that the user deleted the last contacts. The list of
// categories is short, and users do delete the last one.
bool sourceIsEmptied(const RunState& run, const SidePlan& plan) { return !run.CategoryPass && plan.sourceRecords == 0; }

std::u16string refusal(const RunState& run, Side side, LONG linked, LONG deletions, bool emptied)
{
    const SideState &kept = run.side(side), &lost = run.side(otherSide(side));
    const std::u16string what =
        Format(u"%s no longer has %d of the %d records that it shared with %s (%s), so the run would delete them there too. ", lost.name,
               deletions, linked, kept.name, lost.database);
    if (emptied) return what + u"It has no record at all, as if its drive or folder were missing; nothing was written.";
    return what + Format(u"The limit is %d percent; nothing was written.", run.options.deletionLimit);
}

} // namespace

void LimitDeletions(RunState& run, const PerSide<SidePlan>& plans)
{
    if (run.options.deletionLimit <= 0) return;
    for (const Side side : bothSides) {
        const LONG linked = plans[side].linkedRecords, deletions = plans[side].counts().deletions;
        const bool emptied = deletions > 0 && sourceIsEmptied(run, plans[side]);
        const bool many = linked > smallStore &&
                          static_cast<std::int64_t>(deletions) * 100 > static_cast<std::int64_t>(linked) * run.options.deletionLimit;
        if (!(many || emptied) || hostAllows(run, side, linked, deletions)) continue;
        run.error = {};
        chargeTo(run, otherSide(side));
        run.error.LastErrorMessage1 = refusal(run, side, linked, deletions, emptied);
        throw RunFailure(codeDeletionsRefused);
    }
}

} // namespace mb
