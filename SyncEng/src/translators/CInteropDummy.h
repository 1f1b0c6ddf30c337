// The class InteropDummy. It exists only so that the type library contains the optional interfaces and the enumerations. DummyMethod
// returns S_OK, every other method E_NOTIMPL.
#pragma once
#include "com.h"
#include "interfaces.h"

namespace mb {

class CInteropDummy final
    : public com::Object<com::Dual<IInteropDummy>, com::Dual<ITranslatorInfo>, com::Dual<ITranslatorInfoEx>, IFieldList, IField,
                         com::Dual<IRecordUpdater>, com::Dual<ICategories>, com::Dual<IDynamicFieldLoader>, com::Dual<IFieldValidator>,
                         com::Dual<IImageSupport>, com::Dual<IPIMUserAccess>, com::Dual<IPIMSetUp>, com::Dual<IProductMatcher>,
                         com::Dual<IRecordVerifier>, com::Dual<IDuplicateFinder>, com::Dual<ITranslatorTest>> {
public:
    explicit CInteropDummy(IUnknown* outer) noexcept : Object(outer) {}

    // IInteropDummy
    HRESULT STDMETHODCALLTYPE DummyMethod(_TranslatorCaps, _DataTypes, _FieldFlags, _RecordStatus, _FieldTypes, _SyncOptions,
                                          _ConflictResolutionOptions, _SynchronizationTypes) override
    {
        return S_OK;
    }
    // ITranslatorInfo
    HRESULT STDMETHODCALLTYPE GetInfo(BSTR*, BSTR*, BSTR*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetLastError(VARIANT*, BSTR*, BSTR*) override { return E_NOTIMPL; }
    // ITranslatorInfoEx
    HRESULT STDMETHODCALLTYPE GetInfoEx(BSTR*, BSTR*, BSTR*, BSTR*) override { return E_NOTIMPL; }
    // IFieldList
    HRESULT STDMETHODCALLTYPE GetCount(LONG*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetFieldByIndex(LONG, GUID*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetFieldByName(BSTR, GUID*) override { return E_NOTIMPL; }
    // IField
    HRESULT STDMETHODCALLTYPE GetName(REFGUID, BSTR*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetName(REFGUID, BSTR) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetFieldType(REFGUID, LONG*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetFieldType(REFGUID, LONG) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetDataType(REFGUID, LONG*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetDataType(REFGUID, LONG) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetMaxLength(REFGUID, ULONG*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetMaxLength(REFGUID, ULONG) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetFlags(REFGUID, ULONG*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetFlags(REFGUID, ULONG) override { return E_NOTIMPL; }
    // IRecordUpdater
    HRESULT STDMETHODCALLTYPE GetUpdatedRecordId(BSTR, BSTR*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SaveUpdatedRecordIds() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE InitializeWithProgress(ISyncEvents*, ITrServices*, HWND, VARIANT_BOOL) override { return E_NOTIMPL; }
    // ICategories
    HRESULT STDMETHODCALLTYPE InitializeCategories(ITrServices*, HWND, VARIANT_BOOL) override { return E_NOTIMPL; }
    // IDynamicFieldLoader
    HRESULT STDMETHODCALLTYPE LoadDynamicFields(ITrServices*, LONG, LONG*) override { return E_NOTIMPL; }
    // IFieldValidator
    HRESULT STDMETHODCALLTYPE ValidateFieldList(ITrServices*) override { return E_NOTIMPL; }
    // IImageSupport
    HRESULT STDMETHODCALLTYPE HasFieldValue(BSTR, REFGUID, VARIANT_BOOL*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetAllowImage(VARIANT_BOOL) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE BeginReadImageData(BSTR, REFGUID) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE EndReadImageData(BSTR, REFGUID) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetImageDataSize(LONGLONG*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetImageDataHash(BSTR*) override { return E_NOTIMPL; }
    // IPIMUserAccess
    HRESULT STDMETHODCALLTYPE CanRead(ITrServices*, HWND, VARIANT_BOOL, VARIANT_BOOL*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE CanWrite(ITrServices*, HWND, VARIANT_BOOL, VARIANT_BOOL*) override { return E_NOTIMPL; }
    // IPIMSetUp
    HRESULT STDMETHODCALLTYPE IsPIMAvailable(VARIANT_BOOL*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE InitializeDefault(ITrServices*, HWND) override { return E_NOTIMPL; }
    // IProductMatcher
    HRESULT STDMETHODCALLTYPE MatchInstalledProduct(VARIANT_BOOL*) override { return E_NOTIMPL; }
    // IRecordVerifier
    HRESULT STDMETHODCALLTYPE RecordVerified(BSTR, VARIANT_BOOL*) override { return E_NOTIMPL; }
    // IDuplicateFinder
    HRESULT STDMETHODCALLTYPE BeginFindDuplicate(REFGUID, ITranslator*, SAFEARRAY*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE FindDuplicate(ITranslator*, BSTR, SAFEARRAY*, BSTR*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE EndFindDuplicate() override { return E_NOTIMPL; }
    // ITranslatorTest
    HRESULT STDMETHODCALLTYPE InitializeDatabase(BSTR, BSTR, BSTR) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetDatabase(BSTR*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE InitializeDatabaseEx(ITrServices*, BSTR, BSTR, BSTR) override { return E_NOTIMPL; }
};

} // namespace mb
