// The interfaces of the older translator contract that the engine uses. They identify a field by a VARIANT (a number or a text) instead of
// a GUID. No type library describes them, only these identifiers and slot orders. ITranslatorInfo and ITranslatorTest are unchanged.
#pragma once
#include "interfaces.h"

namespace mb {

// The slots of ITranslator, after those of IDispatch.
struct IOldTranslator : IDispatch {
    virtual HRESULT STDMETHODCALLTYPE Initialize(ITrServices* pServices, HWND hwndParent, VARIANT_BOOL bReconfig, VARIANT_BOOL bSilent) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetSyncParams(ITrServices* pServices, BSTR* lpDatabase, BSTR* lpDescription) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetTranslatorCaps(ULONG* pCaps) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetDatabase(ITrServices* pServices, BSTR lpDatabase) = 0;
    virtual HRESULT STDMETHODCALLTYPE Cleanup() = 0;
    virtual HRESULT STDMETHODCALLTYPE GetRecordCount(LONG* pCount) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetRecordID(LONG nIndex, BSTR* lpRecID) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetCreateDate(BSTR lpRecID, VARIANT* lpCreateDate) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetModifiedDate(BSTR lpRecID, VARIANT* lpModDate) = 0;
    virtual HRESULT STDMETHODCALLTYPE FindRecord(BSTR strRecID) = 0;
    virtual HRESULT STDMETHODCALLTYPE BeginReadRecord(BSTR lpRecID) = 0;
    virtual HRESULT STDMETHODCALLTYPE EndReadRecord(BSTR lpRecID) = 0;
    virtual HRESULT STDMETHODCALLTYPE BeginUpdate() = 0;
    virtual HRESULT STDMETHODCALLTYPE BeginAddRecord(BSTR* lpRecID) = 0;
    virtual HRESULT STDMETHODCALLTYPE BeginEditRecord(BSTR lpRecID) = 0;
    virtual HRESULT STDMETHODCALLTYPE ReadField(BSTR lpRecID, VARIANT varField, VARIANT* lpvarValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE WriteField(BSTR lpRecID, VARIANT varField, VARIANT varValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE SaveRecord(BSTR* ppRecID) = 0;
    virtual HRESULT STDMETHODCALLTYPE DeleteRecord(BSTR lpRecID) = 0;
    virtual HRESULT STDMETHODCALLTYPE EndUpdate(VARIANT_BOOL bAbort) = 0;
};

struct IOldFieldList : IUnknown {
    virtual HRESULT STDMETHODCALLTYPE GetCount(LONG* pCount) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetFieldByIndex(LONG index, VARIANT* pField) = 0;
};

// The slots of IField.
struct IOldField : IUnknown {
    virtual HRESULT STDMETHODCALLTYPE GetName(VARIANT varField, BSTR* ppName) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetName(VARIANT varField, BSTR lpName) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetFieldType(VARIANT varField, LONG* pType) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetFieldType(VARIANT varField, LONG type) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetDataType(VARIANT varField, LONG* pType) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetDataType(VARIANT varField, LONG type) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetMaxLength(VARIANT varField, ULONG* pLength) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetMaxLength(VARIANT varField, ULONG length) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetFlags(VARIANT varField, ULONG* pFlags) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetFlags(VARIANT varField, ULONG flags) = 0;
};

} // namespace mb

__CRT_UUID_DECL(mb::IOldTranslator, 0xD832C882, 0xE3D6, 0x4BC3, 0x94, 0x6A, 0xA1, 0xBA, 0xF3, 0xAC, 0x67, 0x7B)
__CRT_UUID_DECL(mb::IOldFieldList, 0x8D792C2F, 0xDDB2, 0x4F0D, 0xB2, 0xBD, 0x8C, 0x7F, 0x5D, 0x7A, 0xA6, 0xDA)
__CRT_UUID_DECL(mb::IOldField, 0xB570151C, 0xCF1E, 0x4B4C, 0xAA, 0x02, 0xB3, 0x22, 0xE7, 0x2E, 0x83, 0x19)
