#include "text.h"

#include "unit_tables.h"
#include "utf8.h"
#include <array>
#include <charconv>
#include <limits>
#include <type_traits>

namespace platform {
namespace {

constexpr char16_t replacement = 0xFFFD;

bool isHigh(char16_t c) { return (c & 0xFC00) == 0xD800; }
bool isLow(char16_t c) { return (c & 0xFC00) == 0xDC00; }

const UnitTables& tables()
{
    static const UnitTables made;
    return made;
}

// Returns the number of ASCII units at the beginning of the text. Compares whole blocks, since most texts are ASCII throughout.
template <class Unit> std::size_t asciiLength(std::basic_string_view<Unit> text) noexcept
{
    constexpr std::size_t block = 16;
    const auto plain = [&](std::size_t i) { return static_cast<std::make_unsigned_t<Unit>>(text[i]) < 0x80; };
    std::size_t at = 0;
    for (; at + block <= text.size(); at += block) {
        std::make_unsigned_t<Unit> all = 0;
        for (std::size_t i = 0; i < block; ++i) all |= static_cast<std::make_unsigned_t<Unit>>(text[at + i]);
        if (all >= 0x80) break;
    }
    while (at < text.size() && plain(at)) ++at;
    return at;
}

// Decodes the character at `at` and moves `at` behind it. An unpaired surrogate becomes the replacement character.
char32_t decode(std::u16string_view text, std::size_t& at) noexcept
{
    const char16_t c = text[at++];
    if (!isHigh(c)) return isLow(c) ? replacement : c;
    if (at == text.size() || !isLow(text[at])) return replacement;
    return 0x10000 + ((char32_t(c) & 0x3FF) << 10) + (char32_t(text[at++]) & 0x3FF);
}

// Decodes the character at `at` and moves `at` behind it. Of ill-formed bytes, the longest prefix of a valid character becomes one
// replacement character.
char32_t decode(std::string_view bytes, std::size_t& at) noexcept
{
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(bytes[i]); };
    const unsigned lead = byte(at++);
    if (lead < 0x80) return lead;
    if (lead < 0xC2 || lead > 0xF4) return replacement;
    const int more = lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : 3;
    char32_t c = lead & (0x3Fu >> more);
    // The limits of the second byte exclude overlong forms, surrogates and values above U+10FFFF.
    unsigned least = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80, most = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
    for (int i = 0; i < more; ++i) {
        if (at == bytes.size() || byte(at) < least || byte(at) > most) return replacement;
        c = (c << 6) | (byte(at++) & 0x3F);
        least = 0x80, most = 0xBF;
    }
    return c;
}

char* putUtf8(char* out, char32_t c) noexcept
{
    const auto put = [&](char32_t byte) { *out++ = static_cast<char>(byte); };
    if (c < 0x80) {
        put(c);
        return out;
    }
    if (c < 0x800) {
        put(0xC0 | (c >> 6));
    } else {
        if (c < 0x10000) {
            put(0xE0 | (c >> 12));
        } else {
            put(0xF0 | (c >> 18));
            put(0x80 | ((c >> 12) & 0x3F));
        }
        put(0x80 | ((c >> 6) & 0x3F));
    }
    put(0x80 | (c & 0x3F));
    return out;
}

bool asciiSpace(char16_t c) { return c == u' ' || (c >= u'\t' && c <= u'\r'); }

// Returns the number's characters as bytes, without leading white space, up to the first character that no number contains.
std::string numberBytes(std::u16string_view text)
{
    std::size_t at = 0;
    while (at < text.size() && asciiSpace(text[at])) ++at;
    std::string bytes;
    for (; at < text.size() && text[at] < 0x80; ++at) {
        const char c = static_cast<char>(text[at]);
        if (!((c >= '0' && c <= '9') || c == '+' || c == '-' || c == '.' || c == 'e' || c == 'E')) break;
        bytes += c;
    }
    return bytes;
}

} // namespace

std::string utf8(std::u16string_view text)
{
    const std::size_t plain = asciiLength(text);
    std::size_t length = plain;
    for (std::size_t at = plain; at < text.size();) {
        const char32_t c = decode(text, at);
        length += c < 0x80 ? 1 : c < 0x800 ? 2 : c < 0x10000 ? 3 : 4;
    }
    std::string out(length, '\0');
    for (std::size_t i = 0; i < plain; ++i) out[i] = static_cast<char>(text[i]);
    char* to = out.data() + plain;
    for (std::size_t at = plain; at < text.size();) to = putUtf8(to, decode(text, at));
    return out;
}

bool isUtf8(std::string_view bytes) noexcept
{
    constexpr std::string_view encodedReplacement = "\xEF\xBF\xBD";
    for (std::size_t at = asciiLength(bytes); at < bytes.size();) {
        const std::size_t begin = at;
        if (decode(bytes, at) == replacement && bytes.substr(begin, at - begin) != encodedReplacement) return false;
    }
    return true;
}

