// What a run did, as the engine's log tells: the lines that were added to it since a moment.
#pragma once
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace mbhost {

std::filesystem::path logPath();

struct SideCounts {
    int created = 0, updated = 0, deleted = 0;
};

struct RunCounts {
    SideCounts sides[2];
    int matched = 0;
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

RunCounts countRun(const std::vector<std::string>& lines);

} // namespace mbhost
