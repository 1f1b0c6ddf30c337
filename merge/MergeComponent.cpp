#include "MergeComponent.h"

#include <algorithm>

namespace mb::merge {
namespace {

// Tabs separate the merged fields, so a value must not contain any.
std::u16string withoutTabs(std::u16string_view text)
{
    std::u16string plain(text);
    std::ranges::replace(plain, u'\t', u' ');
    return plain;
}

HRESULT givePath(BSTR* out, const std::u16string& path)
{
    if (!out) return E_POINTER;
    *out = nullptr;
    return com::guarded([&] { com::give(out, path); });
}

} // namespace

HRESULT STDMETHODCALLTYPE MergeComponent::SetFrontImages(BSTR image2, BSTR image1)
{
    return com::guarded([&] { front_ = com::viewOf(image1).empty() ? com::textOf(image2) : com::textOf(image1); });
}

HRESULT STDMETHODCALLTYPE MergeComponent::SetBackImages(BSTR image2, BSTR image1)
{
    return com::guarded([&] { back_ = com::viewOf(image1).empty() ? com::textOf(image2) : com::textOf(image1); });
}

HRESULT STDMETHODCALLTYPE MergeComponent::AddField(BSTR label, BSTR value2, BSTR, BSTR value1)
{
    return com::guarded([&] {
        question_.fields.push_back(
            {withoutTabs(com::viewOf(label)), withoutTabs(com::viewOf(value1)), withoutTabs(com::viewOf(value2)), {}});
    });
}

HRESULT STDMETHODCALLTYPE MergeComponent::ShowMergeDialog(LONG parent, BSTR title, BSTR names, LONG, LONG, VARIANT_BOOL, BSTR, BSTR, BSTR,
                                                          BSTR, LONG* pResult)
{
    if (!pResult) return E_POINTER;
    *pResult = 1;
    return com::guarded([&] {
        const std::u16string_view both = com::viewOf(names);
        const std::size_t tab = std::min(both.find(u'\t'), both.size());
        question_.parent = reinterpret_cast<HWND>(static_cast<intptr_t>(parent));
        question_.title = com::textOf(title);
        question_.name2 = both.substr(0, tab);
        question_.name1 = both.substr(std::min(tab + 1, both.size()));
        if (!AskForMerge(question_)) return;
        for (MergeField& field : question_.fields) field.merged = withoutTabs(field.merged);
        *pResult = 0;
    });
}

HRESULT STDMETHODCALLTYPE MergeComponent::GetMergedFields(BSTR* ppFields)
{
    if (!ppFields) return E_POINTER;
    *ppFields = nullptr;
    return com::guarded([&] {
        std::u16string text;
        for (const MergeField& field : question_.fields) text += (text.empty() ? u"" : u"\t") + field.label + u"\t" + field.merged;
        com::give(ppFields, text);
    });
}

HRESULT STDMETHODCALLTYPE MergeComponent::GetFrontImage(BSTR* ppPath) { return givePath(ppPath, front_); }
HRESULT STDMETHODCALLTYPE MergeComponent::GetBackImage(BSTR* ppPath) { return givePath(ppPath, back_); }

} // namespace mb::merge
