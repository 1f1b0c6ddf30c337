// The class SyncAutoTest, by which scripts drive the engine: they create and run maps, and read and write a translator's records. RunTests
// and Run execute such a script. The other methods are thin wrappers: a failure is returned unchanged, with its message as error
// information.
#pragma once
#include "interfaces.h"
#include "script.h"
#include <vector>

namespace mb {

class CSyncAutoTest final : public com::Object<com::Dual<ISyncAutoTest>, IScriptRun> {
public:
    explicit CSyncAutoTest(IUnknown* outer) noexcept : Object(outer) {}

    HRESULT STDMETHODCALLTYPE RunTests(BSTR lpScriptFile) override;
    HRESULT STDMETHODCALLTYPE Run(BSTR lpScriptFile, SAFEARRAY* lpsaArguments, LONG* pResult) override;

    // Maps and runs
    HRESULT STDMETHODCALLTYPE AddTrMap(BSTR lpTrans1, BSTR lpTrans2, BSTR* lpGuidMap) override;
    HRESULT STDMETHODCALLTYPE AddTrMapEx(GUID* transGuid1, GUID* transGuid2, BSTR* lpGuidMap) override;
    HRESULT STDMETHODCALLTYPE DeleteTrMap(BSTR lpMapGuid) override;
    HRESULT STDMETHODCALLTYPE Synchronize(BSTR lpMapGuid, VARIANT_BOOL bReconfig, VARIANT_BOOL bSilent) override;
    HRESULT STDMETHODCALLTYPE GetReportCount(LONG* pCount) override;
    HRESULT STDMETHODCALLTYPE GetReport(LONG nIndex, ISyncRunReport** ppReport) override;
    HRESULT STDMETHODCALLTYPE DecryptHistoryFile(BSTR historyFilePath, BSTR decryptedFilePath) override;

    // One side of a map, record by record (TranslatorCalls.cpp)
    HRESULT STDMETHODCALLTYPE BeginUpdate(BSTR lpMapGuid, _TransIds nId, IUnknown** ppTrans) override;
    HRESULT STDMETHODCALLTYPE GetRecordCount(IUnknown* pTrans, LONG* pCount) override;
    HRESULT STDMETHODCALLTYPE GetRecordID(IUnknown* pTrans, LONG nIndex, BSTR* ppRecID) override;
    HRESULT STDMETHODCALLTYPE FindRecord(IUnknown* pTrans, BSTR lpRecID, VARIANT_BOOL* pbFound) override;
    HRESULT STDMETHODCALLTYPE BeginReadRecord(IUnknown* pTrans, BSTR lpRecID) override;
    HRESULT STDMETHODCALLTYPE EndReadRecord(IUnknown* pTrans, BSTR lpRecID) override;
    HRESULT STDMETHODCALLTYPE AddRecord(IUnknown* pTrans, BSTR* ppRecID) override;
    HRESULT STDMETHODCALLTYPE EditRecord(IUnknown* pTrans, BSTR lpRecID) override;
    HRESULT STDMETHODCALLTYPE SaveRecord(IUnknown* pTrans, BSTR* ppRecID) override;
    HRESULT STDMETHODCALLTYPE DeleteRecord(IUnknown* pTrans, BSTR lpRecID) override;
    HRESULT STDMETHODCALLTYPE ReadField(IUnknown* pTrans, BSTR lpRecID, _FieldTypes ft, BSTR* ppValue) override;
    HRESULT STDMETHODCALLTYPE WriteField(IUnknown* pTrans, BSTR lpRecID, _FieldTypes ft, BSTR lpValue) override;
    HRESULT STDMETHODCALLTYPE EndUpdate(IUnknown* pTrans, VARIANT_BOOL bAbort) override;

private:
    HRESULT runScript(const std::u16string& name, const std::vector<std::u16string>& arguments, com::Variant& result);

    std::vector<com::Ptr<ISyncRunReport>> reports_;        // of the last Synchronize, one for each map
    std::unique_ptr<platform::ScriptRunner> ScriptControl; // created by the first script; later scripts see its code
};

// Parses the map that a script names. A null or empty text gives GUID_NULL, which means all maps.
HRESULT ParseMapGuid(BSTR text, GUID& map);

} // namespace mb
