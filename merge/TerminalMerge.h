// The merge component for the terminal: the user picks for each field the value of one side, or types one.
#pragma once
#include "console.h"
#include "interfaces.h"
#include <vector>

namespace mb::merge {

struct MergeField {
    std::u16string label, value1, value2;
    std::u16string merged; // what the user decided
};

// Asks about each field in which the sides differ. False if the user gave up, or nobody answers.
bool AskForFields(platform::Console& console, std::u16string_view name1, std::u16string_view name2, std::vector<MergeField>& fields);

class TerminalMerge final : public com::Object<com::Dual<IMergeDialog>> {
public:
    explicit TerminalMerge(IUnknown* outer) noexcept : Object(outer) {}
    HRESULT STDMETHODCALLTYPE SetFrontImages(BSTR image2, BSTR image1) override;
    HRESULT STDMETHODCALLTYPE SetBackImages(BSTR image2, BSTR image1) override;
    HRESULT STDMETHODCALLTYPE UnusedSlot3() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE AddField(BSTR label, BSTR value2, BSTR empty, BSTR value1) override;
    HRESULT STDMETHODCALLTYPE SetLanguage(BSTR) override { return S_OK; } // it speaks English
    HRESULT STDMETHODCALLTYPE ShowMergeDialog(LONG parent, BSTR title, BSTR names, LONG helpTopic, LONG zero, VARIANT_BOOL showImages,
                                              BSTR helpFile, BSTR empty1, BSTR empty2, BSTR empty3, LONG* pResult) override;
    HRESULT STDMETHODCALLTYPE UnusedSlot7() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetMergedFields(BSTR* ppFields) override;
    HRESULT STDMETHODCALLTYPE GetFrontImage(BSTR* ppPath) override;
    HRESULT STDMETHODCALLTYPE GetBackImage(BSTR* ppPath) override;

private:
    std::vector<MergeField> fields_;
    std::u16string front_, back_; // a terminal shows no pictures: that of side 1 is kept, or else that of side 2
};

} // namespace mb::merge
