#include "Charset.h"

#include "Ascii.h"
#include "SystemCharset.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

namespace mb::vcard {
namespace {

// Bytes 0x80 to 0x9F of Windows-1252. The five undefined ones map to the control character of the same number, so that any byte decodes.
constexpr std::array<char16_t, 32> kHigh1252 = {0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
                                                0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
                                                0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

// Returns the number of leading ASCII characters; tests eight at a time.
std::size_t asciiLength(std::string_view bytes)
{
    std::size_t length = 0;
    for (std::uint64_t word; length + sizeof word <= bytes.size(); length += sizeof word) {
        std::memcpy(&word, bytes.data() + length, sizeof word);
        if (word & 0x8080808080808080u) break;
    }
    while (length < bytes.size() && static_cast<unsigned char>(bytes[length]) < 0x80) ++length;
    return length;
}

struct CodePoint {
    char32_t value;
    std::size_t length; // 0 if the bytes are not UTF-8
};

CodePoint nextUtf8(std::string_view bytes, std::size_t at)
{
    const auto byte = [&](std::size_t i) { return i < bytes.size() ? static_cast<unsigned char>(bytes[i]) : 0u; };
    const unsigned first = byte(at);
    if (first < 0x80) return {first, 1};
    const std::size_t length = first >= 0xF0 && first < 0xF5   ? 4
                               : first >= 0xE0 && first < 0xF0 ? 3
                               : first >= 0xC2 && first < 0xE0 ? 2
                                                               : 0;
    if (length == 0) return {0, 0};
    char32_t value = first & (0x7Fu >> length);
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(at + i) & 0xC0) != 0x80) return {0, 0};
        value = value << 6 | (byte(at + i) & 0x3F);
    }
    const bool overlong = (length == 3 && value < 0x800) || (length == 4 && value < 0x10000);
    if (overlong || value > 0x10FFFF || (value >= 0xD800 && value < 0xE000)) return {0, 0};
    return {value, length};
}

void appendUtf16(std::u16string& text, char32_t c)
{
    if (c < 0x10000) {
        text += static_cast<char16_t>(c);
    } else {
        text += static_cast<char16_t>(0xD800 + ((c - 0x10000) >> 10));
        text += static_cast<char16_t>(0xDC00 + ((c - 0x10000) & 0x3FF));
    }
}

void appendUtf8(std::string& bytes, char32_t c)
{
    const auto tail = [&](int shift) { bytes += static_cast<char>(0x80 | (c >> shift & 0x3F)); };
    if (c < 0x80) {
        bytes += static_cast<char>(c);
    } else if (c < 0x800) {
        bytes += static_cast<char>(0xC0 | c >> 6);
        tail(0);
    } else if (c < 0x10000) {
        bytes += static_cast<char>(0xE0 | c >> 12);
        tail(6);
        tail(0);
    } else {
        bytes += static_cast<char>(0xF0 | c >> 18);
        tail(12);
        tail(6);
        tail(0);
    }
}

std::u16string from1252(std::string_view bytes)
{
    std::u16string text;
    text.reserve(bytes.size());
    for (const char c : bytes) {
        const auto b = static_cast<unsigned char>(c);
        text += b >= 0x80 && b < 0xA0 ? kHigh1252[b - 0x80u] : static_cast<char16_t>(b);
    }
    return text;
}

std::optional<std::string> to1252(std::u16string_view text)
{
    std::string bytes;
    bytes.reserve(text.size());
    for (const char16_t c : text) {
        if (c < 0x80 || (c >= 0xA0 && c < 0x100)) {
            bytes += static_cast<char>(c);
            continue;
        }
        std::size_t i = 0;
        while (i < kHigh1252.size() && kHigh1252[i] != c) ++i;
        if (i == kHigh1252.size()) return std::nullopt;
        bytes += static_cast<char>(0x80 + i);
    }
    return bytes;
}

} // namespace

bool isAscii(std::string_view bytes) { return asciiLength(bytes) == bytes.size(); }

bool isUtf8(std::string_view bytes)
{
    for (std::size_t i = asciiLength(bytes); i < bytes.size();) {
        if (static_cast<unsigned char>(bytes[i]) < 0x80) {
            ++i;
            continue;
        }
        const std::size_t length = nextUtf8(bytes, i).length;
        if (length == 0) return false;
        i += length;
    }
    return true;
}

std::u16string fromUtf8(std::string_view bytes)
{
    const std::size_t plain = asciiLength(bytes);
    std::u16string text;
    text.reserve(bytes.size());
    text.resize(plain);
    std::copy_n(bytes.begin(), plain, text.begin());
    for (std::size_t i = plain; i < bytes.size();) {
        if (static_cast<unsigned char>(bytes[i]) < 0x80) {
            text += static_cast<char16_t>(bytes[i++]);
            continue;
        }
        const CodePoint c = nextUtf8(bytes, i);
        appendUtf16(text, c.length ? c.value : U'\uFFFD');
        i += c.length ? c.length : 1;
    }
    return text;
}

std::string toUtf8(std::u16string_view text)
{
    std::size_t plain = 0;
    while (plain < text.size() && text[plain] < 0x80) ++plain;
    std::string bytes(plain, '\0');
    for (std::size_t i = 0; i < plain; ++i) bytes[i] = static_cast<char>(text[i]);
    for (std::size_t i = plain; i < text.size(); ++i) {
        const char32_t c = text[i];
        const bool high = c >= 0xD800 && c < 0xDC00;
        if (high && i + 1 < text.size() && text[i + 1] >= 0xDC00 && text[i + 1] < 0xE000) {
            appendUtf8(bytes, 0x10000 + ((c - 0xD800) << 10) + (text[i + 1] - 0xDC00u));
            ++i;
        } else {
            appendUtf8(bytes, c >= 0xD800 && c < 0xE000 ? U'\uFFFD' : c);
        }
    }
    return bytes;
}

bool sameCharset(std::string_view a, std::string_view b) { return equalFold(a, b); }

std::optional<std::u16string> decode(std::string_view bytes, std::string_view charset)
{
    if (sameCharset(charset, kUtf8) || sameCharset(charset, "UTF8")) {
        if (!isUtf8(bytes)) return std::nullopt;
        return fromUtf8(bytes);
    }
    if (sameCharset(charset, kWindows1252)) return from1252(bytes);
    return systemDecode(bytes, charset);
}

std::optional<std::string> encode(std::u16string_view text, std::string_view charset)
{
    if (sameCharset(charset, kUtf8) || sameCharset(charset, "UTF8")) return toUtf8(text);
    if (sameCharset(charset, kWindows1252)) return to1252(text);
    return systemEncode(text, charset);
}

} // namespace mb::vcard
