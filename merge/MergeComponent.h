// The merge component receives both values of each field of a contact, asks the user, and returns the merged values.
#pragma once
#include "AskForMerge.h"
#include "interfaces.h"

namespace mb::merge {

class MergeComponent final : public com::Object<com::Dual<IMergeDialog>> {
public:
    explicit MergeComponent(IUnknown* outer) noexcept : Object(outer) {}
    HRESULT STDMETHODCALLTYPE SetFrontImages(BSTR image2, BSTR image1) override;
    HRESULT STDMETHODCALLTYPE SetBackImages(BSTR image2, BSTR image1) override;
    HRESULT STDMETHODCALLTYPE UnusedSlot3() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE AddField(BSTR label, BSTR value2, BSTR empty, BSTR value1) override;
    HRESULT STDMETHODCALLTYPE SetLanguage(BSTR) override { return S_OK; } // the component speaks English only
    HRESULT STDMETHODCALLTYPE ShowMergeDialog(LONG parent, BSTR title, BSTR names, LONG helpTopic, LONG zero, VARIANT_BOOL showImages,
                                              BSTR helpFile, BSTR empty1, BSTR empty2, BSTR empty3, LONG* pResult) override;
    HRESULT STDMETHODCALLTYPE UnusedSlot7() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetMergedFields(BSTR* ppFields) override;
    HRESULT STDMETHODCALLTYPE GetFrontImage(BSTR* ppPath) override;
    HRESULT STDMETHODCALLTYPE GetBackImage(BSTR* ppPath) override;

private:
    MergeQuestion question_;
    std::u16string front_, back_; // pictures are not asked about: the one of side 1 is kept, or else that of side 2
};

} // namespace mb::merge
