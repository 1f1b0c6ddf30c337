#include "FakeServices.h"

#include "text.h"

namespace mbtest {

using com::guarded;

const std::u16string* FakeServices::find(BSTR key) const
{
    const auto at = values.find(com::textOf(key));
    return at == values.end() ? nullptr : &at->second;
}

HRESULT STDMETHODCALLTYPE FakeServices::GetString(BSTR lpKey, BSTR* lpValue)
{
    if (!lpValue) return E_POINTER;
    return guarded([&] {
        const std::u16string* value = find(lpKey);
        com::give(lpValue, value ? std::u16string_view(*value) : std::u16string_view());
        return value ? S_OK : E_FAIL;
    });
}

HRESULT STDMETHODCALLTYPE FakeServices::GetInt(BSTR lpKey, LONG* pValue)
{
    if (!pValue) return E_POINTER;
    return guarded([&] {
        const std::u16string* value = find(lpKey);
        if (!value) return E_FAIL;
        *pValue = static_cast<LONG>(std::stol(platform::utf8(*value)));
        return S_OK;
    });
}

HRESULT STDMETHODCALLTYPE FakeServices::SetString(BSTR lpKey, BSTR lpValue)
{
    return guarded([&] { values[com::textOf(lpKey)] = com::textOf(lpValue); });
}

HRESULT STDMETHODCALLTYPE FakeServices::SetInt(BSTR lpKey, LONG nValue)
{
    return guarded([&] { values[com::textOf(lpKey)] = platform::utf16(std::to_string(nValue)); });
}

HRESULT STDMETHODCALLTYPE FakeServices::DeleteKey(BSTR lpKey)
{
    return guarded([&] { return values.erase(com::textOf(lpKey)) ? S_OK : E_FAIL; });
}

HRESULT STDMETHODCALLTYPE FakeServices::Clear()
{
    values.clear();
    return S_OK;
}

HRESULT STDMETHODCALLTYPE FakeServices::GetGuid(BSTR lpKey, GUID* pGuid)
{
    if (!pGuid) return E_POINTER;
    return guarded([&] {
        const std::u16string* value = find(lpKey);
        return value ? com::parseGuid(*value, pGuid) : E_FAIL;
    });
}

HRESULT STDMETHODCALLTYPE FakeServices::SetGuid(BSTR lpKey, REFGUID guid)
{
    return guarded([&] { values[com::textOf(lpKey)] = com::guidText(guid); });
}

HRESULT STDMETHODCALLTYPE FakeServices::GetHistoryVersion(LONG* pVersion)
{
    if (!pVersion) return E_POINTER;
    *pVersion = -1;
    return S_OK;
}

HRESULT STDMETHODCALLTYPE FakeServices::AppendString(BSTR pString)
{
    return guarded([&] { logged.push_back(com::textOf(pString)); });
}

} // namespace mbtest
