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
#include "translators/FindMap.h"
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

HRESULT currentDatabase2(ITrMap* trMap, const GUID& map, std::u16string& database)
{
    com::Bstr database1, database2;
    const HRESULT hr = com::call(trMap, &ITrMap::GetCurrentDatabase, map, database1.put(), database2.put());
    if (SUCCEEDED(hr)) database = database2.text();
    return hr;
}

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
        return SafeArrayGetDim(cards_) == 1 && SUCCEEDED(SafeArrayGetVartype(cards_, &type)) && type == VT_BSTR;
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
        return runMaps(guid);
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

HRESULT CSynchronizer::runMaps(const GUID& guid)
{
    com::Ptr<ITrManager> manager;
    HRESULT hr = createClass(__uuidof(TrManager), manager);
    if (SUCCEEDED(hr) && !run_.FieldMap) hr = createFieldMap();
    if (FAILED(hr)) return hr;

    com::TaskArray<GUID> listed;
    std::vector<GUID> maps{guid};
    if (guid == GUID_NULL) {
        hr = com::call(manager, &ITrManager::EnumerateMaps, listed.putCount(), listed.put());
        if (FAILED(hr)) return hr;
        maps.assign(listed.items().begin(), listed.items().end());
    }
    com::Ptr<ITrMap> trMap;
    hr = createClass(__uuidof(TrManager), trMap);
    if (FAILED(hr)) return hr;
    for (const GUID& map : maps) {
        StoreLock lock; // held from before the map's settings are read until the run was repeated for the last time
        const OwnLocks stores(run_);
        hr = lockMap(lock, map);
        if (SUCCEEDED(hr)) hr = resultOf([&] { LockConfiguredStores(run_, MapClient(trMap), map); });
        if (FAILED(hr)) break;
        hr = runReported(map, [&] { return runMap(trMap.get(), map); });
        if (FAILED(hr)) break;
    }
    return hr;
}

HRESULT CSynchronizer::lockMap(StoreLock& lock, const GUID& map)
{
    const HRESULT hr = lock.takeMap(map);
    if (SUCCEEDED(hr)) return ConfigStore().Refresh();
    RefuseRun(run_, hr, lock.failure());
    return hr;
}

template <class Run> HRESULT CSynchronizer::runReported(const GUID& map, Run&& run)
{
    run_.report.begin(run_.EventSink, map);
    HRESULT hr = com::guarded(run);
    while (runsAgain(hr)) {
        run_.report.startOver();
        hr = com::guarded(run);
    }
    if (SUCCEEDED(hr))
        run_.report.end(reDone, hr, {});
    else if (hr == E_ABORT)
        run_.report.end(run_.abortMeaning, hr, {});
    else
        run_.report.end(hr == codeDeletionsRefused ? reRefused : reFailed, hr, FailureText(run_, hr));
    return hr;
}

HRESULT CSynchronizer::runMap(ITrMap* trMap, const GUID& map)
{
    forgetFailedSide();
    run_.CurrentMap = map;
    GUID id1{}, id2{};
    if (SUCCEEDED(com::call(trMap, &ITrMap::GetTranslators, map, &id1, &id2)) && id2 == outlookExpressTranslator) {
        std::u16string database;
        if (SUCCEEDED(currentDatabase2(trMap, map, database))) StoreOutlookExpressDatabase(id2, database);
    }
    run_.onlyPlanned = false;
    std::shared_ptr<CSyncHistory> contactHistory;
    HRESULT hr = SyncOneMap(run_, contactHistory);
    if (run_.CategoryPass && (SUCCEEDED(hr) || run_.onlyPlanned)) {
        run_.ContactPassPending = true;
        run_.CategoryPass = false;
        hr = SyncOneMap(run_, contactHistory);
    }
    return hr;
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
        if (FAILED(parsed)) return parsed; // a text that names no translator must not make a map of the null identifier
        const Selection selection(lpsaCardGUIDs);
        if (target == GUID_NULL || !selection.isList()) return E_INVALIDARG;
        run_.TransferFile = com::textOf(lpMBFile);
        run_.TransferPassword = com::textOf(lpMBPassword);
        run_.TransferCards = selection.cards();
        const HRESULT hr = com::guarded([&] { return transfer(target, static_cast<USHORT>(bReverse) >= 65535); });
        run_.TransferFile.clear();
        run_.TransferPassword.clear();
        run_.TransferCards = nullptr;
        return hr;
    });
}

HRESULT CSynchronizer::transfer(const GUID& target, bool reverse)
{
    com::Ptr<ITrMap> trMap;
    HRESULT hr = createClass(__uuidof(TrManager), trMap);
    if (FAILED(hr)) return hr;
    if (!run_.FieldMap) hr = createFieldMap();
    if (FAILED(hr)) return hr;
    StoreLock lock;
    const OwnLocks stores(run_);
    hr = lockMap(lock, target);
    if (FAILED(hr)) return hr;

    std::optional<MapTranslators> found;
    hr = FindMap(trMap.get(), target, found);
    if (FAILED(hr)) {
        RefuseRun(run_, hr, u"The settings of the transfer could not be read. Nothing was transferred.");
        return hr;
    }
    const bool isFirst = !found;
    if (isFirst) hr = com::call(trMap, &ITrMap::CreateEx, target, hostTranslator, target);
    if (SUCCEEDED(hr)) hr = runTransfer(trMap.get(), target, isFirst ? target : found->two, reverse);
    // The settings of a failed first transfer must not be used by the next one. But if it linked records, its map stays: without the map
    // they would be copied twice.
    if (FAILED(hr) && isFirst && !linksAny(target)) removeMap(target);
    return hr;
}

bool CSynchronizer::linksAny(const GUID& map)
{
    CSyncHistory history(nullptr);
    if (FAILED(history.Open(map))) return true; // an unreadable history may hold links
    history.SetSectionSuffix(run_.side(Side::One).database, run_.side(Side::Two).database);
    std::vector<std::u16string> ids;
    return FAILED(history.ListRecords(sectionOf(Side::One), ids)) || !ids.empty();
}

void CSynchronizer::removeMap(const GUID& map)
{
    com::Ptr<ITrManager> manager;
    if (SUCCEEDED(createClass(__uuidof(TrManager), manager))) (void)com::call(manager, &ITrManager::DeleteMap, map);
}

HRESULT CSynchronizer::runTransfer(ITrMap* trMap, const GUID& target, const GUID& id2, bool reverse)
{
    VARIANT direction;
    VariantInit(&direction);
    direction.vt = VT_I4;
    direction.lVal = reverse ? stImportToTrans1 : stExportFromTrans1;
    HRESULT hr = com::call(trMap, &ITrMap::SetOption, target, static_cast<LONG>(soSyncType), direction);
    if (FAILED(hr)) return hr;

    std::u16string database2;
    if (FAILED(currentDatabase2(trMap, target, database2)) || database2.empty()) run_.side(Side::Two).reconfigure = VARIANT_TRUE;
    StoreOutlookExpressDatabase(id2, database2);
    run_.side(Side::One).id = hostTranslator;
    run_.side(Side::Two).id = id2;
    hr = resultOf([&] { LockStores(run_, {run_.TransferFile, database2}); });
    if (FAILED(hr)) return hr;
    return runReported(target, [&] {
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
