#include "RunLog.h"

#include "Engine.h"
#include <algorithm>
#include <fstream>

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

// The fixed beginning of a text of the engine's.
std::string beginningOf(int id)
{
    const auto at = std::ranges::find(texts, id, &TextById::id);
    const std::string text = at->text;
    return text.substr(0, text.find('%'));
}

} // namespace

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
    const std::string oneWay = beginningOf(146), twoWay = beginningOf(147), copying = beginningOf(231), created = beginningOf(157),
                      updated = beginningOf(158), deleted = beginningOf(159), matched = beginningOf(230), conflict = beginningOf(152),
                      settled = "\tSETTLED: ";
    RunCounts counts;
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
        if (line.starts_with(conflict)) counts.conflicts.push_back({line.substr(conflict.size()), {}});
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
