#include "Value.h"

#include "CanonicalValue.h"
#include "Charset.h"

#include <algorithm>

namespace mb::vcard {
namespace {

bool isDigit(char16_t c) { return c >= u'0' && c <= u'9'; }

bool hasEscapes(Version version, bool structured) { return version != Version::V21 || structured; }

// Returns whether the text is yyyymmdd with a possible month and day.
bool isFullDate(std::u16string_view digits)
{
    if (digits.size() != 8 || !std::all_of(digits.begin(), digits.end(), isDigit)) return false;
    const int month = (digits[4] - u'0') * 10 + (digits[5] - u'0'), day = (digits[6] - u'0') * 10 + (digits[7] - u'0');
    return month >= 1 && month <= 12 && day >= 1 && day <= 31;
}

std::u16string digitsOfDate(std::u16string_view text)
{
    const std::size_t time = text.find_first_of(u"Tt ");
    const std::u16string_view date = text.substr(0, time);
    if (date.size() == 8) return std::u16string(date);
    if (date.size() != 10 || date[4] != u'-' || date[7] != u'-') return {};
    return std::u16string(date.substr(0, 4)).append(date.substr(5, 2)).append(date.substr(8, 2));
}

} // namespace

std::u16string unescape(std::u16string_view text, Version version, bool structured)
{
    if (!hasEscapes(version, structured) || text.find(u'\\') == text.npos) return std::u16string(text);
    const std::u16string_view known = version == Version::V21 ? u"\\;:," : u"\\;:,\"";
    std::u16string plain;
    plain.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != u'\\' || i + 1 == text.size()) {
            plain += text[i];
            continue;
        }
        const char16_t c = text[i + 1];
        if (known.find(c) != known.npos)
            plain += c;
        else if ((c == u'n' || c == u'N') && version != Version::V21)
            plain += u'\n';
        else
            plain.append({u'\\', c});
        ++i;
    }
    return plain;
}

std::u16string escape(std::u16string_view text, Version version, bool structured)
{
    if (!hasEscapes(version, structured)) return std::u16string(text);
    const std::u16string_view marked = version == Version::V21 ? u"\\;" : u"\\;,";
    if (std::none_of(text.begin(), text.end(), [](char16_t c) { return c == u'\\' || c == u';' || c == u',' || c == u'\n'; }))
        return std::u16string(text);
    std::u16string escaped;
    escaped.reserve(text.size() + 8);
    for (const char16_t c : text) {
        if (c == u'\n' && version != Version::V21) {
            escaped += u"\\n";
            continue;
        }
        if (marked.find(c) != marked.npos) escaped += u'\\';
        escaped += c;
    }
    return escaped;
}

namespace {

// Returns the end of the part that begins at `at`.
std::size_t endOfPart(std::u16string_view text, char16_t separator, std::size_t at)
{
    while (at < text.size() && text[at] != separator) at += text[at] == u'\\' ? 2 : 1;
    return std::min(at, text.size());
}

bool endsInLoneBackslash(std::u16string_view text)
{
    const std::size_t last = text.find_last_not_of(u'\\');
    return (text.size() - (last == text.npos ? 0 : last + 1)) % 2 != 0;
}

} // namespace

std::vector<std::u16string> splitEscaped(std::u16string_view text, char16_t separator)
{
    std::vector<std::u16string> parts;
    for (std::size_t at = 0;;) {
        const std::size_t end = endOfPart(text, separator, at);
        parts.emplace_back(text.substr(at, end - at));
        if (end == text.size()) return parts;
        at = end + 1;
    }
}

std::u16string withPart(std::u16string_view text, char16_t separator, std::size_t part, std::u16string_view value, std::size_t least)
{
    std::u16string ended; // a trailing backslash would escape the separator appended to it
    if (endsInLoneBackslash(text)) text = ended = std::u16string(text) + u'\\';
    std::size_t begin = 0, end = endOfPart(text, separator, 0), count = 0; // `count` parts precede [begin, end)
    for (; count < part && end < text.size(); ++count) {
        begin = end + 1;
        end = endOfPart(text, separator, begin);
    }
    std::u16string changed;
    changed.reserve(text.size() + value.size() + std::max(part, least));
    if (count == part)
        changed.append(text.substr(0, begin)).append(value).append(text.substr(end));
    else
        changed.append(text).append(part - count, separator).append(value);
    std::size_t parts = part + 1;
    for (; end < text.size() && count == part; ++parts) end = endOfPart(text, separator, end + 1);
    return parts < least ? changed.append(least - parts, separator) : changed;
}

