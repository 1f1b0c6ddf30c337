// Forwards every call to the module's TrManager. A test can replace the results of GetOption, even by results that the module never
// returns. Install it with a ClassOverride of TrManager.
#pragma once
#include "interfaces.h"

#include <functional>

namespace mbtest {

class TrMapProxy final : public com::Object<ITrMap> {
public:
    explicit TrMapProxy(IUnknown* outer);
    // Answers GetOption in place of the module; S_FALSE forwards the call.
    static inline std::function<HRESULT(LONG option, VARIANT& value)> answer;

    HRESULT STDMETHODCALLTYPE GetOption(REFGUID map, LONG option, VARIANT* value) override
    {
        const HRESULT hr = answer ? answer(option, *value) : S_FALSE;
        return hr == S_FALSE ? own_->GetOption(map, option, value) : hr;
    }

    HRESULT STDMETHODCALLTYPE Create(REFGUID a, REFGUID b, GUID* c) override { return own_->Create(a, b, c); }
    HRESULT STDMETHODCALLTYPE GetName(REFGUID a, VARIANT_BOOL b, BSTR* c) override { return own_->GetName(a, b, c); }
    HRESULT STDMETHODCALLTYPE GetTranslators(REFGUID a, GUID* b, GUID* c) override { return own_->GetTranslators(a, b, c); }
    HRESULT STDMETHODCALLTYPE GetFieldMap(REFGUID a, GUID* b) override { return own_->GetFieldMap(a, b); }
    HRESULT STDMETHODCALLTYPE SetFieldMap(REFGUID a, REFGUID b) override { return own_->SetFieldMap(a, b); }
    HRESULT STDMETHODCALLTYPE SetOption(REFGUID a, LONG b, VARIANT c) override { return own_->SetOption(a, b, c); }
    HRESULT STDMETHODCALLTYPE ConfigureTranslator(REFGUID a, _TransIds b, HWND c, BSTR* d) override
    {
        return own_->ConfigureTranslator(a, b, c, d);
    }
    HRESULT STDMETHODCALLTYPE GetCurrentDatabase(REFGUID a, BSTR* b, BSTR* c) override { return own_->GetCurrentDatabase(a, b, c); }
    HRESULT STDMETHODCALLTYPE SetDatabase(REFGUID a, _TransIds b, BSTR c) override { return own_->SetDatabase(a, b, c); }
    HRESULT STDMETHODCALLTYPE GetLastSyncDatabase(REFGUID a, BSTR* b, BSTR* c) override { return own_->GetLastSyncDatabase(a, b, c); }
    HRESULT STDMETHODCALLTYPE GetLastSyncTime(REFGUID a, DATE* b) override { return own_->GetLastSyncTime(a, b); }
    HRESULT STDMETHODCALLTYPE LoadTranslator(REFGUID a, _TransIds b, HWND c, VARIANT_BOOL d, ITranslator** e) override
    {
        return own_->LoadTranslator(a, b, c, d, e);
    }
    HRESULT STDMETHODCALLTYPE ConfigureTranslator2(REFGUID a, _TransIds b, HWND c, BSTR* d, VARIANT* e, BSTR* f, BSTR* g) override
    {
        return own_->ConfigureTranslator2(a, b, c, d, e, f, g);
    }
    HRESULT STDMETHODCALLTYPE CreateEx(REFGUID a, REFGUID b, REFGUID c) override { return own_->CreateEx(a, b, c); }
    HRESULT STDMETHODCALLTYPE GetLastSyncStatus(REFGUID a, VARIANT_BOOL* b) override { return own_->GetLastSyncStatus(a, b); }
    HRESULT STDMETHODCALLTYPE GetShortLongNameDescription(REFGUID a, BSTR* b, BSTR* c, BSTR* d) override
    {
        return own_->GetShortLongNameDescription(a, b, c, d);
    }
    HRESULT STDMETHODCALLTYPE GetConfiguredTranslator(REFGUID a, _TransIds b, ITranslator** c) override
    {
        return own_->GetConfiguredTranslator(a, b, c);
    }
    HRESULT STDMETHODCALLTYPE SetLastSyncTime(REFGUID a, DATE b) override { return own_->SetLastSyncTime(a, b); }
    HRESULT STDMETHODCALLTYPE GetCategoryGuid(REFGUID a, GUID* b) override { return own_->GetCategoryGuid(a, b); }
    HRESULT STDMETHODCALLTYPE SetCategoryGuid(REFGUID a, REFGUID b) override { return own_->SetCategoryGuid(a, b); }
    HRESULT STDMETHODCALLTYPE GetHistoryCategories(REFGUID a, _TransIds b, SAFEARRAY** c, SAFEARRAY** d) override
    {
        return own_->GetHistoryCategories(a, b, c, d);
    }
    HRESULT STDMETHODCALLTYPE GetNameAvailability(REFGUID a, VARIANT_BOOL b, BSTR* c, LONG* d) override
    {
        return own_->GetNameAvailability(a, b, c, d);
    }
    HRESULT STDMETHODCALLTYPE SetLastSyncDatabases(REFGUID a, BSTR b, BSTR c) override { return own_->SetLastSyncDatabases(a, b, c); }
    HRESULT STDMETHODCALLTYPE ConfigureFieldMapping(HWND a, REFGUID b, VARIANT_BOOL c) override
    {
        return own_->ConfigureFieldMapping(a, b, c);
    }
    HRESULT STDMETHODCALLTYPE SetFieldMapStatusForHistRecs(REFGUID a, BSTR b, VARIANT_BOOL c) override
    {
        return own_->SetFieldMapStatusForHistRecs(a, b, c);
    }
    HRESULT STDMETHODCALLTYPE GetNameImageSupport(REFGUID a, VARIANT_BOOL b, BSTR* c, VARIANT_BOOL* d) override
    {
        return own_->GetNameImageSupport(a, b, c, d);
    }

private:
    IUnknown* findOther(REFIID riid) noexcept override;
    com::Ptr<ITrMap> own_;
};

} // namespace mbtest
