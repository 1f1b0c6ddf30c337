// Part of CTrManager: shows hosts the records of a map's history and their status. For an unknown record GetMappedRecordId returns an empty
// identifier and GetRecordStatus rsNotPresent, both with S_OK.
#include "error_text.h"
#include "files.h"
#include "foundation/Format.h"
#include "text.h"
#include "translators/CTrManager.h"
#include "translators/HistorySide.h"

namespace mb {
namespace {

// Leaves `out` null if there are no entries.
HRESULT giveIds(const std::vector<HistoryEntry>& entries, SAFEARRAY** out)
{
    if (entries.empty()) return S_OK;
    std::vector<std::u16string> ids;
    ids.reserve(entries.size());
    for (const HistoryEntry& entry : entries) ids.push_back(entry.Id);
    *out = com::makeTextArray(ids);
    return S_OK;
}

} // namespace

HRESULT STDMETHODCALLTYPE CTrManager::Initialize(REFGUID gTrMap)
{
    return com::guarded([&] {
        (void)Cleanup();
        history_ = std::make_unique<CSyncHistory>(nullptr);
        historyMap_ = gTrMap;
        return openHistory();
    });
}

HRESULT CTrManager::openHistory()
{
    const HRESULT hr = history_->Open(historyMap_);
    if (FAILED(hr)) platform::leaveErrorText(history_->openFailure());
    historyStamp_ = platform::stampOf(history_->store().path());
    return hr;
}

HRESULT STDMETHODCALLTYPE CTrManager::GetMappedRecordId(_TransIds transId, BSTR lpRecID, BSTR* ppMappedId)
{
    if (!ppMappedId) return E_POINTER;
    *ppMappedId = nullptr;
    return com::guarded([&] {
        HistoryEntry entry;
        entry.Id = com::textOf(lpRecID);
        const bool known = history_ && SUCCEEDED(history_->ReadEntry(historySideOf(transId), entry, false));
        com::give(ppMappedId, known ? entry.MappedId : std::u16string());
    });
}

HRESULT STDMETHODCALLTYPE CTrManager::GetRecordStatus(_TransIds transId, BSTR lpRecID, LONG* pStatus)
{
    if (!pStatus) return E_POINTER;
    *pStatus = rsNotPresent;
    return com::guarded([&] {
        FieldValueMap fields;
        if (!history_ || FAILED(history_->ReadFieldData(historySideOf(transId), com::viewOf(lpRecID), fields))) return;
        if (const auto status = fields.find(ftRecordStatus); status != fields.end()) *pStatus = platform::toInt(status->second);
    });
}

HRESULT STDMETHODCALLTYPE CTrManager::Cleanup()
{
    history_.reset();
    return S_OK;
}

HRESULT STDMETHODCALLTYPE CTrManager::SetRecordStatus(_TransIds transId, BSTR lpRecID, LONG status)
{
    if (!history_) return E_FAIL;
    return com::guarded([&] {
        const auto side = historySideOf(transId);
        FieldValueMap fields;
        StoreLock lock;
        HRESULT hr = lock.takeMap(historyMap_);
        if (FAILED(hr)) {
            platform::leaveErrorText(lock.failure());
            return hr;
        }
        // Another process or a run has saved the history since it was read. Reading it again keeps those changes.
        if (platform::stampOf(history_->store().path()) != historyStamp_) hr = openHistory();
        if (SUCCEEDED(hr)) hr = history_->ReadFieldData(side, com::viewOf(lpRecID), fields);
        if (FAILED(hr)) return hr;
        fields[ftRecordStatus] = Format(u"%d", status);
        SaveScope scope(history_->store()); // the status lies in two places; one save for both
        const HRESULT written = history_->WriteFieldData(side, com::viewOf(lpRecID), fields, false, true);
        const HRESULT saved = scope.finish();
        historyStamp_ = platform::stampOf(history_->store().path());
        return FAILED(written) ? written : saved;
    });
}

HRESULT STDMETHODCALLTYPE CTrManager::GetHistoryRecords(_TransIds transId, SAFEARRAY** ppsaRecordIds)
{
    if (!ppsaRecordIds) return E_POINTER;
    *ppsaRecordIds = nullptr;
    if (!history_) return E_FAIL;
    return com::guarded([&]() -> HRESULT {
        std::vector<HistoryEntry> entries;
        if (FAILED(history_->LoadEntries(historySideOf(transId), entries, false, false)) || entries.empty()) return E_FAIL;
        return giveIds(entries, ppsaRecordIds);
    });
}

HRESULT STDMETHODCALLTYPE CTrManager::BeginGetFieldData(_TransIds transId, BSTR lpRecID)
{
    fieldData_.reset();
    if (!history_) return E_FAIL;
    return com::guarded([&] { return history_->ReadFieldData(historySideOf(transId), com::viewOf(lpRecID), fieldData_.emplace()); });
}

HRESULT STDMETHODCALLTYPE CTrManager::GetFieldData(LONG fieldType, BSTR* pFieldData)
{
    if (!pFieldData) return E_POINTER;
    *pFieldData = nullptr;
    return com::guarded([&]() -> HRESULT {
        const auto held = fieldData_ ? fieldData_->find(fieldType) : FieldValueMap::const_iterator();
        const bool found = fieldData_ && held != fieldData_->end();
        com::give(pFieldData, found ? held->second : std::u16string());
        return found ? S_OK : E_FAIL;
    });
}

HRESULT STDMETHODCALLTYPE CTrManager::EndGetFieldData()
{
    fieldData_.reset();
    return S_OK;
}

HRESULT STDMETHODCALLTYPE CTrManager::GetHistoryRecordsWithFMStatus(_TransIds transId, LONG status, SAFEARRAY** ppsaRecordIds)
{
    if (!ppsaRecordIds) return E_POINTER;
    *ppsaRecordIds = nullptr;
    if (!history_) return E_FAIL;
    return com::guarded([&] {
        std::vector<HistoryEntry> entries;
        const HRESULT hr = history_->LoadEntriesWithStatus(historySideOf(transId), status, entries, false);
        return SUCCEEDED(hr) ? giveIds(entries, ppsaRecordIds) : hr;
    });
}

HRESULT STDMETHODCALLTYPE CTrManager::GetNumOfHistoryRecords(_TransIds transId, LONG* pCount)
{
    if (!pCount) return E_POINTER;
    *pCount = 0;
    if (!history_) return E_FAIL;
    return com::guarded([&] {
        std::vector<std::u16string> ids;
        const HRESULT hr = history_->ListRecords(historySideOf(transId), ids);
        *pCount = static_cast<LONG>(ids.size());
        return hr;
    });
}

} // namespace mb
