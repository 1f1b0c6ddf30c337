// Part of CSyncAutoTest: forwards each call to the translator that the script holds.
#include "autotest/CSyncAutoTest.h"
#include "error_text.h"
#include "foundation/ClassTable.h"
#include "translators/SideSettings.h"

namespace mb {
namespace {

// If `hr` is a failure, leaves the translator's error message for the script. Returns `hr`.
HRESULT withReason(const com::Ptr<ITranslator>& translator, HRESULT hr)
{
    const auto info = FAILED(hr) ? translator.tryAs<ITranslatorInfo>() : com::Ptr<ITranslatorInfo>();
    com::Variant code;
    com::Bstr message1, message2;
    if (!info || FAILED(com::call(info, &ITranslatorInfo::GetLastError, code.put(), message1.put(), message2.put()))) return hr;
    if (message1.empty()) return hr;
    platform::leaveErrorText(message2.empty() ? message1.text() : message1.text() + u" " + message2.text());
    return hr;
}

// Calls `body` with the translator.
template <class F> HRESULT withTranslator(IUnknown* pTrans, F&& body) noexcept
{
    if (!pTrans) return E_POINTER;
    return com::guarded([&] {
        const auto translator = com::Ptr<IUnknown>(pTrans).as<ITranslator>();
        return withReason(translator, body(translator));
    });
}

// A translator without batches returns E_NOTIMPL, which is not a failure here.
HRESULT ofBatch(HRESULT hr) noexcept { return hr == E_NOTIMPL ? S_OK : hr; }

// Finds the first field of the type; returns E_FAIL if there is none.
HRESULT findField(const com::Ptr<ITranslator>& translator, _FieldTypes wanted, GUID& found)
{
    const auto list = translator.as<IFieldList>();
    const auto properties = translator.as<IField>();
    LONG count = 0;
    HRESULT hr = com::call(list, &IFieldList::GetCount, &count);
    for (LONG i = 0; SUCCEEDED(hr) && i < count; ++i) {
        LONG type = 0;
        hr = com::call(list, &IFieldList::GetFieldByIndex, i, &found);
        if (SUCCEEDED(hr)) hr = com::call(properties, &IField::GetFieldType, found, &type);
        if (SUCCEEDED(hr) && type == static_cast<LONG>(wanted)) return S_OK;
    }
    return FAILED(hr) ? hr : E_FAIL;
}

HRESULT openSide(REFGUID map, _TransIds side, com::Ptr<ITranslator>& translator)
{
    com::Ptr<ITrMap> maps;
    com::Ptr<ITrMapEntry> loader;
    GUID ids[2]{};
    HRESULT hr = createClass(__uuidof(TrManager), maps);
    if (SUCCEEDED(hr)) hr = createClass(__uuidof(TrManager), loader);
    if (SUCCEEDED(hr)) hr = com::call(maps, &ITrMap::GetTranslators, map, &ids[0], &ids[1]);
    if (SUCCEEDED(hr)) hr = com::call(loader, &ITrMapEntry::Load, ids[side - idTrans1], translator.put());
    // In a map that a script created, the side may have no store configured; its translator is then asked to choose one.
    com::Ptr<ITrServices> services;
    if (SUCCEEDED(hr)) hr = MakeServices(map, side, services);
    if (FAILED(hr)) return hr;
    com::Bstr database;
    const bool configured =
        SUCCEEDED(com::call(services.as<IDataStream>(), &IDataStream::GetString, com::Bstr(u"Database").get(), database.put())) &&
        !database.empty();
    hr = com::call(translator, &ITranslator::Initialize, services.get(), nullptr, configured ? VARIANT_FALSE : VARIANT_TRUE);
    return withReason(translator, SUCCEEDED(hr) ? ofBatch(com::call(translator, &ITranslator::BeginUpdate)) : hr);
}

} // namespace

HRESULT STDMETHODCALLTYPE CSyncAutoTest::BeginUpdate(BSTR lpMapGuid, _TransIds nId, IUnknown** ppTrans)
{
    if (!ppTrans) return E_POINTER;
    *ppTrans = nullptr;
    if (nId != idTrans1 && nId != idTrans2) return E_INVALIDARG;
    return com::guarded([&] {
        GUID map{};
        com::Ptr<ITranslator> translator;
        HRESULT hr = ParseMapGuid(lpMapGuid, map);
        if (SUCCEEDED(hr)) hr = openSide(map, nId, translator);
        if (SUCCEEDED(hr)) *ppTrans = translator.detach();
        return hr;
    });
}

HRESULT STDMETHODCALLTYPE CSyncAutoTest::GetRecordCount(IUnknown* pTrans, LONG* pCount)
{
    if (!pCount) return E_POINTER;
    return withTranslator(pTrans, [&](const auto& translator) { return translator->GetRecordCount(pCount); });
}

HRESULT STDMETHODCALLTYPE CSyncAutoTest::GetRecordID(IUnknown* pTrans, LONG nIndex, BSTR* ppRecID)
{
    if (!ppRecID) return E_POINTER;
    return withTranslator(pTrans, [&](const auto& translator) { return translator->GetRecordID(nIndex, ppRecID); });
}

HRESULT STDMETHODCALLTYPE CSyncAutoTest::FindRecord(IUnknown* pTrans, BSTR lpRecID, VARIANT_BOOL* pbFound)
{
    if (!pbFound) return E_POINTER;
    const HRESULT hr = withTranslator(pTrans, [&](const auto& translator) { return translator->FindRecord(lpRecID); });
    *pbFound = SUCCEEDED(hr) ? VARIANT_TRUE : VARIANT_FALSE;
    return hr;
}

HRESULT STDMETHODCALLTYPE CSyncAutoTest::BeginReadRecord(IUnknown* pTrans, BSTR lpRecID)
{
    return withTranslator(pTrans, [&](const auto& translator) { return translator->BeginReadRecord(lpRecID); });
}

HRESULT STDMETHODCALLTYPE CSyncAutoTest::EndReadRecord(IUnknown* pTrans, BSTR lpRecID)
{
    return withTranslator(pTrans, [&](const auto& translator) { return translator->EndReadRecord(lpRecID); });
}

HRESULT STDMETHODCALLTYPE CSyncAutoTest::AddRecord(IUnknown* pTrans, BSTR* ppRecID)
{
    if (!ppRecID) return E_POINTER;
    return withTranslator(pTrans, [&](const auto& translator) { return translator->BeginAddRecord(ppRecID); });
}

HRESULT STDMETHODCALLTYPE CSyncAutoTest::EditRecord(IUnknown* pTrans, BSTR lpRecID)
{
    return withTranslator(pTrans, [&](const auto& translator) { return translator->BeginEditRecord(lpRecID); });
}

HRESULT STDMETHODCALLTYPE CSyncAutoTest::SaveRecord(IUnknown* pTrans, BSTR* ppRecID)
{
    if (!ppRecID) return E_POINTER;
    return withTranslator(pTrans, [&](const auto& translator) { return translator->SaveRecord(ppRecID); });
}

HRESULT STDMETHODCALLTYPE CSyncAutoTest::DeleteRecord(IUnknown* pTrans, BSTR lpRecID)
{
    return withTranslator(pTrans, [&](const auto& translator) { return translator->DeleteRecord(lpRecID); });
}

HRESULT STDMETHODCALLTYPE CSyncAutoTest::ReadField(IUnknown* pTrans, BSTR lpRecID, _FieldTypes ft, BSTR* ppValue)
{
    if (!ppValue) return E_POINTER;
    *ppValue = nullptr;
    return withTranslator(pTrans, [&](const auto& translator) {
        GUID field{};
        com::Variant value;
        HRESULT hr = findField(translator, ft, field);
        if (SUCCEEDED(hr)) hr = translator->ReadField(lpRecID, field, value.put());
        if (SUCCEEDED(hr)) com::give(ppValue, value.text());
        return hr;
    });
}

HRESULT STDMETHODCALLTYPE CSyncAutoTest::WriteField(IUnknown* pTrans, BSTR lpRecID, _FieldTypes ft, BSTR lpValue)
{
    return withTranslator(pTrans, [&](const auto& translator) {
        GUID field{};
        const HRESULT hr = findField(translator, ft, field);
        return SUCCEEDED(hr) ? translator->WriteField(lpRecID, field, com::Variant(com::viewOf(lpValue))) : hr;
    });
}

HRESULT STDMETHODCALLTYPE CSyncAutoTest::EndUpdate(IUnknown* pTrans, VARIANT_BOOL bAbort)
{
    return withTranslator(pTrans, [&](const auto& translator) {
        const HRESULT hr = ofBatch(translator->EndUpdate(bAbort));
        return SUCCEEDED(hr) ? translator->Cleanup() : hr;
    });
}

} // namespace mb
