// The class TranslatorBridge, which adapts a translator of the older contract to ITranslator. It forwards every call and replaces the GUID
// of a field by the old translator's id. ITrMapEntry::Load uses it for a class without ITranslator.
#pragma once
#include "translators/BridgeFields.h"

namespace mb {

class CTranslatorBridge final : public com::Object<ITranslator, com::Dual<ITranslatorInfo>, IFieldList, IField, com::Dual<ITranslatorTest>,
                                                   com::Dual<IRecordVerifier>> {
public:
    explicit CTranslatorBridge(IUnknown* outer) noexcept : Object(outer) {}

    // Creates the old translator and reads its fields. Requires: the settings of `services` are bound to the section of the class.
    HRESULT start(REFCLSID clsid, const com::Ptr<ITrServices>& services);

    // ITranslator
    HRESULT STDMETHODCALLTYPE Initialize(ITrServices* pServices, HWND hwndParent, VARIANT_BOOL bReconfig) override;
    HRESULT STDMETHODCALLTYPE GetSyncParams(ITrServices* pServices, BSTR* lpDatabase, BSTR* lpDescription) override;
    HRESULT STDMETHODCALLTYPE GetTranslatorCaps(ULONG* pCaps) override;
    HRESULT STDMETHODCALLTYPE SetDatabase(ITrServices* pServices, BSTR lpDatabase) override;
    HRESULT STDMETHODCALLTYPE Cleanup() override;
    HRESULT STDMETHODCALLTYPE GetRecordCount(LONG* pCount) override;
    HRESULT STDMETHODCALLTYPE GetRecordID(LONG nIndex, BSTR* lpRecID) override;
    HRESULT STDMETHODCALLTYPE GetCreateDate(BSTR lpRecID, DATE* lpCreateDate) override;
    HRESULT STDMETHODCALLTYPE GetModifiedDate(BSTR lpRecID, DATE* lpModDate) override;
    HRESULT STDMETHODCALLTYPE FindRecord(BSTR strRecID) override;
    HRESULT STDMETHODCALLTYPE BeginReadRecord(BSTR lpRecID) override;
    HRESULT STDMETHODCALLTYPE EndReadRecord(BSTR lpRecID) override;
    HRESULT STDMETHODCALLTYPE BeginUpdate() override;
    HRESULT STDMETHODCALLTYPE BeginAddRecord(BSTR* lpRecID) override;
    HRESULT STDMETHODCALLTYPE BeginEditRecord(BSTR lpRecID) override;
    HRESULT STDMETHODCALLTYPE ReadField(BSTR lpRecID, REFGUID rField, VARIANT* lpvarValue) override;
    HRESULT STDMETHODCALLTYPE WriteField(BSTR lpRecID, REFGUID rField, VARIANT varValue) override;
    HRESULT STDMETHODCALLTYPE SaveRecord(BSTR* ppRecID) override;
    HRESULT STDMETHODCALLTYPE DeleteRecord(BSTR lpRecID) override;
    HRESULT STDMETHODCALLTYPE EndUpdate(VARIANT_BOOL bAbort) override;

    // ITranslatorInfo
    HRESULT STDMETHODCALLTYPE GetInfo(BSTR* ppShortName, BSTR* ppLongName, BSTR* ppDBType) override;
    HRESULT STDMETHODCALLTYPE GetLastError(VARIANT* lpvtCode, BSTR* ppMessage1, BSTR* ppMessage2) override;

    // IFieldList
    HRESULT STDMETHODCALLTYPE GetCount(LONG* pCount) override;
    HRESULT STDMETHODCALLTYPE GetFieldByIndex(LONG index, GUID* pGuid) override;
    HRESULT STDMETHODCALLTYPE GetFieldByName(BSTR lpName, GUID* pGuid) override;

    // IField
    HRESULT STDMETHODCALLTYPE GetName(REFGUID rField, BSTR* ppName) override;
    HRESULT STDMETHODCALLTYPE SetName(REFGUID rField, BSTR lpName) override;
    HRESULT STDMETHODCALLTYPE GetFieldType(REFGUID rField, LONG* pType) override;
    HRESULT STDMETHODCALLTYPE SetFieldType(REFGUID rField, LONG type) override;
    HRESULT STDMETHODCALLTYPE GetDataType(REFGUID rField, LONG* pType) override;
    HRESULT STDMETHODCALLTYPE SetDataType(REFGUID rField, LONG type) override;
    HRESULT STDMETHODCALLTYPE GetMaxLength(REFGUID rField, ULONG* pLength) override;
    HRESULT STDMETHODCALLTYPE SetMaxLength(REFGUID rField, ULONG length) override;
    HRESULT STDMETHODCALLTYPE GetFlags(REFGUID rField, ULONG* pFlags) override;
    HRESULT STDMETHODCALLTYPE SetFlags(REFGUID rField, ULONG flags) override;

    // ITranslatorTest
    HRESULT STDMETHODCALLTYPE InitializeDatabase(BSTR dataBase, BSTR userName, BSTR password) override;
    HRESULT STDMETHODCALLTYPE GetDatabase(BSTR* dataBase) override;
    HRESULT STDMETHODCALLTYPE InitializeDatabaseEx(ITrServices* pServices, BSTR dataBase, BSTR userName, BSTR password) override;

    // IRecordVerifier
    HRESULT STDMETHODCALLTYPE RecordVerified(BSTR recordId, VARIANT_BOOL* pVerified) override;

private:
    using OldDate = HRESULT (STDMETHODCALLTYPE IOldTranslator::*)(BSTR, VARIANT*);
    HRESULT readDate(OldDate method, BSTR recordId, DATE* out);
    // Calls a method of the old field object with the field's old id.
    template <class... Params, class... Args>
    HRESULT onField(HRESULT (STDMETHODCALLTYPE IOldField::*method)(VARIANT, Params...), REFGUID field, Args... args);

    com::Ptr<IOldTranslator> old_;
    com::Ptr<ITranslatorInfo> oldInfo_;
    com::Ptr<IOldFieldList> oldList_;
    com::Ptr<IOldField> oldField_;
    com::Ptr<ITranslatorTest> oldTest_;
    BridgeFields fields_;
    VARIANT_BOOL silent_ = VARIANT_FALSE; // the value of SilentMode at start()
};

} // namespace mb
