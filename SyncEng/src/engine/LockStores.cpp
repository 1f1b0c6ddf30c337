#include "engine/LockStores.h"

#include "engine/EngineCodes.h"
#include "foundation/SilentMode.h"
#include "unattended.h"

namespace mb {
namespace {

bool mayAsk() { return SilentMode == VARIANT_FALSE && !platform::isUnattended(); }

} // namespace

void LockConfiguredStores(RunState& run, const MapClient& client, const GUID& map)
{
    // Where the map cannot tell its translators, the run fails for the same reason and reports it.
    if (!client.translators(map, run.side(Side::One).id, run.side(Side::Two).id)) return;
    PerSide<std::u16string> databases;
    const HRESULT read = resultOf([&] {
        for (const Side side : bothSides) databases[side] = SettingsClient(map, side).requireText(u"Database");
    });
    if (!answered(read)) RefuseRun(run, read, u"The settings of the map could not be read. Nothing was written.");
    require(read);
    LockStores(run, databases);
}

void LockStores(RunState& run, const PerSide<std::u16string>& databases)
{
    std::vector<ContactStore> stores;
    for (const Side side : bothSides) stores.push_back({run.side(side).id, databases[side]});
    const HRESULT result = run.locks.take(stores, mayAsk());
    if (answered(result)) return;
    RefuseRun(run, result == codeInUse && !run.locks.holderMayAsk() ? codeInUseSilently : result, run.locks.failure());
    require(result);
}

void RefuseRun(RunState& run, HRESULT code, std::u16string_view why)
{
    run.ResyncRequested = false;
    run.error = {};
    run.error.LastErrorCode = com::Variant(LONG{code});
    run.error.LastErrorMessage1 = why;
}

} // namespace mb
