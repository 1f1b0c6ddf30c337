// The services of the engine as the plug-in sees them: settings and a log, kept in memory.
#pragma once
#include "interfaces.h"

#include <map>
#include <string>

namespace mb::cardfile {

class PluginServices final : public com::Object<ITrServices, IDataStream, ILogFile> {
public:
    explicit PluginServices(IUnknown* outer) noexcept : Object(outer) {}
    std::map<std::u16string, std::u16string> values;

    HRESULT STDMETHODCALLTYPE SetParams(BSTR, REFGUID) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE GetString(BSTR key, BSTR* value) override
    {
        const auto found = values.find(com::textOf(key));
        com::give(value, found == values.end() ? std::u16string_view() : found->second);
        return found == values.end() ? E_FAIL : S_OK;
    }
    HRESULT STDMETHODCALLTYPE SetString(BSTR key, BSTR value) override
    {
        values[com::textOf(key)] = com::textOf(value);
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetInt(BSTR, LONG*) override { return E_FAIL; }
    HRESULT STDMETHODCALLTYPE SetInt(BSTR, LONG) override { return E_FAIL; }
    HRESULT STDMETHODCALLTYPE DeleteKey(BSTR) override { return E_FAIL; }
    HRESULT STDMETHODCALLTYPE Clear() override { return E_FAIL; }
    HRESULT STDMETHODCALLTYPE CleanUpUserCfg() override { return E_FAIL; }
    HRESULT STDMETHODCALLTYPE GetGuid(BSTR, GUID*) override { return E_FAIL; }
    HRESULT STDMETHODCALLTYPE SetGuid(BSTR, REFGUID) override { return E_FAIL; }
    HRESULT STDMETHODCALLTYPE GetHistoryVersion(LONG*) override { return E_FAIL; }
    HRESULT STDMETHODCALLTYPE AppendString(BSTR) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE Flush() override { return S_OK; }
    HRESULT STDMETHODCALLTYPE ClearLog() override { return S_OK; }
    HRESULT STDMETHODCALLTYPE Delete() override { return S_OK; }
};

} // namespace mb::cardfile
