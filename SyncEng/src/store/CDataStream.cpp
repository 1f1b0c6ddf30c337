#include "store/CDataStream.h"

#include "store/ConfigStore.h"

namespace mb {

HRESULT STDMETHODCALLTYPE CDataStream::SetParams(BSTR strType, REFGUID gTrMap)
{
    return com::guarded([&] {
        type_ = com::textOf(strType);
        section_ = com::guidText(gTrMap);
    });
}

HRESULT STDMETHODCALLTYPE CDataStream::GetString(BSTR lpKey, BSTR* lpValue)
{
    if (!lpValue) return E_POINTER;
    *lpValue = nullptr;
    return com::guarded([&] {
        std::u16string value;
        const HRESULT hr = ConfigStore().ReadValue(type_, section_, com::viewOf(lpKey), value);
        com::give(lpValue, value); // an absent key gives the empty text, never null
        return hr;
    });
}

HRESULT STDMETHODCALLTYPE CDataStream::GetInt(BSTR lpKey, LONG* pValue)
{
    if (!pValue) return E_POINTER;
    return com::guarded([&] { return ConfigStore().ReadInt(type_, section_, com::viewOf(lpKey), *pValue); });
}

HRESULT STDMETHODCALLTYPE CDataStream::SetString(BSTR lpKey, BSTR lpValue)
{
    return com::guarded([&] { return ConfigStore().WriteValue(type_, section_, com::viewOf(lpKey), com::viewOf(lpValue), false, true); });
}

HRESULT STDMETHODCALLTYPE CDataStream::SetInt(BSTR lpKey, LONG nValue)
{
    return com::guarded([&] { return ConfigStore().WriteInt(type_, section_, com::viewOf(lpKey), nValue, false, true); });
}

HRESULT STDMETHODCALLTYPE CDataStream::DeleteKey(BSTR lpKey)
{
    return com::guarded([&] { return ConfigStore().RemoveKey(type_, section_, com::viewOf(lpKey)); });
}

HRESULT STDMETHODCALLTYPE CDataStream::Clear()
{
    return com::guarded([&] { return ConfigStore().RemoveSection(type_, section_, true); });
}

HRESULT STDMETHODCALLTYPE CDataStream::CleanUpUserCfg()
{
    return com::guarded([&] { return CloseConfigStore(); });
}

HRESULT STDMETHODCALLTYPE CDataStream::GetGuid(BSTR lpKey, GUID* pGuid)
{
    if (!pGuid) return E_POINTER;
    return com::guarded([&] { return ConfigStore().ReadGuid(type_, section_, com::viewOf(lpKey), *pGuid); });
}

HRESULT STDMETHODCALLTYPE CDataStream::SetGuid(BSTR lpKey, REFGUID guid)
{
    return com::guarded([&] { return ConfigStore().WriteGuid(type_, section_, com::viewOf(lpKey), guid, false, true); });
}

HRESULT STDMETHODCALLTYPE CDataStream::GetHistoryVersion(LONG* pVersion)
{
    if (!pVersion) return E_POINTER;
    return com::guarded([&] { return ConfigStore().GetVersion(*pVersion); });
}

} // namespace mb
