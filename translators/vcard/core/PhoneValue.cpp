#include "PhoneValue.h"

#include <algorithm>

namespace mb::vcard {
namespace {

constexpr std::u16string_view kScheme = u"tel:", kParam = u";ext=", kWord = u" ext. ";

bool isDigit(char16_t c) { return c >= u'0' && c <= u'9'; }

// Digits with the separators that a tel: URI allows, and at least one digit.
bool isNumber(std::u16string_view text)
{
    const auto allowed = [](char16_t c) { return isDigit(c) || std::u16string_view(u"-.()").find(c) != std::u16string_view::npos; };
    return std::ranges::all_of(text, allowed) && std::ranges::any_of(text, isDigit);
}

// ";name=value" any number of times.
bool areParams(std::u16string_view text)
{
    const auto allowed = [](char16_t c) {
        const auto letter = static_cast<char16_t>(c | 32);
        return isDigit(c) || (letter >= u'a' && letter <= u'z') || std::u16string_view(u";=+-.%").find(c) != std::u16string_view::npos;
    };
    return text.empty() || (text.starts_with(u';') && std::ranges::all_of(text, allowed));
}

bool hasScheme(std::u16string_view text)
{
    const auto same = [](char16_t scheme, char16_t c) { return scheme == c || (scheme != u':' && scheme == (c | 32)); };
    return text.size() >= kScheme.size() && std::ranges::equal(kScheme, text.substr(0, kScheme.size()), same);
}

} // namespace

std::u16string readPhone(std::u16string_view text)
{
    if (!hasScheme(text)) return std::u16string(text);
    std::u16string number(text.substr(kScheme.size()));
    const std::size_t at = number.find(kParam);
    if (at != number.npos && isNumber(std::u16string_view(number).substr(at + kParam.size()))) number.replace(at, kParam.size(), kWord);
    return number;
}

std::optional<std::u16string> phoneUri(std::u16string_view text)
{
    std::u16string uri(kScheme);
    uri += text;
    if (const std::size_t at = uri.find(kWord); at != uri.npos) uri.replace(at, kWord.size(), kParam);
    std::u16string_view number = std::u16string_view(uri).substr(kScheme.size());
    if (number.starts_with(u'+')) number.remove_prefix(1);
    const std::size_t params = std::min(number.find(u';'), number.size());
    if (!isNumber(number.substr(0, params)) || !areParams(number.substr(params)) || readPhone(uri) != text) return std::nullopt;
    return uri;
}

} // namespace mb::vcard
