// The services object for a translator, in memory: its settings and the log.
#pragma once
#include "interfaces.h"
#include <map>
#include <string>
#include <vector>

namespace mbtest {

class FakeServices : public com::Object<ITrServices, IDataStream, ILogFile> {
public:
    explicit FakeServices(IUnknown* outer) noexcept : Object(outer) {}
    std::map<std::u16string, std::u16string> values; // numbers and GUIDs as texts
    std::vector<std::u16string> logged;

    // IDataStream
    HRESULT STDMETHODCALLTYPE SetParams(BSTR, REFGUID) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE GetString(BSTR lpKey, BSTR* lpValue) override;
    HRESULT STDMETHODCALLTYPE GetInt(BSTR lpKey, LONG* pValue) override;
    HRESULT STDMETHODCALLTYPE SetString(BSTR lpKey, BSTR lpValue) override;
    HRESULT STDMETHODCALLTYPE SetInt(BSTR lpKey, LONG nValue) override;
    HRESULT STDMETHODCALLTYPE DeleteKey(BSTR lpKey) override;
    HRESULT STDMETHODCALLTYPE Clear() override;
    HRESULT STDMETHODCALLTYPE CleanUpUserCfg() override { return S_OK; }
    HRESULT STDMETHODCALLTYPE GetGuid(BSTR lpKey, GUID* pGuid) override;
    HRESULT STDMETHODCALLTYPE SetGuid(BSTR lpKey, REFGUID guid) override;
    HRESULT STDMETHODCALLTYPE GetHistoryVersion(LONG* pVersion) override;

    // ILogFile
    HRESULT STDMETHODCALLTYPE AppendString(BSTR pString) override;
    HRESULT STDMETHODCALLTYPE Flush() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE ClearLog() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Delete() override { return E_NOTIMPL; }

private:
    [[nodiscard]] const std::u16string* find(BSTR key) const;
};

} // namespace mbtest
