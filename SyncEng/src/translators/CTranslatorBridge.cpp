#include "translators/CTranslatorBridge.h"

#include "foundation/ClassTable.h"
#include "foundation/SilentMode.h"

namespace mb {
namespace {

constexpr HRESULT notOpened = static_cast<HRESULT>(0x80040201);
constexpr LCID userLocale = 1024;
constexpr ULONG noUserOverride = 0x80000000;

// Forwards a call to `object`; returns REGDB_E_CLASSNOTREG if there is none.
template <class I, class... Params, class... Args>
HRESULT passOn(const com::Ptr<I>& object, HRESULT (STDMETHODCALLTYPE I::*method)(Params...), Args... args) noexcept
{
    return object ? com::call(object, method, args...) : REGDB_E_CLASSNOTREG;
}

HRESULT dateOf(const VARIANT& value, DATE* out)
{
    if (value.vt == VT_DATE) *out = value.date;
    if (value.vt == VT_DATE) return S_OK;
    if (value.vt != VT_BSTR || !value.bstrVal) return E_FAIL;
    if (SysStringLen(value.bstrVal) == 0) return S_OK; // the date is unknown
    DATE date = 0.0;
    const HRESULT hr = VarDateFromStr(value.bstrVal, userLocale, noUserOverride, &date);
    if (SUCCEEDED(hr)) *out = date;
    return hr;
}

} // namespace

HRESULT CTranslatorBridge::start(REFCLSID clsid, const com::Ptr<ITrServices>& services)
{
    if (!services) return REGDB_E_CLASSNOTREG;
    return com::guarded([&]() -> HRESULT {
        silent_ = SilentMode;
        com::Ptr<IOldTranslator> old;
        if (FAILED(createClass(clsid, old)) || !old) return REGDB_E_CLASSNOTREG;
        old_ = std::move(old);
        oldInfo_ = old_.tryAs<ITranslatorInfo>();
        oldList_ = old_.tryAs<IOldFieldList>();
        oldField_ = old_.tryAs<IOldField>();
        oldTest_ = old_.tryAs<ITranslatorTest>();
        const auto settings = services.tryAs<IDataStream>();
        if (settings && oldList_ && oldField_) fields_.load(settings.get(), oldList_.get());
        return S_OK;
    });
}

HRESULT STDMETHODCALLTYPE CTranslatorBridge::Initialize(ITrServices* pServices, HWND hwndParent, VARIANT_BOOL bReconfig)
{
    return passOn(old_, &IOldTranslator::Initialize, pServices, hwndParent, bReconfig, silent_);
}

HRESULT STDMETHODCALLTYPE CTranslatorBridge::GetSyncParams(ITrServices* pServices, BSTR* lpDatabase, BSTR* lpDescription)
{
    if (!lpDatabase || !lpDescription) return E_POINTER;
    *lpDatabase = *lpDescription = nullptr;
    return passOn(old_, &IOldTranslator::GetSyncParams, pServices, lpDatabase, lpDescription);
}

HRESULT STDMETHODCALLTYPE CTranslatorBridge::GetTranslatorCaps(ULONG* pCaps)
{
    if (!pCaps) return E_POINTER;
    *pCaps = 0;
    return passOn(old_, &IOldTranslator::GetTranslatorCaps, pCaps);
}

HRESULT STDMETHODCALLTYPE CTranslatorBridge::SetDatabase(ITrServices* pServices, BSTR lpDatabase)
{
    return passOn(old_, &IOldTranslator::SetDatabase, pServices, lpDatabase);
}

HRESULT STDMETHODCALLTYPE CTranslatorBridge::Cleanup() { return passOn(old_, &IOldTranslator::Cleanup); }

HRESULT STDMETHODCALLTYPE CTranslatorBridge::GetRecordCount(LONG* pCount)
{
    if (!pCount) return E_POINTER;
    *pCount = 0;
    return passOn(old_, &IOldTranslator::GetRecordCount, pCount);
}

HRESULT STDMETHODCALLTYPE CTranslatorBridge::GetRecordID(LONG nIndex, BSTR* lpRecID)
{
    if (!lpRecID) return E_POINTER;
    *lpRecID = nullptr;
    return passOn(old_, &IOldTranslator::GetRecordID, nIndex, lpRecID);
}

HRESULT CTranslatorBridge::readDate(OldDate method, BSTR recordId, DATE* out)
{
    if (!out) return E_POINTER;
    *out = 0.0;
    com::Variant value;
    const HRESULT hr = passOn(old_, method, recordId, value.put());
    return SUCCEEDED(hr) ? dateOf(value, out) : hr;
}

HRESULT STDMETHODCALLTYPE CTranslatorBridge::GetCreateDate(BSTR lpRecID, DATE* lpCreateDate)
{
    return readDate(&IOldTranslator::GetCreateDate, lpRecID, lpCreateDate);
}

HRESULT STDMETHODCALLTYPE CTranslatorBridge::GetModifiedDate(BSTR lpRecID, DATE* lpModDate)
{
    return readDate(&IOldTranslator::GetModifiedDate, lpRecID, lpModDate);
}

HRESULT STDMETHODCALLTYPE CTranslatorBridge::FindRecord(BSTR strRecID) { return passOn(old_, &IOldTranslator::FindRecord, strRecID); }

HRESULT STDMETHODCALLTYPE CTranslatorBridge::BeginReadRecord(BSTR lpRecID)
{
    return passOn(old_, &IOldTranslator::BeginReadRecord, lpRecID);
}

HRESULT STDMETHODCALLTYPE CTranslatorBridge::EndReadRecord(BSTR lpRecID) { return passOn(old_, &IOldTranslator::EndReadRecord, lpRecID); }

HRESULT STDMETHODCALLTYPE CTranslatorBridge::BeginUpdate() { return passOn(old_, &IOldTranslator::BeginUpdate); }

HRESULT STDMETHODCALLTYPE CTranslatorBridge::BeginAddRecord(BSTR* lpRecID)
{
    if (!lpRecID) return E_POINTER;
    *lpRecID = nullptr;
    return passOn(old_, &IOldTranslator::BeginAddRecord, lpRecID);
}

HRESULT STDMETHODCALLTYPE CTranslatorBridge::BeginEditRecord(BSTR lpRecID)
{
    return passOn(old_, &IOldTranslator::BeginEditRecord, lpRecID);
}

HRESULT STDMETHODCALLTYPE CTranslatorBridge::ReadField(BSTR lpRecID, REFGUID rField, VARIANT* lpvarValue)
{
    if (!lpvarValue) return E_POINTER;
    VariantInit(lpvarValue);
    if (!old_) return REGDB_E_CLASSNOTREG;
    const VARIANT* id = fields_.idOf(rField);
    return id ? passOn(old_, &IOldTranslator::ReadField, lpRecID, *id, lpvarValue) : E_FAIL;
}

HRESULT STDMETHODCALLTYPE CTranslatorBridge::WriteField(BSTR lpRecID, REFGUID rField, VARIANT varValue)
{
    if (!old_) return REGDB_E_CLASSNOTREG;
    const VARIANT* id = fields_.idOf(rField);
    return id ? passOn(old_, &IOldTranslator::WriteField, lpRecID, *id, varValue) : E_FAIL;
}

HRESULT STDMETHODCALLTYPE CTranslatorBridge::SaveRecord(BSTR* ppRecID)
{
    return ppRecID ? passOn(old_, &IOldTranslator::SaveRecord, ppRecID) : E_POINTER;
}

HRESULT STDMETHODCALLTYPE CTranslatorBridge::DeleteRecord(BSTR lpRecID) { return passOn(old_, &IOldTranslator::DeleteRecord, lpRecID); }
HRESULT STDMETHODCALLTYPE CTranslatorBridge::EndUpdate(VARIANT_BOOL bAbort) { return passOn(old_, &IOldTranslator::EndUpdate, bAbort); }

HRESULT STDMETHODCALLTYPE CTranslatorBridge::GetInfo(BSTR* ppShortName, BSTR* ppLongName, BSTR* ppDBType)
{
    if (!ppShortName || !ppLongName || !ppDBType) return E_POINTER;
    *ppShortName = *ppLongName = *ppDBType = nullptr;
    return passOn(oldInfo_, &ITranslatorInfo::GetInfo, ppShortName, ppLongName, ppDBType);
}

HRESULT STDMETHODCALLTYPE CTranslatorBridge::GetLastError(VARIANT* lpvtCode, BSTR* ppMessage1, BSTR* ppMessage2)
{
    if (!lpvtCode || !ppMessage1 || !ppMessage2) return E_POINTER;
    VariantInit(lpvtCode);
    *ppMessage1 = *ppMessage2 = nullptr;
    return passOn(oldInfo_, &ITranslatorInfo::GetLastError, lpvtCode, ppMessage1, ppMessage2);
}

HRESULT STDMETHODCALLTYPE CTranslatorBridge::GetCount(LONG* pCount)
{
    if (!pCount) return E_POINTER;
    *pCount = 0;
    if (!oldList_) return REGDB_E_CLASSNOTREG;
    *pCount = fields_.count();
    return S_OK;
}

HRESULT STDMETHODCALLTYPE CTranslatorBridge::GetFieldByIndex(LONG index, GUID* pGuid)
{
    if (!pGuid) return E_POINTER;
    *pGuid = GUID_NULL;
    com::Variant id;
    const HRESULT hr = passOn(oldList_, &IOldFieldList::GetFieldByIndex, index, id.put());
    if (FAILED(hr)) return hr;
    const GUID* guid = fields_.guidOf(id, index);
    if (!guid) return REGDB_E_CLASSNOTREG;
    *pGuid = *guid;
    return S_OK;
}

HRESULT STDMETHODCALLTYPE CTranslatorBridge::GetFieldByName(BSTR, GUID* pGuid)
{
    if (!pGuid) return E_POINTER;
    *pGuid = GUID_NULL;
    return E_NOTIMPL;
}

template <class... Params, class... Args>
HRESULT CTranslatorBridge::onField(HRESULT (STDMETHODCALLTYPE IOldField::*method)(VARIANT, Params...), REFGUID field, Args... args)
{
    if (!oldField_) return REGDB_E_CLASSNOTREG;
    const VARIANT* id = fields_.idOf(field);
    return id ? passOn(oldField_, method, *id, args...) : E_FAIL;
}

HRESULT STDMETHODCALLTYPE CTranslatorBridge::GetName(REFGUID rField, BSTR* ppName)
{
    if (!ppName) return E_POINTER;
    *ppName = nullptr;
    return onField(&IOldField::GetName, rField, ppName);
}

HRESULT STDMETHODCALLTYPE CTranslatorBridge::SetName(REFGUID rField, BSTR lpName) { return onField(&IOldField::SetName, rField, lpName); }

HRESULT STDMETHODCALLTYPE CTranslatorBridge::GetFieldType(REFGUID rField, LONG* pType)
{
    return pType ? onField(&IOldField::GetFieldType, rField, pType) : E_POINTER;
}

HRESULT STDMETHODCALLTYPE CTranslatorBridge::SetFieldType(REFGUID rField, LONG type)
{
    return onField(&IOldField::SetFieldType, rField, type);
}

HRESULT STDMETHODCALLTYPE CTranslatorBridge::GetDataType(REFGUID rField, LONG* pType)
{
    return pType ? onField(&IOldField::GetDataType, rField, pType) : E_POINTER;
}

HRESULT STDMETHODCALLTYPE CTranslatorBridge::SetDataType(REFGUID rField, LONG type)
{
    return onField(&IOldField::SetDataType, rField, type);
}

HRESULT STDMETHODCALLTYPE CTranslatorBridge::GetMaxLength(REFGUID rField, ULONG* pLength)
{
    return pLength ? onField(&IOldField::GetMaxLength, rField, pLength) : E_POINTER;
}

HRESULT STDMETHODCALLTYPE CTranslatorBridge::SetMaxLength(REFGUID rField, ULONG length)
{
    return onField(&IOldField::SetMaxLength, rField, length);
}

HRESULT STDMETHODCALLTYPE CTranslatorBridge::GetFlags(REFGUID rField, ULONG* pFlags)
{
    return pFlags ? onField(&IOldField::GetFlags, rField, pFlags) : E_POINTER;
}

HRESULT STDMETHODCALLTYPE CTranslatorBridge::SetFlags(REFGUID rField, ULONG flags) { return onField(&IOldField::SetFlags, rField, flags); }

HRESULT STDMETHODCALLTYPE CTranslatorBridge::InitializeDatabase(BSTR dataBase, BSTR userName, BSTR password)
{
    return oldTest_ ? com::call(oldTest_, &ITranslatorTest::InitializeDatabase, dataBase, userName, password) : notOpened;
}

HRESULT STDMETHODCALLTYPE CTranslatorBridge::GetDatabase(BSTR* dataBase)
{
    if (!dataBase) return E_POINTER;
    *dataBase = nullptr;
    return oldTest_ ? com::call(oldTest_, &ITranslatorTest::GetDatabase, dataBase) : E_FAIL;
}

HRESULT STDMETHODCALLTYPE CTranslatorBridge::InitializeDatabaseEx(ITrServices* pServices, BSTR dataBase, BSTR userName, BSTR password)
{
    return oldTest_ ? com::call(oldTest_, &ITranslatorTest::InitializeDatabaseEx, pServices, dataBase, userName, password) : notOpened;
}

// The older contract has no unverified records, but an old translator may offer IRecordVerifier.
HRESULT STDMETHODCALLTYPE CTranslatorBridge::RecordVerified(BSTR recordId, VARIANT_BOOL* pVerified)
{
    if (!pVerified) return E_POINTER;
    *pVerified = VARIANT_TRUE;
    if (!old_) return REGDB_E_CLASSNOTREG;
    const auto verifier = old_.tryAs<IRecordVerifier>();
    return verifier ? com::call(verifier, &IRecordVerifier::RecordVerified, recordId, pVerified) : S_OK;
}

} // namespace mb
