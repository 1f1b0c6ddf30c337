// Runs a program with an environment of its own and collects what it writes.
#pragma once
#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace mbtest {

struct Result {
    int code = -1; // the exit code, or 128 and the signal that ended it
    std::string out, error;
};

struct RunOptions {
    std::map<std::string, std::string> environment; // over the test's own
    std::filesystem::path workFolder;
    std::filesystem::path outFile;          // where the standard output goes instead
    bool errorIsTerminal = false;           // the standard error is a terminal
    std::function<void(int pid)> whileRuns; // called once it runs
};

// Waits until `reached` is true, but for a minute at most.
void waitFor(const std::function<bool()>& reached);

// For whileRuns: sends the signal to the program as soon as `reached` is true.
std::function<void(int pid)> signalOnce(std::function<bool()> reached, int signal);

// Typed in a conversation it closes the terminal instead.
inline constexpr char closeTerminal[] = "\x1c close";

// A text that is waited for, and what is typed then.
using Conversation = std::vector<std::pair<std::string, std::string>>;

Result runProgram(const std::filesystem::path& program, const std::vector<std::string>& arguments, const RunOptions& options);

// Runs it on a terminal of its own; what it writes there is in out. When the conversation is over the input ends.
Result talkToProgram(const std::filesystem::path& program, const std::vector<std::string>& arguments, const RunOptions& options,
                     const Conversation& conversation);

} // namespace mbtest
