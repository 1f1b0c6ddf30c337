// Part of CTrManager: reads and changes the history of a map.
#include "error_text.h"
#include "translators/CTrManager.h"
#include "translators/HistorySide.h"

namespace mb {
namespace {

constexpr const char16_t *side1 = historySideOf(idTrans1), *side2 = historySideOf(idTrans2);

// Opens the map's history and calls `work` with it. If it cannot be opened, the error text names it.
template <class F> HRESULT withHistory(REFGUID map, F&& work)
{
    return com::guarded([&] {
        CSyncHistory history(nullptr);
        const HRESULT hr = history.Open(map);
        if (SUCCEEDED(hr)) return work(history);
        platform::leaveErrorText(history.openFailure());
        return hr;
    });
}

// As withHistory, under the map's lock: a run of the map at the same time would overwrite the change.
template <class F> HRESULT changeHistory(REFGUID map, F&& work)
{
    return com::guarded([&] {
        StoreLock lock;
        const HRESULT hr = lock.takeMap(map);
        if (SUCCEEDED(hr)) return withHistory(map, work);
        platform::leaveErrorText(lock.failure());
        return hr;
    });
}

} // namespace

HRESULT STDMETHODCALLTYPE CTrManager::GetLastSyncDatabase(REFGUID guid, BSTR* ppDatabase1, BSTR* ppDatabase2)
{
    if (!ppDatabase1 || !ppDatabase2) return E_POINTER;
    *ppDatabase1 = *ppDatabase2 = nullptr;
    return withHistory(guid, [&](CSyncHistory& history) {
        std::u16string database1, database2;
        const HRESULT first = history.GetDatabase(side1, database1), second = history.GetDatabase(side2, database2);
        com::give(ppDatabase1, database1);
        com::give(ppDatabase2, database2);
        return FAILED(first) ? first : second;
    });
}

HRESULT STDMETHODCALLTYPE CTrManager::SetLastSyncDatabases(REFGUID guid, BSTR database1, BSTR database2)
{
    return changeHistory(guid, [&](CSyncHistory& history) {
        const HRESULT first = history.SetDatabase(side1, com::viewOf(database1)),
                      second = history.SetDatabase(side2, com::viewOf(database2));
        return FAILED(first) ? first : second;
    });
}

HRESULT STDMETHODCALLTYPE CTrManager::GetLastSyncTime(REFGUID guid, DATE* lpLastSync)
{
    if (!lpLastSync) return E_POINTER;
    *lpLastSync = 0.0;
    return withHistory(guid, [&](CSyncHistory& history) { return history.GetLastSyncTime(side1, *lpLastSync); });
}

HRESULT STDMETHODCALLTYPE CTrManager::SetLastSyncTime(REFGUID guid, DATE lastSync)
{
    return changeHistory(guid, [&](CSyncHistory& history) {
        const HRESULT first = history.SetLastSyncTime(side1, lastSync), second = history.SetLastSyncTime(side2, lastSync);
        return FAILED(first) ? first : second;
    });
}

HRESULT STDMETHODCALLTYPE CTrManager::GetLastSyncStatus(REFGUID guid, VARIANT_BOOL* pStatus)
{
    if (!pStatus) return E_POINTER;
    *pStatus = VARIANT_TRUE; // a map that never ran has not failed
    return withHistory(guid, [&](CSyncHistory& history) {
        LONG status = 0;
        const HRESULT hr = history.GetLastSyncStatus(side1, status);
        if (SUCCEEDED(hr) && status != 1) *pStatus = VARIANT_FALSE;
        return hr;
    });
}

HRESULT STDMETHODCALLTYPE CTrManager::GetHistoryCategories(REFGUID guid, _TransIds transId, SAFEARRAY** ppsaCategoryGuids,
                                                           SAFEARRAY** ppsaCategoryNames)
{
    if (!ppsaCategoryGuids || !ppsaCategoryNames) return E_POINTER;
    *ppsaCategoryGuids = *ppsaCategoryNames = nullptr;
    GUID categories{};
    const HRESULT hr = GetCategoryGuid(guid, &categories);
    if (FAILED(hr)) return hr;
    return withHistory(categories, [&](CSyncHistory& history) {
        std::vector<std::u16string> records, ids, names;
        const HRESULT listed = history.ListRecords(historySideOf(transId), records);
        if (FAILED(listed)) return listed;
        for (std::u16string& record : records) {
            FieldValueMap fields;
            if (FAILED(history.ReadFieldData(historySideOf(transId), record, fields))) continue;
            const auto name = fields.find(ftLastName);
            if (name == fields.end() || name->second.empty()) continue;
            names.push_back(name->second);
            ids.push_back(std::move(record));
        }
        *ppsaCategoryGuids = com::makeTextArray(ids);
        *ppsaCategoryNames = com::makeTextArray(names);
        return listed;
    });
}

HRESULT STDMETHODCALLTYPE CTrManager::SetFieldMapStatusForHistRecs(REFGUID guid, BSTR transTypeSection, VARIANT_BOOL fieldMapChanged)
{
    return changeHistory(guid, [&](CSyncHistory& history) {
        return history.SetFieldMapChangedForAll(com::viewOf(transTypeSection), fieldMapChanged != VARIANT_FALSE, true);
    });
}

} // namespace mb
