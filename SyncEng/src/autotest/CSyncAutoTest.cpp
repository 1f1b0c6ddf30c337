#include "autotest/CSyncAutoTest.h"

#include "error_text.h"
#include "files.h"
#include "foundation/ClassTable.h"
#include "host.h"
#include "script.h"
#include "store/ExportDecoded.h"
#include "store/FindMap.h"
#include "text.h"
#include <cmath>

namespace mb {
namespace {

// Quirk kept on purpose: scripts get the system's bare error number. It is positive, so FAILED() is false for it.
HRESULT bareNumber(const std::error_code& error) noexcept { return static_cast<HRESULT>(error.value()); }

std::u16string describe(const platform::ScriptError& error)
{
    std::u16string text = error.file;
    if (error.line > 0) text += u":" + platform::utf16(std::to_string(error.line));
    return text + u": " + error.message;
}

HRESULT giveMapGuid(ITrMap* maps, REFGUID translator1, REFGUID translator2, BSTR* out)
{
    GUID made{};
    const HRESULT hr = com::call(maps, &ITrMap::Create, translator1, translator2, &made);
    if (SUCCEEDED(hr)) com::give(out, com::guidText(made));
    return hr;
}

// While this object lives, collects the report of each map that the synchronizer runs, and cancels the run if the script is cancelled.
class ReportCollector {
public:
    ReportCollector(const com::Ptr<ISynchronizer>& synchronizer, std::vector<com::Ptr<ISyncRunReport>>& reports) : sink_(com::make<Sink>())
    {
        sink_->reports = &reports;
        const auto container = synchronizer.tryAs<IConnectionPointContainer>();
        if (!container ||
            FAILED(com::call(container, &IConnectionPointContainer::FindConnectionPoint, __uuidof(ISyncEvents), point_.put())))
            return;
        if (FAILED(com::call(point_, &IConnectionPoint::Advise, static_cast<ISyncEvents*>(sink_.get()), &cookie_))) cookie_ = 0;
    }
    ReportCollector(const ReportCollector&) = delete;
    ReportCollector& operator=(const ReportCollector&) = delete;
    ~ReportCollector()
    {
        if (cookie_) (void)com::call(point_, &IConnectionPoint::Unadvise, cookie_);
        sink_->reports = nullptr;
    }

private:
    class Sink final : public com::Object<ISyncEvents, ISyncReport> {
    public:
        explicit Sink(IUnknown* outer) noexcept : Object(outer) {}
        std::vector<com::Ptr<ISyncRunReport>>* reports = nullptr;
        HRESULT STDMETHODCALLTYPE OnProgress(_SyncProgress, DOUBLE) override { return unlessCancelled(); }
        HRESULT STDMETHODCALLTYPE OnProgress2(BSTR, DOUBLE) override { return unlessCancelled(); }
        HRESULT STDMETHODCALLTYPE OnRunBegin(ISyncRunReport* pReport) override
        {
            return com::guarded([&] {
                if (reports) reports->emplace_back(pReport);
            });
        }
        HRESULT STDMETHODCALLTYPE OnPassBegin(_SyncPass) override { return S_OK; }
        HRESULT STDMETHODCALLTYPE OnItem(ISyncReportItem*) override { return S_OK; }
        HRESULT STDMETHODCALLTYPE OnRunEnd(ISyncRunReport*) override { return S_OK; }

    private:
        static HRESULT unlessCancelled() noexcept { return platform::isScriptCancelled() ? E_ABORT : S_OK; }
    };

