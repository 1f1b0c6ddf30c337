#include "text.h"

#include <array>
#include <cerrno>
#include <clocale>
#include <cstdlib>
#include <cwctype>
#include <limits>
#include <locale.h>

namespace platform {
namespace {

constexpr char16_t replacement = 0xFFFD;

bool isHigh(char16_t c) { return (c & 0xFC00) == 0xD800; }
bool isLow(char16_t c) { return (c & 0xFC00) == 0xDC00; }

// Character classes and case of the Basic Multilingual Plane, whatever locale the process has chosen.
class UnitTables {
public:
    UnitTables()
    {
        locale_t locale = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
        for (unsigned c = 0; c < 0x10000; ++c) {
            lower_[c] = upper_[c] = static_cast<char16_t>(c);
            if (!locale || (c & 0xF800) == 0xD800) continue;
            const auto low = towlower_l(static_cast<wint_t>(c), locale), up = towupper_l(static_cast<wint_t>(c), locale);
            if (low < 0x10000) lower_[c] = static_cast<char16_t>(low);
            if (up < 0x10000) upper_[c] = static_cast<char16_t>(up);
            if (iswalpha_l(static_cast<wint_t>(c), locale)) alpha_[c] = true;
            if (iswspace_l(static_cast<wint_t>(c), locale)) space_[c] = true;
        }
        if (locale) freelocale(locale);
    }
    char16_t lower(char16_t c) const noexcept { return lower_[c]; }
    char16_t upper(char16_t c) const noexcept { return upper_[c]; }
    bool alpha(char16_t c) const noexcept { return alpha_[c]; }
    bool space(char16_t c) const noexcept { return space_[c]; }

private:
    std::array<char16_t, 0x10000> lower_, upper_;
    std::array<bool, 0x10000> alpha_{}, space_{};
};

const UnitTables& tables()
{
    static const UnitTables made;
    return made;
}

void appendUtf8(std::string& out, char32_t c)
{
    if (c < 0x80) {
        out += static_cast<char>(c);
    } else if (c < 0x800) {
        out += static_cast<char>(0xC0 | (c >> 6));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        out += static_cast<char>(0xE0 | (c >> 12));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (c >> 18));
        out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    }
}

// One character from its lead byte on; its length in bytes, or 0 if the bytes are ill-formed.
std::size_t decode(std::string_view bytes, std::size_t at, char32_t& c)
{
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(bytes[at + i]); };
    const unsigned lead = byte(0);
    std::size_t length = 0;
    char32_t least = 0;
    if (lead >= 0xC2 && lead <= 0xDF) {
        length = 2, least = 0x80, c = lead & 0x1F;
    } else if ((lead & 0xF0) == 0xE0) {
        length = 3, least = 0x800, c = lead & 0x0F;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        length = 4, least = 0x10000, c = lead & 0x07;
    }
    if (length == 0 || at + length > bytes.size()) return 0;
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0) != 0x80) return 0;
        c = (c << 6) | (byte(i) & 0x3F);
    }
    return c < least || c > 0x10FFFF || (c >= 0xD800 && c < 0xE000) ? 0 : length;
}

bool asciiSpace(char16_t c) { return c == u' ' || (c >= u'\t' && c <= u'\r'); }

// The number's text as bytes, from the first character that is no white space to the first that is no part of any number.
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
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char16_t c = text[i];
        if (c < 0x80) {
            out += static_cast<char>(c);
        } else if (isHigh(c) && i + 1 < text.size() && isLow(text[i + 1])) {
            appendUtf8(out, 0x10000 + ((char32_t(c) & 0x3FF) << 10) + (char32_t(text[i + 1]) & 0x3FF));
            ++i;
        } else {
            appendUtf8(out, isHigh(c) || isLow(c) ? replacement : c);
        }
    }
    return out;
}

std::u16string utf16(std::string_view bytes)
{
    std::u16string out;
    out.reserve(bytes.size());
    for (std::size_t i = 0; i < bytes.size();) {
        const auto lead = static_cast<unsigned char>(bytes[i]);
        if (lead < 0x80) {
            out += static_cast<char16_t>(lead);
            ++i;
            continue;
        }
        char32_t c = 0;
        const std::size_t length = decode(bytes, i, c);
        i += length ? length : 1;
        if (!length) {
            out += replacement;
        } else if (c < 0x10000) {
            out += static_cast<char16_t>(c);
        } else {
            out += static_cast<char16_t>(0xD800 + ((c - 0x10000) >> 10));
            out += static_cast<char16_t>(0xDC00 + ((c - 0x10000) & 0x3FF));
        }
    }
    return out;
}

std::string narrow(std::u16string_view text) { return utf8(text); }
std::u16string widen(std::string_view bytes) { return utf16(bytes); }

char16_t lower(char16_t unit) noexcept
{
    if (unit < 0x80) return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + 32) : unit;
    return tables().lower(unit);
}

char16_t upper(char16_t unit) noexcept
{
    if (unit < 0x80) return unit >= u'a' && unit <= u'z' ? static_cast<char16_t>(unit - 32) : unit;
    return tables().upper(unit);
}

std::u16string lowered(std::u16string_view text)
{
    std::u16string out(text);
    for (char16_t& c : out) c = lower(c);
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

bool isAlpha(char16_t unit) noexcept { return tables().alpha(unit) && !isDigit(unit); }
bool isDigit(char16_t unit) noexcept { return unit >= u'0' && unit <= u'9'; }
bool isAlnum(char16_t unit) noexcept { return isDigit(unit) || isAlpha(unit); }
bool isSpace(char16_t unit) noexcept { return tables().space(unit); }

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
    // strtod follows the process's locale; the C locale has the point.
    static const locale_t plain = newlocale(LC_ALL_MASK, "C", nullptr);
    try {
        return plain ? strtod_l(numberBytes(text).c_str(), nullptr, plain) : 0.0;
    } catch (...) {
        return 0.0;
    }
}

} // namespace platform
