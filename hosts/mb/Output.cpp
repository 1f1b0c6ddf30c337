#include "Output.h"

#include "console_text.h"
#include "Failure.h"
#include "text.h"
#include <algorithm>
#include <cstdio>

namespace mbhost {
namespace {

std::size_t widthOf(std::string_view text) { return platform::columnsOf(platform::utf16(text)); }

void appendRow(std::string& out, const std::vector<std::string>& cells, const std::vector<std::size_t>& widths)
{
    for (std::size_t i = 0; i < cells.size(); ++i) {
        out += cells[i];
        if (i + 1 < cells.size()) out.append(widths[i] - widthOf(cells[i]) + 2, ' ');
    }
    out += '\n';
}

} // namespace

std::string printable(std::u16string_view text) { return platform::utf8(platform::harmless(text)); }
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
void tellFailure(const std::string& sentence)
{
    if (!sentence.empty()) std::fprintf(stderr, "mb: %s\n", sentence.c_str());
}

void printJson(const Json& json) { print(json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n"); }

void finishOutput()
{
    if (std::fflush(stdout) != 0 || std::ferror(stdout)) throw Failure("The output could not be written; check that the disk is not full.");
}

} // namespace mbhost
