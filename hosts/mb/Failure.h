// The exception that ends a command: one sentence for the user, and the exit code of the program.
#pragma once
#include <stdexcept>
#include <string>

namespace mbhost {

enum ExitCode : int { exitDone = 0, exitFailed = 1, exitUsage = 2, exitCancelled = 3, exitInUse = 4 };

// An empty sentence prints nothing: the failure was reported before.
class Failure final : public std::runtime_error {
public:
    explicit Failure(const std::string& sentence, ExitCode code = exitFailed) : std::runtime_error(sentence), code_(code) {}
    [[nodiscard]] ExitCode code() const noexcept { return code_; }

private:
    ExitCode code_;
};

} // namespace mbhost