    com::Ptr<Sink> sink_;
    com::Ptr<IConnectionPoint> point_;
    DWORD cookie_ = 0;
};

// Returns the wanted map; for GUID_NULL all maps except the hidden maps of transfers, whose identifier is that of their target. Fails if a
// map cannot tell its translators: it may be hidden, and a hidden map must not run in both directions.
HRESULT mapsToRun(const GUID& wanted, std::vector<GUID>& maps)
{
    maps = {wanted};
    if (wanted != GUID_NULL) return S_OK;
    com::Ptr<ITrManager> manager;
    com::Ptr<ITrMap> store;
    com::TaskArray<GUID> listed;
    HRESULT hr = createClass(__uuidof(TrManager), manager);
    if (SUCCEEDED(hr)) hr = createClass(__uuidof(TrManager), store);
    if (SUCCEEDED(hr)) hr = com::call(manager, &ITrManager::EnumerateMaps, listed.putCount(), listed.put());
    if (FAILED(hr)) return hr;
    maps.clear();
    for (const GUID& map : listed.items()) {
        std::optional<MapTranslators> ids;
        hr = FindMap(store.get(), map, ids);
        if (FAILED(hr)) return hr;
        if (!ids || ids->two != map) maps.push_back(map);
    }
    return S_OK;
}

// Returns the message for a failed run.
std::u16string failureSentence(const com::Ptr<ISynchronizer>& synchronizer, const GUID& map, HRESULT hr)
{
    if (hr == E_ABORT) return u"The run was cancelled.";
    com::Variant code;
    com::Bstr message1, message2;
    (void)com::call(synchronizer, &ISynchronizer::GetLastError, code.put(), message1.put(), message2.put());
    std::u16string reason = message1.text();
    if (!message2.empty()) reason += (reason.empty() ? u"" : u" ") + message2.text();
    if (reason.empty()) reason = platform::systemMessage(hr);
    return u"The map " + com::guidText(map) + u" failed: " + reason;
}

// Returns the result of Main if it is a whole number from 1 to 255, else 0.
LONG exitCodeOf(const VARIANT& value)
{
    double number = 0;
    switch (value.vt) {
    case VT_UI1: number = value.bVal; break;
    case VT_I2: number = value.iVal; break;
    case VT_I4: number = value.lVal; break;
    case VT_R8: number = value.dblVal; break;
    default: return 0;
    }
    return number > 0 && number <= 255 && std::floor(number) == number ? static_cast<LONG>(number) : 0;
}

} // namespace

HRESULT ParseMapGuid(BSTR text, GUID& map)
{
    map = GUID_NULL;
    const std::u16string zeroEnded = com::textOf(text);
    if (zeroEnded.empty()) return S_OK;
    GUID parsed{};
    HRESULT hr = CLSIDFromString(const_cast<OLECHAR*>(com::ole(zeroEnded.c_str())), &parsed);
    if (hr == REGDB_E_WRITEREGDB) hr = S_OK; // the identifier is well-formed but not a registered class
    if (SUCCEEDED(hr)) map = parsed;
    return hr;
}

HRESULT CSyncAutoTest::runScript(const std::u16string& name, const std::vector<std::u16string>& arguments, com::Variant& result)
{
    if (!ScriptControl) {
        const HRESULT hr = platform::createScriptRunner(createClassByName, ScriptControl);
        if (FAILED(hr)) return hr;
    }
    std::error_code failed;
    const std::string bytes = platform::readFile(platform::pathOf(name), failed);
    if (failed) return bareNumber(failed);
    platform::ScriptError error;
    HRESULT hr = ScriptControl->setArguments(arguments);
    if (SUCCEEDED(hr)) hr = ScriptControl->addCode(platform::widen(bytes.c_str()), name, error); // a zero byte ends the script
    if (SUCCEEDED(hr)) hr = ScriptControl->run(u"Main", error, result);
    if (FAILED(hr)) platform::leaveErrorText(describe(error));
    return hr;
}

HRESULT STDMETHODCALLTYPE CSyncAutoTest::RunTests(BSTR lpScriptFile)
{
    return com::guarded([&] {
        com::Variant result;
        return runScript(com::textOf(lpScriptFile), {}, result);
    });
}

HRESULT STDMETHODCALLTYPE CSyncAutoTest::Run(BSTR lpScriptFile, SAFEARRAY* lpsaArguments, LONG* pResult)
{
    if (!pResult) return E_POINTER;
    *pResult = 0;
    return com::guarded([&] {
        com::Variant result;
        const std::vector<std::u16string> arguments = lpsaArguments ? com::textArray(lpsaArguments) : std::vector<std::u16string>();
        const HRESULT hr = runScript(com::textOf(lpScriptFile), arguments, result);
        if (hr == S_OK) *pResult = exitCodeOf(result);
        return hr;
    });
}

HRESULT STDMETHODCALLTYPE CSyncAutoTest::AddTrMap(BSTR lpTrans1, BSTR lpTrans2, BSTR* lpGuidMap)
{
    if (!lpGuidMap) return E_POINTER;
    *lpGuidMap = nullptr;
    return com::guarded([&] {
        com::Ptr<ITrManager> manager;
        com::Ptr<ITrMap> maps;
        com::TaskArray<GUID> translators;
        HRESULT hr = createClass(__uuidof(TrManager), manager);
        if (SUCCEEDED(hr)) hr = createClass(__uuidof(TrManager), maps);
        if (SUCCEEDED(hr)) hr = com::call(manager, &ITrManager::EnumerateTranslators, translators.putCount(), translators.put());
        if (FAILED(hr)) return hr;
        const std::u16string_view wanted[] = {com::viewOf(lpTrans1), com::viewOf(lpTrans2)};
        const GUID* found[2] = {};
        for (const GUID& clsid : translators.items()) {
            com::Bstr name;
            if (FAILED(com::call(maps, &ITrMap::GetName, clsid, VARIANT_FALSE, name.put()))) continue;
            for (const int side : {0, 1})
                if (!found[side] && platform::equalNoCase(name.view(), wanted[side])) found[side] = &clsid;
            if (found[0] && found[1]) return giveMapGuid(maps.get(), *found[0], *found[1], lpGuidMap);
        }
        return E_FAIL;
    });
}

HRESULT STDMETHODCALLTYPE CSyncAutoTest::AddTrMapEx(GUID* transGuid1, GUID* transGuid2, BSTR* lpGuidMap)
{
    if (!transGuid1 || !transGuid2 || !lpGuidMap) return E_POINTER;
    *lpGuidMap = nullptr;
    return com::guarded([&] {
        com::Ptr<ITrMap> maps;
        const HRESULT hr = createClass(__uuidof(TrManager), maps);
        return SUCCEEDED(hr) ? giveMapGuid(maps.get(), *transGuid1, *transGuid2, lpGuidMap) : hr;
    });
}

HRESULT STDMETHODCALLTYPE CSyncAutoTest::DeleteTrMap(BSTR lpMapGuid)
{
    return com::guarded([&] {
        GUID map{};
        com::Ptr<ITrManager> manager;
        HRESULT hr = ParseMapGuid(lpMapGuid, map);
        if (SUCCEEDED(hr)) hr = createClass(__uuidof(TrManager), manager);
        return SUCCEEDED(hr) ? com::call(manager, &ITrManager::DeleteMap, map) : hr;
    });
}

// A failed map does not prevent the others from running; a cancel does.
HRESULT STDMETHODCALLTYPE CSyncAutoTest::Synchronize(BSTR lpMapGuid, VARIANT_BOOL bReconfig, VARIANT_BOOL bSilent)
{
    return com::guarded([&] {
        GUID map{};
        std::vector<GUID> maps;
        com::Ptr<ISynchronizer> synchronizer;
        reports_.clear();
        HRESULT hr = ParseMapGuid(lpMapGuid, map);
        if (SUCCEEDED(hr)) hr = mapsToRun(map, maps);
        if (SUCCEEDED(hr)) hr = createClass(__uuidof(Synchronizer), synchronizer);
        if (FAILED(hr)) return hr;
        const ReportCollector collector(synchronizer, reports_);
        hr = com::call(synchronizer, &ISynchronizer::Initialize, nullptr, bReconfig);
        HRESULT first = hr;
        std::u16string told;
        for (std::size_t i = 0; SUCCEEDED(hr) && i < maps.size() && first != E_ABORT; ++i) {
            const HRESULT ran = com::call(synchronizer, &ISynchronizer::Synchronize, maps[i], bSilent);
            if (SUCCEEDED(ran) || FAILED(first)) continue;
            first = ran;
            told = failureSentence(synchronizer, maps[i], ran);
        }
        const HRESULT cleaned = com::call(synchronizer, &ISynchronizer::Cleanup);
        platform::leaveErrorText(told);
        return FAILED(first) ? first : FAILED(cleaned) ? cleaned : S_OK;
    });
}

HRESULT STDMETHODCALLTYPE CSyncAutoTest::GetReportCount(LONG* pCount)
{
    if (!pCount) return E_POINTER;
    *pCount = static_cast<LONG>(reports_.size());
    return S_OK;
}

HRESULT STDMETHODCALLTYPE CSyncAutoTest::GetReport(LONG nIndex, ISyncRunReport** ppReport)
{
    if (!ppReport) return E_POINTER;
    *ppReport = nullptr;
    if (nIndex < 0 || static_cast<std::size_t>(nIndex) >= reports_.size()) return E_INVALIDARG;
    *ppReport = com::Ptr<ISyncRunReport>(reports_[static_cast<std::size_t>(nIndex)]).detach();
    return S_OK;
}

HRESULT STDMETHODCALLTYPE CSyncAutoTest::DecryptHistoryFile(BSTR historyFilePath, BSTR decryptedFilePath)
{
    return com::guarded([&] {
        return mb::DecryptHistoryFile(platform::pathOf(com::viewOf(historyFilePath)), platform::pathOf(com::viewOf(decryptedFilePath)));
    });
}

} // namespace mb
