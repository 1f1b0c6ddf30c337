// Runs a program with a given environment and collects its output.
#pragma once
#include <chrono>
#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace mbtest {

struct Result {
    int code = -1; // the exit code, or 128 plus the signal that ended the program
    std::string out, error;
};

struct RunOptions {
    std::map<std::string, std::string> environment; // overrides the test's environment
    std::filesystem::path workFolder;
    std::filesystem::path outFile;          // receives the standard output; Result::out stays empty
    bool errorIsTerminal = false;           // makes the standard error a terminal
    std::function<void(int pid)> whileRuns; // called after the start of the program
    std::chrono::seconds patience{60};      // how long a program on a terminal may write nothing
};

// Waits until `reached` returns true, for a minute at most.
void waitFor(const std::function<bool()>& reached);

// For whileRuns: sends the signal to the program as soon as `reached` returns true.
std::function<void(int pid)> signalOnce(std::function<bool()> reached, int signal);

// An answer of a conversation that closes the terminal instead of typing a text.
inline constexpr char closeTerminal[] = "\x1c close";

// Pairs of a text to wait for and the answer to type then.
using Conversation = std::vector<std::pair<std::string, std::string>>;

Result runProgram(const std::filesystem::path& program, const std::vector<std::string>& arguments, const RunOptions& options);

// Runs the program on a terminal of its own; Result::out is its output there. A question after the end of the conversation gets Ctrl-D.
// Fails the test and kills the program if it writes nothing for longer than options.patience: it waits for an answer that the conversation
// does not have.
Result talkToProgram(const std::filesystem::path& program, const std::vector<std::string>& arguments, const RunOptions& options,
                     const Conversation& conversation);

} // namespace mbtest
