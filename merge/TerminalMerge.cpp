#include "TerminalMerge.h"

#include "console_text.h"
#include <algorithm>

namespace mb::merge {
namespace {

// The merged text is parted by tabs, so a value holds none.
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

void say(platform::Console& console, const std::u16string& text)
{
    console.write(platform::wrapped(platform::harmless(text), console.columns()));
}

// False if the input ended.
bool askForField(platform::Console& console, std::u16string_view name1, std::u16string_view name2, MergeField& field)
{
    say(console, field.label);
    say(console, u"  1 " + std::u16string(name1) + u": " + field.value1);
    say(console, u"  2 " + std::u16string(name2) + u": " + field.value2);
    for (;;) {
        console.write(u"[Enter: 1, = and a text of your own, ?: help] ");
        std::u16string line;
        if (!console.readLine(line)) return false;
        if (line.empty() || line == u"1") {
            field.merged = field.value1;
            return true;
        }
        if (line == u"2") {
            field.merged = field.value2;
            return true;
        }
        if (line.front() == u'=') {
            field.merged = withoutTabs(platform::harmless(std::u16string_view(line).substr(1)));
            return true;
        }
        say(console, u"1 takes the first value, 2 the second, =text takes the text, and = alone leaves the field empty. The end of the "
                     u"input (Ctrl-D) gives the merge up.");
    }
}

} // namespace

bool AskForFields(platform::Console& console, std::u16string_view name1, std::u16string_view name2, std::vector<MergeField>& fields)
{
    for (MergeField& field : fields) {
        if (field.value1 == field.value2) {
            field.merged = field.value1;
        } else if (!askForField(console, name1, name2, field)) {
            console.write(u"\n");
            return false;
        }
    }
    return true;
}

HRESULT STDMETHODCALLTYPE TerminalMerge::SetFrontImages(BSTR image2, BSTR image1)
{
    return com::guarded([&] { front_ = com::viewOf(image1).empty() ? com::textOf(image2) : com::textOf(image1); });
}

HRESULT STDMETHODCALLTYPE TerminalMerge::SetBackImages(BSTR image2, BSTR image1)
{
    return com::guarded([&] { back_ = com::viewOf(image1).empty() ? com::textOf(image2) : com::textOf(image1); });
}

HRESULT STDMETHODCALLTYPE TerminalMerge::AddField(BSTR label, BSTR value2, BSTR, BSTR value1)
{
    return com::guarded([&] {
        fields_.push_back({withoutTabs(com::viewOf(label)), withoutTabs(com::viewOf(value1)), withoutTabs(com::viewOf(value2)), {}});
    });
}

HRESULT STDMETHODCALLTYPE TerminalMerge::ShowMergeDialog(LONG, BSTR title, BSTR names, LONG, LONG, VARIANT_BOOL, BSTR, BSTR, BSTR, BSTR,
                                                         LONG* pResult)
{
    if (!pResult) return E_POINTER;
    *pResult = 1;
    return com::guarded([&] {
        const auto console = platform::openConsole();
        if (!console) return;
        const std::u16string_view both = com::viewOf(names);
        const std::size_t tab = std::min(both.find(u'\t'), both.size());
        const std::u16string_view name2 = both.substr(0, tab), name1 = both.substr(std::min(tab + 1, both.size()));
        console->write(u"\n");
        say(*console, com::textOf(title));
        if (AskForFields(*console, name1, name2, fields_)) *pResult = 0;
    });
}

HRESULT STDMETHODCALLTYPE TerminalMerge::GetMergedFields(BSTR* ppFields)
{
    if (!ppFields) return E_POINTER;
    *ppFields = nullptr;
    return com::guarded([&] {
        std::u16string text;
        for (const MergeField& field : fields_) text += (text.empty() ? u"" : u"\t") + field.label + u"\t" + field.merged;
        com::give(ppFields, text);
    });
}

HRESULT STDMETHODCALLTYPE TerminalMerge::GetFrontImage(BSTR* ppPath) { return givePath(ppPath, front_); }
HRESULT STDMETHODCALLTYPE TerminalMerge::GetBackImage(BSTR* ppPath) { return givePath(ppPath, back_); }

} // namespace mb::merge
