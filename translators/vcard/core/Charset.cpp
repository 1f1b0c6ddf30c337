#include "Charset.h"

#include "Ascii.h"
#include "SystemCharset.h"
#include "text.h"
#include "utf8.h"

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

bool isUtf8(std::string_view bytes) { return platform::isUtf8(bytes); }
std::u16string fromUtf8(std::string_view bytes) { return platform::utf16(bytes); }
std::string toUtf8(std::u16string_view text) { return platform::utf8(text); }

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
