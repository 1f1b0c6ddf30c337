#include "engine/LockStores.h"

#include "engine/EngineCodes.h"
#include "foundation/SilentMode.h"
#include "translators/SideSettings.h"
#include "unattended.h"

namespace mb {
namespace {

bool mayAsk() { return SilentMode == VARIANT_FALSE && !platform::isUnattended(); }

} // namespace

HRESULT LockConfiguredStores(RunState& run, ITrMap* trMap, const GUID& map)
{
    const HRESULT hr = com::call(trMap, &ITrMap::GetTranslators, map, &run.side(Side::One).id, &run.side(Side::Two).id);
    if (FAILED(hr)) return S_OK; // the run fails for the same reason and reports it
    PerSide<std::u16string> databases;
    for (const Side side : bothSides) {
        com::Ptr<IDataStream> settings;
        com::Bstr database;
        if (SUCCEEDED(MakeSettings(map, side == Side::One ? idTrans1 : idTrans2, settings)))
            (void)com::call(settings, &IDataStream::GetString, com::Bstr(u"Database").get(), database.put());
        databases[side] = database.text();
    }
    return LockStores(run, databases);
}

HRESULT LockStores(RunState& run, const PerSide<std::u16string>& databases)
{
    std::vector<ContactStore> stores;
    for (const Side side : bothSides) stores.push_back({run.side(side).id, databases[side]});
    const HRESULT hr = run.locks.take(stores, mayAsk());
    if (FAILED(hr)) RefuseRun(run, hr == codeInUse && !run.locks.holderMayAsk() ? codeInUseSilently : hr, run.locks.failure());
    return hr;
}

void RefuseRun(RunState& run, HRESULT code, std::u16string_view why)
{
    run.ResyncRequested = false;
    run.error = {};
    run.error.LastErrorCode = com::Variant(LONG{code});
    run.error.LastErrorMessage1 = why;
}

} // namespace mb
