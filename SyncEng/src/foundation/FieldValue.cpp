#include "foundation/FieldValue.h"

#include "interfaces.h"
#include "text.h"

namespace mb {
namespace {

std::u16string replaced(std::u16string_view text, std::u16string_view from, std::u16string_view to)
{
    std::u16string out;
    out.reserve(text.size());
    for (std::size_t at; (at = text.find(from)) != std::u16string_view::npos; text.remove_prefix(at + from.size()))
        out.append(text.substr(0, at)).append(to);
    return out.append(text);
}

bool startsWithNoCase(std::u16string_view text, std::u16string_view prefix)
{
    return text.size() >= prefix.size() && platform::equalNoCase(text.substr(0, prefix.size()), prefix);
}

} // namespace

std::u16string TrimFieldValue(std::u16string_view text)
{
    const auto isBlank = [](char16_t c) { return c == u' '; };
    const auto isCr = [](char16_t c) { return c == u'\r'; };
    const auto isLf = [](char16_t c) { return c == u'\n'; };
    const auto isLineEnd = [](char16_t c) { return c == u'\r' || c == u'\n'; };
    const auto cutFront = [&](auto matches, std::size_t count) {
        while (!text.empty() && matches(text.front())) text.remove_prefix(std::min(count, text.size()));
    };
    const auto cutBack = [&](auto matches) {
        while (!text.empty() && matches(text.back())) text.remove_suffix(1);
    };
    cutFront(isBlank, 1);
    cutBack(isBlank);
    cutFront(isLineEnd, 2); // Quirk kept on purpose: removes also the character behind a lone CR or LF.
    cutBack(isLineEnd);
    cutFront(isCr, 1);
    cutBack(isCr);
    cutFront(isLf, 1);
    cutBack(isLf);
    return std::u16string(text);
}

std::u16string PrefixWebAddress(std::u16string_view text, LONG fieldType)
{
    if (fieldType != ftWebPage || startsWithNoCase(text, u"http://") || startsWithNoCase(text, u"https://")) return std::u16string(text);
    return u"http://" + std::u16string(text);
}

std::u16string EscapeQuotes(std::u16string_view text) { return replaced(text, u"\"", u"&quot;"); }

std::u16string ReplaceLineBreaks(std::u16string_view text)
{
    return replaced(replaced(replaced(text, u"\r\n", u" "), u"\r", u" "), u"\n", u" ");
}

std::u16string TruncateText(std::u16string_view text, std::size_t maxLength, bool addEllipsis)
{
    if (text.size() <= maxLength) return std::u16string(text);
    return std::u16string(text.substr(0, maxLength)) + (addEllipsis ? u"..." : u"");
}

std::u16string CategoriesForDisplay(std::u16string_view text)
{
    std::u16string out;
    bool changed = false;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const bool comma = text[at] == u',', last = at + 1 == text.size();
        if (comma && last) break;
        out += text[at];
        if (!comma || text[at + 1] == u' ') continue;
        out += u' ';
        changed = true;
    }
    return changed ? out : std::u16string(text);
}

std::u16string CategoriesFromDisplay(std::u16string_view text) { return replaced(text, u", ", u","); }

std::u16string LowerJoin(std::u16string_view first, std::u16string_view second, std::u16string_view third)
{
    return std::u16string(first) + platform::lowered(second) + platform::lowered(third);
}

} // namespace mb
