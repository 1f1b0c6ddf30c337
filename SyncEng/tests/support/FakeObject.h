// The object that createFake makes. FakeTranslator.cpp implements ITranslator, FakeFeatures.cpp the optional interfaces.
#pragma once
#include "FakeTranslator.h"

namespace mbtest {

class FakeTranslator final
    : public com::Object<ITranslator, IFieldList, IField, com::Dual<ITranslatorInfo>, com::Dual<ITranslatorInfoEx>,
                         com::Dual<IRecordUpdater>, com::Dual<ICategories>, com::Dual<IDynamicFieldLoader>, com::Dual<IFieldValidator>,
                         com::Dual<IImageSupport>, com::Dual<IPIMUserAccess>, com::Dual<IPIMSetUp>, com::Dual<IProductMatcher>,
                         com::Dual<IRecordVerifier>, com::Dual<IDuplicateFinder>, com::Dual<ITranslatorTest>> {
public:
    explicit FakeTranslator(IUnknown* outer) noexcept : Object(outer) {}
    FakeSide side;

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

    // IFieldList
    HRESULT STDMETHODCALLTYPE GetCount(LONG* pCount) override;
    HRESULT STDMETHODCALLTYPE GetFieldByIndex(LONG index, GUID* pGuid) override;
    HRESULT STDMETHODCALLTYPE GetFieldByName(BSTR lpName, GUID* pGuid) override;

    // IField
    HRESULT STDMETHODCALLTYPE GetName(REFGUID rField, BSTR* ppName) override;
    HRESULT STDMETHODCALLTYPE GetFieldType(REFGUID rField, LONG* pType) override;
    HRESULT STDMETHODCALLTYPE GetDataType(REFGUID rField, LONG* pType) override;
    HRESULT STDMETHODCALLTYPE GetMaxLength(REFGUID rField, ULONG* pLength) override;
    HRESULT STDMETHODCALLTYPE GetFlags(REFGUID rField, ULONG* pFlags) override;
    HRESULT STDMETHODCALLTYPE SetName(REFGUID, BSTR) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetFieldType(REFGUID, LONG) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetDataType(REFGUID, LONG) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetMaxLength(REFGUID, ULONG) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetFlags(REFGUID, ULONG) override { return E_NOTIMPL; }

    // ITranslatorInfo, ITranslatorInfoEx
    HRESULT STDMETHODCALLTYPE GetInfo(BSTR* ppShortName, BSTR* ppLongName, BSTR* ppDBType) override;
    HRESULT STDMETHODCALLTYPE GetLastError(VARIANT* lpvtCode, BSTR* ppMessage1, BSTR* ppMessage2) override;
    HRESULT STDMETHODCALLTYPE GetInfoEx(BSTR* ppShortName, BSTR* ppLongName, BSTR* ppDescription, BSTR* ppDBType) override;

    // IRecordUpdater
    HRESULT STDMETHODCALLTYPE GetUpdatedRecordId(BSTR resourceId, BSTR* updatedId) override;
    HRESULT STDMETHODCALLTYPE SaveUpdatedRecordIds() override;
    HRESULT STDMETHODCALLTYPE InitializeWithProgress(ISyncEvents* pSyncEvent, ITrServices* pServices, HWND hwndParent,
                                                     VARIANT_BOOL bReconfig) override;

    // ICategories, IDynamicFieldLoader, IFieldValidator
    HRESULT STDMETHODCALLTYPE InitializeCategories(ITrServices* pServices, HWND hwndParent, VARIANT_BOOL bReconfig) override;
    HRESULT STDMETHODCALLTYPE LoadDynamicFields(ITrServices* pServices, LONG availableFieldType, LONG* nextAvailableFieldType) override;
    HRESULT STDMETHODCALLTYPE ValidateFieldList(ITrServices* pServices) override;

    // IImageSupport
    HRESULT STDMETHODCALLTYPE HasFieldValue(BSTR lpRecID, REFGUID rField, VARIANT_BOOL* pHasValue) override;
    HRESULT STDMETHODCALLTYPE SetAllowImage(VARIANT_BOOL bAllowImage) override;
    HRESULT STDMETHODCALLTYPE BeginReadImageData(BSTR lpRecID, REFGUID rField) override;
    HRESULT STDMETHODCALLTYPE EndReadImageData(BSTR lpRecID, REFGUID rField) override;
    HRESULT STDMETHODCALLTYPE GetImageDataSize(LONGLONG* pImageDataSize) override;
    HRESULT STDMETHODCALLTYPE GetImageDataHash(BSTR* ppImageDataHash) override;

    // IPIMUserAccess, IPIMSetUp, IProductMatcher, IRecordVerifier
    HRESULT STDMETHODCALLTYPE CanRead(ITrServices* pServices, HWND hwndParent, VARIANT_BOOL bSilent, VARIANT_BOOL* pCanRead) override;
    HRESULT STDMETHODCALLTYPE CanWrite(ITrServices* pServices, HWND hwndParent, VARIANT_BOOL bSilent, VARIANT_BOOL* pCanWrite) override;
    HRESULT STDMETHODCALLTYPE IsPIMAvailable(VARIANT_BOOL* pAvailable) override;
    HRESULT STDMETHODCALLTYPE InitializeDefault(ITrServices* pServices, HWND hwndParent) override;
    HRESULT STDMETHODCALLTYPE MatchInstalledProduct(VARIANT_BOOL* pMatch) override;
    HRESULT STDMETHODCALLTYPE RecordVerified(BSTR recordId, VARIANT_BOOL* pVerified) override;

    // IDuplicateFinder
    HRESULT STDMETHODCALLTYPE BeginFindDuplicate(REFGUID syncTrMapGuid, ITranslator* pOtherTranslator,
                                                 SAFEARRAY* synchedRecordsGuid) override;
    HRESULT STDMETHODCALLTYPE FindDuplicate(ITranslator* pOtherTranslator, BSTR recordIdOther, SAFEARRAY* synchedRecordsGuid,
                                            BSTR* pDuplicateRecordId) override;
    HRESULT STDMETHODCALLTYPE EndFindDuplicate() override;

    // ITranslatorTest
    HRESULT STDMETHODCALLTYPE InitializeDatabase(BSTR dataBase, BSTR userName, BSTR password) override;
    HRESULT STDMETHODCALLTYPE GetDatabase(BSTR* dataBase) override;
    HRESULT STDMETHODCALLTYPE InitializeDatabaseEx(ITrServices* pServices, BSTR dataBase, BSTR userName, BSTR password) override;

private:
    enum class State { Made, Open, Closed };
    struct Writing {
        std::u16string id;
        bool isNew = false;
        FakeValues values;
    };

    [[nodiscard]] bool offers(REFIID riid) const noexcept override;
    FakeOptions& options() const noexcept { return side.store->options; }
    FakeRecords& records() const noexcept { return categoryMode_ ? side.store->categories : side.store->records; }
    const std::vector<std::u16string>& ids() const { return categoryMode_ ? side.store->categoryOrder : side.store->order; }
    const FakeRecord& record(BSTR id) const;
    const FakeField& fieldOf(REFGUID guid) const;
    bool givesWholeDetails(REFGUID guid) const;
    [[nodiscard]] LONG typeOf(const FakeField& field) const;
    [[nodiscard]] bool imagesAreFiles() const noexcept { return (options().caps & (capBMPFile | capJPEGFile)) != 0; }
    std::u16string imageCopy(const std::u16string& path) const;
    std::u16string_view imageOf(BSTR id, REFGUID field) const;
    LONGLONG imageBytes(std::u16string_view image) const;

    // Implements each of the methods that open the translator.
    HRESULT open(const char* method, VARIANT_BOOL reconfigure, bool categories);
    void tellLeftOut(ITrServices* services);
    // Logs a call (note), counts it without a line (meet), or logs a call that requires an open translator (noteOpen).
    void note(const char* method, BSTR id = nullptr, const std::string& more = {}) const;
    void meet(const char* method) const { side.log->meet(side.name, method); }
    void noteOpen(const char* method, BSTR id = nullptr, const std::string& more = {}) const;
    void expect(bool held, const char* broken) const;
    void expectBatch(const char* method) const;

    State state_ = State::Made;
    bool categoryMode_ = false, batch_ = false, imagesAllowed_ = true, writeGranted_ = false, findingDuplicates_ = false;
    std::optional<std::u16string> reading_; // the identifier of the record
    std::optional<Writing> writing_;
    std::optional<std::u16string> image_; // between BeginReadImageData and EndReadImageData
    std::optional<LONG> firstDynamicType_;
};

} // namespace mbtest
