// Implements a translator on top of a RecordStore; the common base of our plug-ins. IFieldList, IField, GetSyncParams and SetDatabase work
// before Initialize.
#pragma once
#include "interfaces.h"

#include "EqualRecordFinder.h"
#include "record_access.h"
#include "RecordStore.h"
#include "text.h"
#include <memory>
#include <optional>
#include <span>
#include <string>

namespace mb::plugin {

struct PluginField {
    LONG type;             // a value of _FieldTypes, and part of the field's GUID
    const char16_t* label; // display name
    LONG dataType = dtString;
    ULONG flags = 0;
};

// The properties of a plug-in.
struct PluginInfo {
    const char16_t *shortName, *longName;
    const char16_t* databaseLabel; // precedes the database and a colon, as in "Card file"
    GUID fieldBase; // a field's GUID is this one with the field type as Data2; must not change, since users' field maps contain the GUIDs
    std::span<const PluginField> fields;
    std::unique_ptr<RecordStore> (*open)(const std::string& database, Report report);
    // Opens the category list of the same database, with the category's name as last name; null for a plug-in without categories.
    std::unique_ptr<RecordStore> (*openCategories)(const std::string& database, Report report) = nullptr;
    // Whether the plug-in searches for equal records before the engine does; see EqualRecordFinder.
    bool findsEqualRecords = false;
    // Creates an empty store if none exists; keeps an existing one. Called when a store is set up, never by a run. Null for a plug-in that
    // does not create stores.
    void (*make)(const std::string& database) = nullptr;
    // Whether the store follows records whose identifiers changed between runs; see RecordStore::updatedId.
    bool followsRecords = false;
};

class StoreTranslator
    : public com::Object<ITranslator, com::Dual<ITranslatorInfo>, IFieldList, IField, com::Dual<IRecordVerifier>, com::Dual<IPIMSetUp>,
                         com::Dual<ITranslatorTest>, com::Dual<ICategories>, com::Dual<IImageSupport>, com::Dual<IDuplicateFinder>,
                         com::Dual<IRecordUpdater>, IRecordAccess> {
public:
    StoreTranslator(IUnknown* outer, const PluginInfo& info) noexcept : Object(outer), info_(info) {}

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

    // IField: the fields are fixed, so the setters fail
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

    // IRecordVerifier: a record that exists counts as verified
    HRESULT STDMETHODCALLTYPE RecordVerified(BSTR recordId, VARIANT_BOOL* pVerified) override;

    // IRecordUpdater: categories keep their identifiers
    HRESULT STDMETHODCALLTYPE GetUpdatedRecordId(BSTR resourceId, BSTR* updatedId) override;
    HRESULT STDMETHODCALLTYPE SaveUpdatedRecordIds() override { return S_OK; }
    HRESULT STDMETHODCALLTYPE InitializeWithProgress(ISyncEvents* pSyncEvent, ITrServices* pServices, HWND hwndParent,
                                                     VARIANT_BOOL bReconfig) override;

    // IPIMSetUp
    HRESULT STDMETHODCALLTYPE IsPIMAvailable(VARIANT_BOOL* pAvailable) override;
    HRESULT STDMETHODCALLTYPE InitializeDefault(ITrServices* pServices, HWND hwndParent) override;

    // ITranslatorTest
    HRESULT STDMETHODCALLTYPE InitializeDatabase(BSTR dataBase, BSTR userName, BSTR password) override;
    HRESULT STDMETHODCALLTYPE GetDatabase(BSTR* dataBase) override;
    HRESULT STDMETHODCALLTYPE InitializeDatabaseEx(ITrServices* pServices, BSTR dataBase, BSTR userName, BSTR password) override;

    // ICategories
    HRESULT STDMETHODCALLTYPE InitializeCategories(ITrServices* pServices, HWND hwndParent, VARIANT_BOOL bReconfig) override;

    // IImageSupport: a picture is passed as a JPEG file in the folder for temporary files; its reader deletes it
    HRESULT STDMETHODCALLTYPE HasFieldValue(BSTR lpRecID, REFGUID rField, VARIANT_BOOL* pHasValue) override;
    HRESULT STDMETHODCALLTYPE SetAllowImage(VARIANT_BOOL bAllowImage) override;
    HRESULT STDMETHODCALLTYPE BeginReadImageData(BSTR lpRecID, REFGUID rField) override;
    HRESULT STDMETHODCALLTYPE EndReadImageData(BSTR lpRecID, REFGUID rField) override;
    HRESULT STDMETHODCALLTYPE GetImageDataSize(LONGLONG* pImageDataSize) override;
    HRESULT STDMETHODCALLTYPE GetImageDataHash(BSTR* ppImageDataHash) override;

    // IDuplicateFinder: not offered while the records are categories
    HRESULT STDMETHODCALLTYPE BeginFindDuplicate(REFGUID syncTrMapGuid, ITranslator* pOtherTranslator,
                                                 SAFEARRAY* synchedRecordsGuid) override;
    HRESULT STDMETHODCALLTYPE FindDuplicate(ITranslator* pOtherTranslator, BSTR recordIdOther, SAFEARRAY* synchedRecordsGuid,
                                            BSTR* pDuplicateRecordId) override;
    HRESULT STDMETHODCALLTYPE EndFindDuplicate() override;

    // IRecordAccess
    HRESULT STDMETHODCALLTYPE ExpectWritable(BSTR recordId) override;

private:
    struct Picture {
        std::string id;
        int type;
    };
    using OpenStore = std::unique_ptr<RecordStore> (*)(const std::string& database, Report report);
    template <class F> HRESULT run(F&& body) noexcept; // runs a method of the store and keeps its error text for GetLastError
    const std::string& idOf(BSTR id);
    [[nodiscard]] const PluginField* fieldOf(REFGUID guid) const noexcept;
    [[nodiscard]] GUID guidOf(const PluginField& field) const noexcept;
    [[nodiscard]] bool givesWholeDetails(REFGUID guid) const noexcept;
    RecordStore& store(Step step);
    bool offers(REFIID riid) const noexcept override;
    HRESULT start(ITrServices* services, OpenStore openStore, bool make);
    void open(ITrServices* services, std::u16string_view database, OpenStore openStore);
    template <class F> HRESULT begin(F&& body) noexcept; // runs the begin of an addition or edit
    const Picture& picture() const;
    std::u16string readPicture(const std::string& id, const PluginField& field);
    void writePicture(const std::string& id, const PluginField& field, const VARIANT& value);
    void tell(Finding finding, const std::string& text) noexcept;

    const PluginInfo& info_;
    std::unique_ptr<RecordStore> store_;
    bool ofCategories_ = false;               // the records of the store are categories
    std::optional<EqualRecordFinder> finder_; // searches the store between BeginFindDuplicate and EndFindDuplicate
    std::u16string database_;
    com::Ptr<ILogFile> log_;
    com::Ptr<ITranslatorReport> report_; // null with an older engine
    com::Ptr<ITranslatorNotes> notes_;   // null with an older engine
    std::u16string lastError_;
    std::string notBegun_; // why the last addition or edit could not begin; reported again if the caller writes nevertheless
    // Cache of the last identifier and its UTF-8: most calls are about the same record as the call before.
    std::u16string lastId_;
    std::string lastIdUtf8_;
    bool imagesAllowed_ = true;
    std::optional<Picture> picture_; // set between BeginReadImageData and EndReadImageData
};

template <class F> HRESULT StoreTranslator::begin(F&& body) noexcept
{
    return run([&] {
        notBegun_.clear();
        try {
            body();
        } catch (const StoreError& e) {
            notBegun_ = e.what();
            throw;
        }
    });
}

template <class F> HRESULT StoreTranslator::run(F&& body) noexcept
{
    return com::guarded([&]() -> HRESULT {
        try {
            body();
            return S_OK;
        } catch (const StoreError& e) {
            lastError_ = platform::utf16(e.what());
            return static_cast<HRESULT>(e.step());
        } catch (const com::Error&) {
            lastError_.clear(); // the result code is the whole message
            throw;
        } catch (const std::bad_alloc&) {
            lastError_.clear();
            throw;
        } catch (const std::exception& e) {
            lastError_ = platform::utf16(e.what());
            return E_FAIL;
        }
    });
}

} // namespace mb::plugin
