// The class DataStream: the configuration store for plug-ins and hosts. It reads and writes the type and section chosen by SetParams.
#pragma once
#include "interfaces.h"
#include <string>

namespace mb {

class CDataStream final : public com::Object<IDataStream> {
public:
    explicit CDataStream(IUnknown* outer) noexcept : Object(outer) {}
    HRESULT STDMETHODCALLTYPE SetParams(BSTR strType, REFGUID gTrMap) override;
    HRESULT STDMETHODCALLTYPE GetString(BSTR lpKey, BSTR* lpValue) override;
    HRESULT STDMETHODCALLTYPE GetInt(BSTR lpKey, LONG* pValue) override;
    HRESULT STDMETHODCALLTYPE SetString(BSTR lpKey, BSTR lpValue) override;
    HRESULT STDMETHODCALLTYPE SetInt(BSTR lpKey, LONG nValue) override;
    HRESULT STDMETHODCALLTYPE DeleteKey(BSTR lpKey) override;
    HRESULT STDMETHODCALLTYPE Clear() override;
    HRESULT STDMETHODCALLTYPE CleanUpUserCfg() override;
    HRESULT STDMETHODCALLTYPE GetGuid(BSTR lpKey, GUID* pGuid) override;
    HRESULT STDMETHODCALLTYPE SetGuid(BSTR lpKey, REFGUID guid) override;
    HRESULT STDMETHODCALLTYPE GetHistoryVersion(LONG* pVersion) override;

private:
    std::u16string type_, section_;
};

} // namespace mb
