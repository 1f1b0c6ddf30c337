// The class TrManager:
// - finds, registers and creates translators, lists and deletes maps (ITrManager, ITrMapEntry);
// - keeps each map and its options in a section of the configuration store (ITrMap);
// - shows hosts the history of a map (IFidemarkSupport);
// - keeps lists of record identifiers for hosts, one list for each file name (IFidemarkFilter);
// - points a map at the new place of a moved store (IStoreMove).
#pragma once
#include "files.h"
#include "interfaces.h"
#include "store/CSyncHistory.h"
#include "translators/FilterStore.h"
#include <memory>
#include <optional>

namespace mb {

class CTrManager final
    : public com::Object<ITrManager, ITrMapEntry, ITrMap, com::Dual<IFidemarkSupport>, com::Dual<IFidemarkFilter>, IStoreMove> {
public:
    explicit CTrManager(IUnknown* outer) noexcept;

    // ITrManager
    HRESULT STDMETHODCALLTYPE EnumerateTranslators(LONG* pCount, GUID** ppIds) override;
    HRESULT STDMETHODCALLTYPE EnumerateMaps(LONG* pCount, GUID** ppGuids) override;
    HRESULT STDMETHODCALLTYPE DeleteMap(REFGUID guid) override;
    HRESULT STDMETHODCALLTYPE EnumerateTranslatorsEx(LONG* pCount, GUID** ppIds) override;
    HRESULT STDMETHODCALLTYPE EnumerateMapsEx(LONG* pCount, GUID** ppGuids) override;

    // ITrMapEntry
    HRESULT STDMETHODCALLTYPE Install(REFGUID rClsId) override;
    HRESULT STDMETHODCALLTYPE Load(REFGUID rClsId, ITranslator** ppTrans) override;
    HRESULT STDMETHODCALLTYPE UnInstall(REFGUID rClsId) override;

    // ITrMap: maps and their options (TrMapStore.cpp)
    HRESULT STDMETHODCALLTYPE Create(REFGUID clsId1, REFGUID clsID2, GUID* pGuid) override;
    HRESULT STDMETHODCALLTYPE CreateEx(REFGUID gTrMap, REFGUID clsId1, REFGUID clsID2) override;
    HRESULT STDMETHODCALLTYPE GetTranslators(REFGUID guid, GUID* pTrans1, GUID* pTrans2) override;
    HRESULT STDMETHODCALLTYPE GetFieldMap(REFGUID guid, GUID* pFieldMap) override;
    HRESULT STDMETHODCALLTYPE SetFieldMap(REFGUID guid, REFGUID guidMap) override;
    HRESULT STDMETHODCALLTYPE GetOption(REFGUID guid, LONG optId, VARIANT* pvarValue) override;
    HRESULT STDMETHODCALLTYPE SetOption(REFGUID guid, LONG optId, VARIANT varValue) override;
    HRESULT STDMETHODCALLTYPE GetCategoryGuid(REFGUID guid, GUID* pCatGuid) override;
    HRESULT STDMETHODCALLTYPE SetCategoryGuid(REFGUID guid, REFGUID catGuid) override;
    HRESULT STDMETHODCALLTYPE ConfigureFieldMapping(HWND hwndParent, REFGUID gTrMap, VARIANT_BOOL bSetFlagForHistory) override;

    // ITrMap: loads and configures a map's translators (TrMapTranslators.cpp)
    HRESULT STDMETHODCALLTYPE ConfigureTranslator(REFGUID guid, _TransIds transId, HWND hwndParent, BSTR* ppDatabase) override;
    HRESULT STDMETHODCALLTYPE ConfigureTranslator2(REFGUID guid, _TransIds transId, HWND hwndParent, BSTR* ppDatabase, VARIANT* lpvtErrCode,
                                                   BSTR* ppErrMessage1, BSTR* ppErrMessage2) override;
    HRESULT STDMETHODCALLTYPE GetCurrentDatabase(REFGUID guid, BSTR* ppDatabase1, BSTR* ppDatabase2) override;
    HRESULT STDMETHODCALLTYPE SetDatabase(REFGUID guid, _TransIds transId, BSTR lpDatabase) override;
    HRESULT STDMETHODCALLTYPE LoadTranslator(REFGUID guid, _TransIds transId, HWND hwndParent, VARIANT_BOOL bReconfig,
                                             ITranslator** ppTrans) override;
    HRESULT STDMETHODCALLTYPE GetConfiguredTranslator(REFGUID guid, _TransIds transId, ITranslator** ppTrans) override;

    // ITrMap: names and optional interfaces of a translator class (TranslatorNames.cpp)
    HRESULT STDMETHODCALLTYPE GetName(REFGUID clsId, VARIANT_BOOL bLongName, BSTR* ppName) override;
    HRESULT STDMETHODCALLTYPE GetShortLongNameDescription(REFGUID clsId, BSTR* ppName, BSTR* ppLongName, BSTR* ppDescription) override;
    HRESULT STDMETHODCALLTYPE GetNameAvailability(REFGUID clsId, VARIANT_BOOL bLongName, BSTR* ppName, LONG* pPimAvailability) override;
    HRESULT STDMETHODCALLTYPE GetNameImageSupport(REFGUID clsId, VARIANT_BOOL bLongName, BSTR* ppName,
                                                  VARIANT_BOOL* pSupportImage) override;

    // ITrMap: the history of a map (TrMapHistory.cpp)
    HRESULT STDMETHODCALLTYPE GetLastSyncDatabase(REFGUID guid, BSTR* ppDatabase1, BSTR* ppDatabase2) override;
    HRESULT STDMETHODCALLTYPE SetLastSyncDatabases(REFGUID guid, BSTR database1, BSTR database2) override;
    HRESULT STDMETHODCALLTYPE GetLastSyncTime(REFGUID guid, DATE* lpLastSync) override;
    HRESULT STDMETHODCALLTYPE SetLastSyncTime(REFGUID guid, DATE lastSync) override;
    HRESULT STDMETHODCALLTYPE GetLastSyncStatus(REFGUID guid, VARIANT_BOOL* pStatus) override;
    HRESULT STDMETHODCALLTYPE GetHistoryCategories(REFGUID guid, _TransIds transId, SAFEARRAY** ppsaCategoryGuids,
                                                   SAFEARRAY** ppsaCategoryNames) override;
    HRESULT STDMETHODCALLTYPE SetFieldMapStatusForHistRecs(REFGUID guid, BSTR transTypeSection, VARIANT_BOOL fieldMapChanged) override;

    // IFidemarkSupport (FidemarkSupport.cpp)
    HRESULT STDMETHODCALLTYPE Initialize(REFGUID gTrMap) override;
    HRESULT STDMETHODCALLTYPE GetMappedRecordId(_TransIds transId, BSTR lpRecID, BSTR* ppMappedId) override;
    HRESULT STDMETHODCALLTYPE GetRecordStatus(_TransIds transId, BSTR lpRecID, LONG* pStatus) override;
    HRESULT STDMETHODCALLTYPE Cleanup() override;
    HRESULT STDMETHODCALLTYPE SetRecordStatus(_TransIds transId, BSTR lpRecID, LONG status) override;
    HRESULT STDMETHODCALLTYPE GetHistoryRecords(_TransIds transId, SAFEARRAY** ppsaRecordIds) override;
    HRESULT STDMETHODCALLTYPE BeginGetFieldData(_TransIds transId, BSTR lpRecID) override;
    HRESULT STDMETHODCALLTYPE GetFieldData(LONG fieldType, BSTR* pFieldData) override;
    HRESULT STDMETHODCALLTYPE EndGetFieldData() override;
    HRESULT STDMETHODCALLTYPE GetHistoryRecordsWithFMStatus(_TransIds transId, LONG status, SAFEARRAY** ppsaRecordIds) override;
    HRESULT STDMETHODCALLTYPE GetNumOfHistoryRecords(_TransIds transId, LONG* pCount) override;

    // IFidemarkFilter (FidemarkFilter.cpp)
    HRESULT STDMETHODCALLTYPE OpenStore() override;
    HRESULT STDMETHODCALLTYPE AddEntry(BSTR lpFile, BSTR lpRecID) override;
    HRESULT STDMETHODCALLTYPE EnumerateEntries(BSTR lpFile, ULONG ulIndex, BSTR* lpRecID) override;
    HRESULT STDMETHODCALLTYPE DeleteEntry(BSTR lpFile, BSTR lpRecID) override;
    HRESULT STDMETHODCALLTYPE CloseStore() override;

    // IStoreMove (TrMapMove.cpp)
    HRESULT STDMETHODCALLTYPE MoveStore(REFGUID guid, _TransIds transId, BSTR lpDatabase, VARIANT_BOOL force, LONG* pKnown, LONG* pMissing,
                                        BSTR* ppMessage) override;

private:
    ~CTrManager() override;
    HRESULT openHistory();

    std::unique_ptr<CSyncHistory> history_; // between Initialize and Cleanup
    GUID historyMap_{};
    platform::FileStamp historyStamp_;       // of the history file, when this object last read or saved it
    std::optional<FieldValueMap> fieldData_; // between BeginGetFieldData and EndGetFieldData
    std::unique_ptr<FilterStore> filter_;    // between OpenStore and CloseStore
};

} // namespace mb
