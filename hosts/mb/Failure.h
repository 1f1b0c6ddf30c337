// What ends a command: one sentence for the user, and the exit code that a script reads.
#pragma once
#include <stdexcept>
#include <string>

namespace mbhost {

enum ExitCode : int { exitDone = 0, exitFailed = 1, exitUsage = 2, exitCancelled = 3, exitInUse = 4 };

// An empty sentence ends the program without another word: the failure was told before.
class Failure final : public std::runtime_error {
public:
    explicit Failure(const std::string& sentence, ExitCode code = exitFailed) : std::runtime_error(sentence), code_(code) {}
    [[nodiscard]] ExitCode code() const noexcept { return code_; }

private:
    ExitCode code_;
};

} // namespace mbhost
