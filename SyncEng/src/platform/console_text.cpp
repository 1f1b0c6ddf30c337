#include "console_text.h"

#include <algorithm>

namespace platform {
namespace {

bool isBreak(char16_t c) noexcept { return c == u'\r' || c == u'\n' || c == u'\t' || c == 0x2028 || c == 0x2029; }

// Control characters (C0, C1) and characters that change the direction of text.
bool isControl(char16_t c) noexcept
{
    return c < 0x20 || (c >= 0x7F && c < 0xA0) || c == 0x061C || c == 0x200E || c == 0x200F || (c >= 0x202A && c <= 0x202E) ||
           (c >= 0x2066 && c <= 0x2069);
}

bool isLeading(char16_t c) noexcept { return (c & 0xFC00) == 0xD800; }

std::size_t columnsOf(char16_t c) noexcept
{
    const bool none =
        (c >= 0x300 && c < 0x370) || (c & 0xFC00) == 0xDC00 || (c >= 0x200B && c <= 0x200D) || (c >= 0xFE00 && c < 0xFE10) || c == 0xFEFF;
    const bool wide = (c >= 0x1100 && c < 0x1160) || (c >= 0x2E80 && c < 0xA4D0) || (c >= 0xAC00 && c < 0xD7A4) ||
                      (c >= 0xF900 && c < 0xFB00) || (c >= 0xFF00 && c < 0xFF61) || isLeading(c);
    return none ? 0 : wide ? 2 : 1;
}

// Returns how many units fit the columns. A surrogate pair, and a letter with its combining marks, are not separated.
std::size_t unitsThatFit(std::u16string_view text, std::size_t columns) noexcept
{
    std::size_t used = 0, at = 0;
    while (at < text.size()) {
        std::size_t next = at + (isLeading(text[at]) && at + 1 < text.size() ? 2 : 1);
        used += columnsOf(text[at]);
        if (used > columns) break;
        while (next < text.size() && columnsOf(text[next]) == 0) ++next;
        at = next;
    }
    return at;
}

} // namespace

std::u16string harmless(std::u16string_view text)
{
    std::u16string safe;
    safe.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char16_t c = text[i];
        if (c == u'\r' && i + 1 < text.size() && text[i + 1] == u'\n') continue; // CR LF becomes one blank
        safe += isBreak(c) ? u' ' : isControl(c) ? u'\uFFFD' : c;
    }
    return safe;
}

std::u16string harmlessInFile(std::u16string_view text)
{
    std::u16string safe(text);
    for (char16_t& c : safe)
        if (!isBreak(c) && isControl(c)) c = u'?'; // one byte, because the log reserves one byte per character
    return safe;
}

std::size_t columnsOf(std::u16string_view text) noexcept
{
    std::size_t columns = 0;
    for (const char16_t c : text) columns += columnsOf(c);
    return columns;
}

std::u16string fitted(std::u16string_view text, std::size_t columns)
{
    if (columnsOf(text) <= columns) return std::u16string(text);
    if (columns == 0) return {};
    return std::u16string(text.substr(0, unitsThatFit(text, columns - 1))) + u'\u2026';
}

std::u16string wrapped(std::u16string_view text, std::size_t columns, std::u16string_view indent)
{
    const std::size_t room = std::max<std::size_t>(columns > indent.size() ? columns - indent.size() : 0, 2);
    std::u16string lines;
    do {
        std::size_t cut = unitsThatFit(text, room), skip = 0;
        if (cut < text.size()) {
            const std::size_t blank = text.substr(0, cut + 1).rfind(u' ');
            if (blank != std::u16string_view::npos && blank > 0) {
                cut = blank;
                skip = 1;
            }
        }
        lines.append(indent).append(text.substr(0, cut)) += u'\n';
        text.remove_prefix(cut + skip);
    } while (!text.empty());
    return lines;
}

} // namespace platform
