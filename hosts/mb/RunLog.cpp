#include "RunLog.h"

#include "files.h"
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

std::filesystem::path logPath() { return platform::userDataFolder() / "Zorel" / "MBSync" / "MBSync.log"; }

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

// The second store is written first. Each side's lines begin with one that holds a carriage return alone, from where copying starts.
RunCounts countRun(const std::vector<std::string>& lines)
{
    const std::string copying = beginningOf(231), created = beginningOf(157), updated = beginningOf(158), deleted = beginningOf(159),
                      matched = beginningOf(230);
    RunCounts counts;
    int side = -1;
    bool writing = false;
    for (const std::string& line : lines) {
        if (line.starts_with(copying)) {
            writing = true;
            side = -1;
        } else if (writing && line == "\r") {
            side = side == -1 ? 1 : 0;
        }
        if (side < 0) continue;
        SideCounts& here = counts.sides[side];
        if (line.starts_with(created)) ++here.created;
        if (line.starts_with(updated)) ++here.updated;
        if (line.starts_with(deleted)) ++here.deleted;
        if (line.starts_with(matched)) ++counts.matched;
    }
    return counts;
}

} // namespace mbhost
