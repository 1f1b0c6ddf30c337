#include "engine/duplicates/MatchRules.h"

#include "foundation/FieldValue.h"
#include "interfaces.h"
#include "text.h"

namespace mb {

int WordPrefixScore(std::u16string_view a, std::u16string_view b, std::size_t length, int& words)
{
    words = 0;
    if (length < 1 || a.empty() || b.empty()) return 0;
    int matches = 0;
    for (std::u16string_view rest = a;;) {
        const std::size_t blank = rest.find(u' ');
        if (blank == std::u16string_view::npos) break;
        if (blank >= length) {
            ++words;
            if (b.find(rest.substr(0, length)) != std::u16string_view::npos) ++matches;
        }
        if (blank + 1 == rest.size()) break;
        rest.remove_prefix(blank + 1);
    }
    return matches;
}

std::u16string FitToField(std::u16string_view value, ULONG flags, ULONG maxLength)
{
    std::u16string fitted = (flags & ffReplaceNewLine) ? ReplaceLineBreaks(value) : std::u16string(value);
    if (maxLength != 0 && maxLength != 0xFFFFFFFF && fitted.size() > maxLength) fitted.resize(maxLength);
    return fitted;
}

std::u16string FitForTarget(std::u16string_view value, LONG type, ULONG flags, ULONG maxLength)
{
    return PrefixWebAddress(FitToField(value, flags, maxLength), type);
}

std::u16string AlnumOnly(std::u16string_view value)
{
    std::u16string kept;
    kept.reserve(value.size());
    for (const char16_t c : value)
        if (platform::isAlnum(c)) kept += c;
    return kept;
}

bool sameAlnum(std::u16string_view a, std::u16string_view b) { return a == b || platform::foldedAlnum(a) == platform::foldedAlnum(b); }

} // namespace mb