std::u16string withoutEmptyTail(std::u16string text, char16_t separator)
{
    std::size_t kept = 0;
    for (std::size_t at = 0;;) {
        const std::size_t end = endOfPart(text, separator, at);
        if (end > at || at == 0) kept = end;
        if (end == text.size()) break;
        at = end + 1;
    }
    text.resize(kept);
    return text;
}

std::u16string_view escapedPart(std::u16string_view text, char16_t separator, std::size_t part)
{
    for (std::size_t at = 0;; --part) {
        const std::size_t end = endOfPart(text, separator, at);
        if (part == 0) return text.substr(at, end - at);
        if (end == text.size()) return {};
        at = end + 1;
    }
}

std::u16string join(const std::vector<std::u16string>& parts, std::u16string_view separator)
{
    std::u16string text;
    for (std::size_t i = 0; i < parts.size(); ++i) text.append(i ? separator : std::u16string_view{}).append(parts[i]);
    return text;
}

std::u16string trimBlanks(std::u16string_view text)
{
    while (text.starts_with(u' ')) text.remove_prefix(1);
    while (text.ends_with(u' ')) text.remove_suffix(1);
    return std::u16string(text);
}

namespace {

// Returns the date in basic form, or in extended form; the text itself if it is no date. Dates are ASCII.
std::string basicOf(std::u16string_view text) { return basicDate(toUtf8(text)); }
std::string extendedOf(std::u16string_view text) { return extendedDate(basicOf(text)); }

bool isMidnight(std::string_view extended)
{
    const std::string_view time = extended.substr(extended.find('T') + 1);
    return time.substr(0, time.find_first_of("+-Z")).find_first_not_of("0:.") == std::string_view::npos;
}

} // namespace

std::u16string readDate(std::u16string_view text)
{
    const std::string extended = extendedOf(text);
    if (extended != basicDate(extended) && !(hasTime(extended) && isMidnight(extended))) return fromUtf8(extended);
    const std::u16string digits = digitsOfDate(text);
    if (!isFullDate(digits)) return std::u16string(text);
    return digits.substr(0, 4) + u'-' + digits.substr(4, 2) + u'-' + digits.substr(6, 2);
}

std::u16string writeDate(std::u16string_view text, Version version, std::u16string_view before)
{
    const std::string basic = basicOf(text);
    if (!isBasicDate(basic) || extendedDate(basic) != toUtf8(text)) return std::u16string(text);
    const bool basicBefore =
        (before.size() >= 8 && before.substr(0, 8).find(u'-') == before.npos) || (before.size() == 6 && before.starts_with(u"--"));
    return version == Version::V40 || basicBefore ? fromUtf8(basic) : std::u16string(text);
}

bool isDate(std::u16string_view text) { return isBasicDate(basicOf(text)) && extendedOf(text) == toUtf8(text); }

bool isDateTime(std::u16string_view text) { return isDate(text) && hasTime(toUtf8(text)); }

std::u16string cleaned(std::u16string_view text)
{
    if (std::all_of(text.begin(), text.end(), [](char16_t c) { return c >= u' ' && (c < 0xD800 || c >= 0xE000); }))
        return std::u16string(text);
    std::u16string clean;
    clean.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char16_t c = text[i];
        if (c == u'\r') {
            if (i + 1 == text.size() || text[i + 1] != u'\n') clean += u'\n';
        } else if (c >= u' ' || c == u'\n' || c == u'\t') {
            clean += c;
        }
    }
    const bool surrogates = std::any_of(clean.begin(), clean.end(), [](char16_t c) { return c >= 0xD800 && c < 0xE000; });
    return surrogates ? fromUtf8(toUtf8(clean)) : clean;
}

} // namespace mb::vcard
