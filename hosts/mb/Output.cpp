#include "Output.h"

#include "Failure.h"
#include "text.h"
#include <algorithm>
#include <cstdio>

namespace mbhost {
namespace {

bool isBreak(char16_t c) { return c == u'\r' || c == u'\n' || c == u'\t' || c == 0x2028 || c == 0x2029; }

// The control characters of both halves, and those that turn the direction of the text around them.
bool isControl(char16_t c) { return c < 0x20 || (c >= 0x7F && c < 0xA0) || (c >= 0x202A && c <= 0x202E) || (c >= 0x2066 && c <= 0x2069); }

// Columns of a terminal; marks that combine with a letter take none, wide letters two.
std::size_t widthOf(std::string_view text)
{
    std::size_t width = 0;
    for (const char16_t c : platform::utf16(text)) {
        const bool combining = (c >= 0x300 && c < 0x370) || (c & 0xFC00) == 0xDC00;
        const bool wide = (c >= 0x1100 && c < 0x1160) || (c >= 0x2E80 && c < 0xA4D0) || (c >= 0xAC00 && c < 0xD7A4) ||
                          (c >= 0xF900 && c < 0xFB00) || (c >= 0xFF00 && c < 0xFF61) || (c & 0xFC00) == 0xD800;
        width += combining ? 0 : wide ? 2 : 1;
    }
    return width;
}

void appendRow(std::string& out, const std::vector<std::string>& cells, const std::vector<std::size_t>& widths)
{
    for (std::size_t i = 0; i < cells.size(); ++i) {
        out += cells[i];
        if (i + 1 < cells.size()) out.append(widths[i] - widthOf(cells[i]) + 2, ' ');
    }
    out += '\n';
}

} // namespace

std::string printable(std::u16string_view text)
{
    std::u16string safe;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char16_t c = text[i];
        if (c == u'\r' && i + 1 < text.size() && text[i + 1] == u'\n') continue; // the pair is one blank
        if (isBreak(c))
            safe += u' ';
        else
            safe += isControl(c) ? u'\uFFFD' : c;
    }
    return platform::utf8(safe);
}

std::string printable(std::string_view text) { return printable(platform::utf16(text)); }
std::string quote(std::string_view text) { return '"' + printable(text) + '"'; }

std::string table(const std::vector<std::string>& head, const std::vector<std::vector<std::string>>& rows)
{
    std::vector<std::size_t> widths(head.size());
    const auto measure = [&](const std::vector<std::string>& cells) {
        for (std::size_t i = 0; i < cells.size(); ++i) widths[i] = std::max(widths[i], widthOf(cells[i]));
    };
    measure(head);
    for (const auto& row : rows) measure(row);
    std::string out;
    appendRow(out, head, widths);
    for (const auto& row : rows) appendRow(out, row, widths);
    return out;
}

void print(std::string_view text) { std::fwrite(text.data(), 1, text.size(), stdout); }
void printJson(const Json& json) { print(json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n"); }

void finishOutput()
{
    if (std::fflush(stdout) != 0 || std::ferror(stdout)) throw Failure("The output could not be written; is the disk full?");
}

} // namespace mbhost
