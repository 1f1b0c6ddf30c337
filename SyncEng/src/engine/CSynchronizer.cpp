#include "engine/CSynchronizer.h"

#include "engine/EngineCodes.h"
#include "engine/FailureReport.h"
#include "engine/LockStores.h"
#include "engine/SyncOneMap.h"
#include "foundation/ClassTable.h"
#include "foundation/SilentMode.h"
#include "registry.h"
#include "store/ConfigStore.h"
#include "store/CSyncHistory.h"
#include "store/FindMap.h"
#include "translators/TranslatorIds.h"
#include "ui.h"
#include <cstdlib>
#include <ctime>
#include <utility>

namespace mb {
namespace {

// Holds the process-wide silence for the length of a run.
class SilentRun {
public:
    explicit SilentRun(VARIANT_BOOL silent) noexcept { SilentMode = silent; }
    SilentRun(const SilentRun&) = delete;
    SilentRun& operator=(const SilentRun&) = delete;
    ~SilentRun() { SilentMode = VARIANT_FALSE; }
};

// Tells the helper program of that mail client which address book is synchronised. Failures are ignored.
void StoreOutlookExpressDatabase(const GUID& translatorId, std::u16string_view database)
{
    constexpr char16_t path[] = u"Software\\Zorel\\MBSyncEng";
    if (translatorId != outlookExpressTranslator) return;
    auto key = platform::RegistryKey::open(platform::Root::CurrentUser, path);
    if (!key && platform::createKeyPath(platform::Root::CurrentUser, path))
        key = platform::RegistryKey::open(platform::Root::CurrentUser, path);
    if (key && !database.empty()) key->setText(u"OutlookExpressDB", database);
}

// Holds the store locks of one map's run, and releases them at its end. A run that a host starts inside another one has its own.
class OwnLocks {
public:
    explicit OwnLocks(RunState& run) noexcept : run_(run), outer_(std::exchange(run.locks, {})) {}
    OwnLocks(const OwnLocks&) = delete;
    OwnLocks& operator=(const OwnLocks&) = delete;
    ~OwnLocks() { run_.locks = std::move(outer_); }

private:
    RunState& run_;
    RunLocks outer_;
};

// The cards to transfer. A null array is an empty selection, and the run is still a transfer.
class Selection {
public:
    explicit Selection(SAFEARRAY* given) : own_(given ? nullptr : com::makeTextArray({})), cards_(given ? given : own_) {}
    Selection(const Selection&) = delete;
    Selection& operator=(const Selection&) = delete;
    ~Selection()
    {
        if (own_) (void)SafeArrayDestroy(own_);
    }
    // Whether it is a list of texts, and not an array of something else.
    [[nodiscard]] bool isList() const noexcept
    {
        VARTYPE type = VT_EMPTY;
        return SafeArrayGetDim(cards_) == 1 && answered(SafeArrayGetVartype(cards_, &type)) && type == VT_BSTR;
    }
    [[nodiscard]] SAFEARRAY* cards() const noexcept { return cards_; }

private:
    SAFEARRAY *own_, *cards_;
};

} // namespace

CSynchronizer::CSynchronizer(IUnknown* outer) : EventSource(outer)
{
    std::srand(static_cast<unsigned>(std::time(nullptr)));
    platform::silenceSystemErrorBoxes();
    SilentMode = VARIANT_FALSE;
}

HRESULT CSynchronizer::createFieldMap() { return createClass(__uuidof(FieldMap), run_.FieldMap); }

HRESULT STDMETHODCALLTYPE CSynchronizer::Initialize(HWND hwndParent, VARIANT_BOOL bReconfig)
{
    return com::guarded([&] {
        run_.ParentWindow = hwndParent;
        for (const Side side : {Side::One, Side::Two}) run_.side(side).reconfigure = bReconfig;
        run_.EventSink = firstSink();
        platform::prepareListViews();
        run_.FieldMap.reset();
        return createFieldMap();
    });
}

HRESULT STDMETHODCALLTYPE CSynchronizer::Synchronize(REFGUID guid, VARIANT_BOOL bSilent)
{
    return com::guarded([&] {
        run_.CategoryPass = run_.ContactPassPending = run_.CategoriesBarred = false;
        const SilentRun silence(bSilent);
        run_.EventSink = firstSink();
        return resultOf([&] { runMaps(guid); });
    });
}

HRESULT STDMETHODCALLTYPE CSynchronizer::ReSynchronize(REFGUID guid, VARIANT_BOOL bSilent)
{
    run_.ResyncRequested = true;
    return Synchronize(guid, bSilent);
}

HRESULT STDMETHODCALLTYPE CSynchronizer::Cleanup()
{
    run_.FieldMap.reset();
    return S_OK;
}

void CSynchronizer::runMaps(const GUID& guid)
{
    com::Ptr<ITrManager> manager;
    require(createClass(__uuidof(TrManager), manager));
    if (!run_.FieldMap) require(createFieldMap());

    com::TaskArray<GUID> listed;
    std::vector<GUID> maps{guid};
    if (guid == GUID_NULL) {
        require(com::call(manager, &ITrManager::EnumerateMaps, listed.putCount(), listed.put()));
        maps.assign(listed.items().begin(), listed.items().end());
    }
    com::Ptr<ITrMap> trMap;
    require(createClass(__uuidof(TrManager), trMap));
    const MapClient client(trMap);
    for (const GUID& map : maps) {
        StoreLock lock; // held from before the map's settings are read until the run was repeated for the last time
        const OwnLocks stores(run_);
        lockMap(lock, map);
        LockConfiguredStores(run_, client, map);
        runReported(map, [&] { return runMap(client, map); });
    }
}

void CSynchronizer::lockMap(StoreLock& lock, const GUID& map)
{
    const HRESULT taken = lock.takeMap(map);
    if (!answered(taken)) RefuseRun(run_, taken, lock.failure());
    require(taken);
    require(ConfigStore().Refresh());
}

template <class Run> void CSynchronizer::runReported(const GUID& map, Run&& run)
{
    run_.report.begin(run_.EventSink, map);
    HRESULT result = com::guarded(run);
    while (runsAgain(result)) {
        run_.report.startOver();
        result = com::guarded(run);
    }
    if (result == S_OK)
        run_.report.end(reDone, result, {});
    else if (result == E_ABORT)
        run_.report.end(run_.abortMeaning, result, {});
    else
        run_.report.end(result == codeDeletionsRefused ? reRefused : reFailed, result, FailureText(run_, result));
    require(result);
}

HRESULT CSynchronizer::runMap(const MapClient& client, const GUID& map)
{
    forgetFailedSide();
    run_.CurrentMap = map;
    GUID id1{}, id2{};
    if (client.translators(map, id1, id2) && id2 == outlookExpressTranslator)
        if (const auto database = client.currentDatabase2(map)) StoreOutlookExpressDatabase(id2, *database);
    run_.onlyPlanned = false;
    std::shared_ptr<CSyncHistory> contactHistory;
    const HRESULT result = SyncOneMap(run_, contactHistory);
    if (!run_.CategoryPass || (result != S_OK && !run_.onlyPlanned)) return result;
    run_.ContactPassPending = true;
    run_.CategoryPass = false;
    return SyncOneMap(run_, contactHistory);
}

void CSynchronizer::forgetFailedSide()
{
    run_.error.FailedTranslator = GUID_NULL;
    run_.error.failedSide.reset();
}

bool CSynchronizer::runsAgain(HRESULT hr)
{
    if (hr != codeRunAgain && hr != codeRebuildFields && !(hr == codeReSync && run_.ResyncRequested)) return false;
    run_.ResyncRequested = true;
    return true;
}

HRESULT STDMETHODCALLTYPE CSynchronizer::Transfer(BSTR lpTransGUID, BSTR lpMBFile, BSTR lpMBPassword, SAFEARRAY* lpsaCardGUIDs,
                                                  VARIANT_BOOL bReverse)
{
    return com::guarded([&]() -> HRESULT {
        run_.CategoryPass = run_.ContactPassPending = false;
        run_.CategoriesBarred = true;
        const SilentRun silence(VARIANT_TRUE);
        run_.EventSink = firstSink();
        GUID target{};
        const HRESULT parsed = com::parseGuid(com::viewOf(lpTransGUID), &target);
        if (!answered(parsed)) return parsed; // a text that names no translator must not make a map of the null identifier
        const Selection selection(lpsaCardGUIDs);
        if (target == GUID_NULL || !selection.isList()) return E_INVALIDARG;
        run_.TransferFile = com::textOf(lpMBFile);
        run_.TransferPassword = com::textOf(lpMBPassword);
        run_.TransferCards = selection.cards();
        const HRESULT result = com::guarded([&] { return resultOf([&] { transfer(target, static_cast<USHORT>(bReverse) >= 65535); }); });
        run_.TransferFile.clear();
        run_.TransferPassword.clear();
        run_.TransferCards = nullptr;
        return result;
    });
}

void CSynchronizer::transfer(const GUID& target, bool reverse)
{
    com::Ptr<ITrMap> trMap;
    require(createClass(__uuidof(TrManager), trMap));
    if (!run_.FieldMap) require(createFieldMap());
    StoreLock lock;
    const OwnLocks stores(run_);
    lockMap(lock, target);

    std::optional<MapTranslators> found;
    const HRESULT looked = FindMap(trMap.get(), target, found);
    if (!answered(looked)) RefuseRun(run_, looked, u"The settings of the transfer could not be read. Nothing was transferred.");
    require(looked);
    const bool isFirst = !found;
    const HRESULT result = resultOf([&] {
        if (isFirst) require(com::call(trMap, &ITrMap::CreateEx, target, hostTranslator, target));
        runTransfer(MapClient(trMap), target, isFirst ? target : found->two, reverse);
    });
    // The settings of a failed first transfer must not be used by the next one. But if it linked records, its map stays: without the map
    // they would be copied twice.
    if (result != S_OK && isFirst && !linksAny(target)) removeMap(target);
    require(result);
}

bool CSynchronizer::linksAny(const GUID& map)
{
    CSyncHistory history(nullptr);
    if (!answered(history.Open(map))) return true; // an unreadable history may hold links
    history.SetSectionSuffix(run_.side(Side::One).database, run_.side(Side::Two).database);
    std::vector<std::u16string> ids;
    return !answered(history.ListRecords(sectionOf(Side::One), ids)) || !ids.empty();
}

// A map that cannot be removed is used by the next transfer.
void CSynchronizer::removeMap(const GUID& map)
{
    com::Ptr<ITrManager> manager;
    if (answered(createClass(__uuidof(TrManager), manager))) (void)com::call(manager, &ITrManager::DeleteMap, map);
}

void CSynchronizer::runTransfer(const MapClient& client, const GUID& target, const GUID& id2, bool reverse)
{
    client.requireSyncType(target, reverse ? stImportToTrans1 : stExportFromTrans1);
    const std::u16string database2 = client.currentDatabase2(target).value_or(std::u16string());
    if (database2.empty()) run_.side(Side::Two).reconfigure = VARIANT_TRUE;
    StoreOutlookExpressDatabase(id2, database2);
    run_.side(Side::One).id = hostTranslator;
    run_.side(Side::Two).id = id2;
    LockStores(run_, {run_.TransferFile, database2});
    runReported(target, [&] {
        forgetFailedSide();
        run_.CurrentMap = target;
        std::shared_ptr<CSyncHistory> kept; // stays empty: a transfer has no category pass
        return SyncOneMap(run_, kept);
    });
}

HRESULT STDMETHODCALLTYPE CSynchronizer::GetLastError(VARIANT* lpvtCode, BSTR* ppMessage1, BSTR* ppMessage2)
{
    if (!lpvtCode || !ppMessage1 || !ppMessage2) return E_POINTER;
    VariantInit(lpvtCode);
    *ppMessage1 = *ppMessage2 = nullptr;
    return com::guarded([&] {
        com::check(VariantCopy(lpvtCode, &run_.error.LastErrorCode));
        com::Bstr message1(run_.error.LastErrorMessage1), message2(run_.error.LastErrorMessage2);
        *ppMessage1 = message1.detach();
        *ppMessage2 = message2.detach();
    });
}

} // namespace mb
