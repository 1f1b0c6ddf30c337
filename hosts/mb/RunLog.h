// What a run did, as the engine's log tells: the lines that were added to it since a moment.
#pragma once
#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace mbhost {

std::filesystem::path logPath();

// The fixed beginning of a text of the engine's.
std::string engineText(int id);

struct SideCounts {
    int created = 0, updated = 0, deleted = 0;
};

// A contact that both sides had changed, and what became of it in the engine's words.
struct SettledConflict {
    std::string contact, settled;
};

struct RunCounts {
    SideCounts sides[2];
    int matched = 0;
    std::vector<SettledConflict> conflicts;
    std::vector<std::string> leftOut; // a plug-in's own lines about what it could not take, each once
    [[nodiscard]] bool nothing() const noexcept;
};

class RunLog {
public:
    RunLog(); // remembers where the log ends now
    // The lines written since; empty if the log is switched off.
    [[nodiscard]] std::vector<std::string> lines() const;

private:
    std::uint64_t start_ = 0;
};

// Counts by the side that was written; sides are written in that order. Empty if the log does not tell, since it is switched off or
// keeps less than the progress of a run.
std::optional<RunCounts> countRun(const std::vector<std::string>& lines, std::span<const int> writtenSides);

} // namespace mbhost
