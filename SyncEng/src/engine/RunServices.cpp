#include "engine/RunServices.h"

#include "foundation/ClassTable.h"

namespace mb {

CRunServices::CRunServices(IUnknown* outer) : Object(outer)
{
    com::check(createClass(__uuidof(TrServices), controlling(), __uuidof(IUnknown), services_.putVoid()));
}

void CRunServices::join(RunReport& report, Side side) noexcept
{
    report_ = &report;
    side_ = side;
}

HRESULT STDMETHODCALLTYPE CRunServices::LeftOut(BSTR text)
{
    return com::guarded([&] {
        if (report_) report_->leftOut(side_, com::textOf(text));
    });
}

HRESULT STDMETHODCALLTYPE CRunServices::Note(BSTR text)
{
    return com::guarded([&] {
        if (report_) report_->noted(side_, com::textOf(text));
    });
}

// QueryInterface of the part has counted a reference on this object. It is released, because the caller adds its own.
IUnknown* CRunServices::findOther(REFIID riid) noexcept
{
    void* found = nullptr;
    if (FAILED(services_->QueryInterface(riid, &found))) return nullptr;
    controlling()->Release();
    return static_cast<IUnknown*>(found);
}

} // namespace mb