std::u16string utf16(std::string_view bytes)
{
    // A character has at most as many UTF-16 units as UTF-8 bytes.
    std::u16string out(bytes.size(), u'\0');
    const std::size_t plain = asciiLength(bytes);
    for (std::size_t i = 0; i < plain; ++i) out[i] = static_cast<char16_t>(bytes[i]);
    std::size_t length = plain;
    for (std::size_t at = plain; at < bytes.size();) {
        const char32_t c = decode(bytes, at);
        if (c >= 0x10000) out[length++] = static_cast<char16_t>(0xD7C0 + (c >> 10));
        out[length++] = static_cast<char16_t>(c < 0x10000 ? c : 0xDC00 + (c & 0x3FF));
    }
    out.resize(length);
    return out;
}

char16_t lower(char16_t unit) noexcept
{
    if (unit < 0x80) return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + 32) : unit;
    return tables().lower[unit];
}

char16_t upper(char16_t unit) noexcept
{
    if (unit < 0x80) return unit >= u'a' && unit <= u'z' ? static_cast<char16_t>(unit - 32) : unit;
    return tables().upper[unit];
}

std::u16string lowered(std::u16string_view text)
{
    std::u16string out(text);
    const std::size_t plain = asciiLength(text);
    for (std::size_t i = 0; i < plain; ++i) out[i] = lower(out[i]);
    if (plain == out.size()) return out;
    const UnitTables& known = tables();
    for (std::size_t i = plain; i < out.size(); ++i) out[i] = known.lower[out[i]];
    return out;
}

int compareNoCase(std::u16string_view a, std::u16string_view b) noexcept
{
    const std::size_t shared = a.size() < b.size() ? a.size() : b.size();
    for (std::size_t i = 0; i < shared; ++i) {
        if (a[i] == b[i]) continue;
        const int difference = static_cast<int>(lower(a[i])) - static_cast<int>(lower(b[i]));
        if (difference != 0) return difference;
    }
    return a.size() == b.size() ? 0 : a.size() < b.size() ? -1 : 1;
}

std::size_t HashNoCase::operator()(std::u16string_view text) const noexcept
{
    std::uint64_t hash = text.size();
    for (const char16_t unit : text) hash = (hash ^ lower(unit)) * 0x100000001B3u;
    return static_cast<std::size_t>(hash ^ hash >> 32);
}

bool isAlpha(char16_t unit) noexcept
{
    if (unit < 0x80) return lower(unit) >= u'a' && lower(unit) <= u'z';
    return tables().alpha[unit];
}
bool isDigit(char16_t unit) noexcept { return unit >= u'0' && unit <= u'9'; }
bool isAlnum(char16_t unit) noexcept { return isDigit(unit) || isAlpha(unit); }
bool isSpace(char16_t unit) noexcept { return unit < 0x80 ? asciiSpace(unit) : tables().space[unit]; }

std::u16string foldedAlnum(std::u16string_view text)
{
    // ASCII characters use a table, since most texts contain no others.
    constexpr auto ascii = [] {
        std::array<char16_t, 0x80> folded{}; // 0 marks a character to drop
        for (char16_t c = u'0'; c <= u'9'; ++c) folded[c] = c;
        for (char16_t c = u'a'; c <= u'z'; ++c) folded[c] = folded[static_cast<char16_t>(c - u'a' + u'A')] = c;
        return folded;
    }();
    std::u16string kept(text.size(), u'\0');
    std::size_t length = 0;
    for (const char16_t unit : text) {
        const char16_t folded = unit < ascii.size() ? ascii[unit] : isAlnum(unit) ? lower(unit) : u'\0';
        if (folded != 0) kept[length++] = folded;
    }
    kept.resize(length);
    return kept;
}

int toInt(std::u16string_view text) noexcept
{
    const std::int64_t wide = toInt64(text);
    constexpr std::int64_t low = std::numeric_limits<int>::min(), high = std::numeric_limits<int>::max();
    return static_cast<int>(wide < low ? low : wide > high ? high : wide);
}

std::int64_t toInt64(std::u16string_view text) noexcept
{
    std::size_t at = 0;
    while (at < text.size() && asciiSpace(text[at])) ++at;
    const bool negative = at < text.size() && text[at] == u'-';
    if (at < text.size() && (text[at] == u'-' || text[at] == u'+')) ++at;
    std::uint64_t magnitude = 0;
    const std::uint64_t limit = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()) + (negative ? 1 : 0);
    for (; at < text.size() && isDigit(text[at]); ++at) {
        const std::uint64_t digit = static_cast<std::uint64_t>(text[at] - u'0');
        magnitude = magnitude > (limit - digit) / 10 ? limit : magnitude * 10 + digit;
    }
    return static_cast<std::int64_t>(negative ? 0 - magnitude : magnitude);
}

double toDouble(std::u16string_view text) noexcept
{
    try {
        const std::string bytes = numberBytes(text);
        const bool plus = bytes.starts_with('+') && !bytes.starts_with("+-");
        double value = 0;
        std::from_chars(bytes.data() + (plus ? 1 : 0), bytes.data() + bytes.size(), value);
        return value;
    } catch (...) {
        return 0.0;
    }
}

} // namespace platform
