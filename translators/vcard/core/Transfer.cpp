#include "Transfer.h"

#include "Ascii.h"

namespace mb::vcard {
namespace {

constexpr std::size_t kMaxLine = 75;
constexpr std::string_view kHex = "0123456789ABCDEF";

int hexValue(char c)
{
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    return -1;
}

// Returns the length of the line end at `at`, which is any number of CRs and an LF; 0 for none.
std::size_t lineEndAt(std::string_view text, std::size_t at)
{
    std::size_t i = at;
    while (i < text.size() && text[i] == '\r') ++i;
    return i < text.size() && text[i] == '\n' ? i + 1 - at : 0;
}

} // namespace

std::string decodeQuotedPrintable(std::string_view text)
{
    std::string bytes;
    bytes.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '=') {
            bytes += text[i];
            continue;
        }
        if (i + 1 == text.size()) break;
        if (const std::size_t n = lineEndAt(text, i + 1)) {
            i += n;
            continue;
        }
        const int high = i + 1 < text.size() ? hexValue(text[i + 1]) : -1;
        const int low = i + 2 < text.size() ? hexValue(text[i + 2]) : -1;
        if (high < 0 || low < 0) {
            bytes += '=';
            continue;
        }
        bytes += static_cast<char>(high << 4 | low);
        i += 2;
    }
    return bytes;
}

std::string encodeQuotedPrintable(std::string_view bytes, std::size_t column, std::string_view eol)
{
    const bool likeEnd = endsWithFold(bytes, "VCARD"); // behind a soft line break the rest may be END:VCARD
    std::string text;
    for (std::size_t i = 0; i < bytes.size();) {
        // A unit is one octet, or a whole multi-byte sequence in hexadecimal, which no soft line break may split.
        std::string unit;
        do {
            const auto b = static_cast<unsigned char>(bytes[i]);
            const bool atEnd = i + 1 == bytes.size(); // a trailing blank may be cut off, a trailing backslash may join the next line
            if (b > 32 && b < 127 && b != '=' && !(atEnd && (b == '\\' || likeEnd)))
                unit += static_cast<char>(b);
            else if (b == ' ' && !atEnd)
                unit += ' ';
            else
                unit += {'=', kHex[b >> 4], kHex[b & 15]};
            ++i;
        } while (i < bytes.size() && (static_cast<unsigned char>(bytes[i]) & 0xC0) == 0x80 && unit.size() < 12);
        if (column + unit.size() + 1 > kMaxLine) {
            text += '=';
            text += eol;
            column = 0;
        }
        text += unit;
        column += unit.size();
    }
    return text;
}

} // namespace mb::vcard
