#include "RunLog.h"

#include "Engine.h"
#include "text.h"
#include <algorithm>
#include <fstream>
#include <set>

namespace mbhost {
namespace {

struct TextById {
    int id;
    const char* text;
};

constexpr TextById texts[] = {
#define STRING(id, text) {id, text},
#include "strings.inc"
#undef STRING
};

// Without the first bytes of a letter whose others are missing at the end.
std::string_view wholeLetters(std::string_view text)
{
    std::size_t lead = text.size();
    while (lead > 0 && (text[lead - 1] & 0xC0) == 0x80) --lead;
    if (lead == 0) return text;
    const auto first = static_cast<unsigned char>(text[lead - 1]);
    const std::size_t length = first < 0xC0 ? 1 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
    return lead - 1 + length > text.size() ? text.substr(0, lead - 1) : text;
}

// The engine's log keeps as many bytes of a line as the line has characters, so one with letters of several bytes has lost its end,
// and a mark stands for that. What is no UTF-8 comes from a code page of one byte a letter, and is whole.
std::string withLostEnd(const std::string& text)
{
    if (std::ranges::none_of(text, [](char c) { return (c & 0x80) != 0; })) return text;
    const std::string kept(wholeLetters(text));
    return platform::utf8(platform::utf16(kept)) == kept ? kept + "\u2026" : text;
}

} // namespace

std::string engineText(int id)
{
    const auto at = std::ranges::find(texts, id, &TextById::id);
    const std::string text = at->text;
    return text.substr(0, text.find('%'));
}

std::filesystem::path logPath() { return dataFolder() / "MBSync.log"; }

RunLog::RunLog()
{
    std::error_code error;
    const auto size = std::filesystem::file_size(logPath(), error);
    if (!error) start_ = size;
}

std::vector<std::string> RunLog::lines() const
{
    std::ifstream file(logPath(), std::ios::binary);
    file.seekg(0, std::ios::end);
    const auto end = static_cast<std::uint64_t>(std::max<std::streamoff>(file.tellg(), 0));
    file.seekg(static_cast<std::streamoff>(end < start_ ? 0 : start_)); // a log that was rolled begins anew
    std::vector<std::string> found;
    for (std::string line; std::getline(file, line);) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        found.push_back(std::move(line));
    }
    return found;
}

bool RunCounts::nothing() const noexcept
{
    return matched == 0 && std::ranges::all_of(sides, [](const SideCounts& s) { return s.created + s.updated + s.deleted == 0; });
}

// Each side's lines begin with one that holds a carriage return alone, from where copying starts.
std::optional<RunCounts> countRun(const std::vector<std::string>& lines, std::span<const int> writtenSides)
{
    const std::string oneWay = engineText(146), twoWay = engineText(147), copying = engineText(231), created = engineText(157),
                      updated = engineText(158), deleted = engineText(159), matched = engineText(230), conflict = engineText(152),
                      settled = "\tSETTLED: ";
    RunCounts counts;
    std::set<std::string> leftOut;
    bool told = false, writing = false;
    std::size_t started = 0; // sides whose lines have begun
    for (const std::string& line : lines) {
        told = told || line.starts_with(oneWay) || line.starts_with(twoWay);
        if (line.starts_with(copying)) {
            writing = true;
            started = 0;
        } else if (writing && line == "\r") {
            ++started;
        }
        if (line.find(": left out, ") != std::string::npos && leftOut.insert(line).second) counts.leftOut.push_back(withLostEnd(line));
        if (line.starts_with(conflict)) counts.conflicts.push_back({withLostEnd(line.substr(conflict.size())), {}});
        if (line.starts_with(settled) && !counts.conflicts.empty()) counts.conflicts.back().settled = line.substr(settled.size());
        if (started == 0 || started > writtenSides.size()) continue;
        SideCounts& here = counts.sides[writtenSides[started - 1]];
        if (line.starts_with(created)) ++here.created;
        if (line.starts_with(updated)) ++here.updated;
        if (line.starts_with(deleted)) ++here.deleted;
        if (line.starts_with(matched)) ++counts.matched;
    }
    return told ? std::optional(counts) : std::nullopt;
}

} // namespace mbhost
