#include "RunProgram.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <stdexcept>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace mbtest {
namespace {

struct Channel {
    int read = -1, write = -1;
};

Channel makePipe()
{
    std::array<int, 2> ends{};
    if (::pipe(ends.data()) != 0) throw std::runtime_error("no pipe");
    return {ends[0], ends[1]};
}

Channel makeTerminal()
{
    Channel ends;
    if (::openpty(&ends.read, &ends.write, nullptr, nullptr, nullptr) != 0) throw std::runtime_error("no terminal");
    return ends;
}

[[noreturn]] void becomeProgram(const std::filesystem::path& program, const std::vector<std::string>& arguments, const RunOptions& options)
{
    for (const auto& [name, value] : options.environment) ::setenv(name.c_str(), value.c_str(), 1);
    if (!options.workFolder.empty() && ::chdir(options.workFolder.c_str()) != 0) ::_exit(126);
    std::vector<char*> argv{const_cast<char*>(program.c_str())};
    for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    ::execv(program.c_str(), argv.data());
    ::_exit(127);
}

void useStreams(const RunOptions& options, int out, int error)
{
    ::dup2(::open("/dev/null", O_RDONLY), STDIN_FILENO);
    ::dup2(options.outFile.empty() ? out : ::open(options.outFile.c_str(), O_WRONLY), STDOUT_FILENO);
    ::dup2(error, STDERR_FILENO);
}

int exitCodeOf(pid_t pid)
{
    int status = 0;
    ::waitpid(pid, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

// Waits until the file can be read or is closed. Returns false if that takes longer than `patience`.
bool isReadable(int file, std::chrono::milliseconds patience)
{
    const auto giveUp = std::chrono::steady_clock::now() + patience;
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(giveUp - std::chrono::steady_clock::now());
        pollfd watched{file, POLLIN, 0};
        const int ready = ::poll(&watched, 1, static_cast<int>(std::max<std::int64_t>(left.count(), 0)));
        if (ready >= 0 || errno != EINTR) return ready > 0;
    }
}

// Reads both streams until both are closed. A closed terminal reports an error.
void readAll(int out, int error, Result& result)
{
    std::array<pollfd, 2> wanted{pollfd{out, POLLIN, 0}, pollfd{error, POLLIN, 0}};
    std::array<std::string*, 2> texts{&result.out, &result.error};
    for (int open = 2; open > 0;) {
        if (::poll(wanted.data(), wanted.size(), -1) < 0) continue;
        for (std::size_t i = 0; i < wanted.size(); ++i) {
            if (wanted[i].fd < 0 || wanted[i].revents == 0) continue;
            std::array<char, 4096> buffer{};
            const ssize_t n = ::read(wanted[i].fd, buffer.data(), buffer.size());
            if (n > 0) {
                texts[i]->append(buffer.data(), static_cast<std::size_t>(n));
                continue;
            }
            wanted[i].fd = -1;
            --open;
        }
    }
}

} // namespace

void waitFor(const std::function<bool()>& reached)
{
    const auto giveUp = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    while (!reached() && std::chrono::steady_clock::now() < giveUp) std::this_thread::sleep_for(std::chrono::milliseconds(2));
}

std::function<void(int pid)> signalOnce(std::function<bool()> reached, int signal)
{
    return [reached = std::move(reached), signal](int pid) {
        waitFor(reached);
        ::kill(pid, signal);
    };
}

Result runProgram(const std::filesystem::path& program, const std::vector<std::string>& arguments, const RunOptions& options)
{
    const Channel out = makePipe(), error = options.errorIsTerminal ? makeTerminal() : makePipe();
    const pid_t pid = ::fork();
    if (pid < 0) throw std::runtime_error("no process");
    if (pid == 0) {
        ::close(out.read);
        ::close(error.read);
        useStreams(options, out.write, error.write);
        becomeProgram(program, arguments, options);
    }
    ::close(out.write);
    ::close(error.write);
    if (options.whileRuns) options.whileRuns(pid);
    Result result;
    readAll(out.read, error.read, result);
    ::close(out.read);
    ::close(error.read);
    result.code = exitCodeOf(pid);
    return result;
}

Result talkToProgram(const std::filesystem::path& program, const std::vector<std::string>& arguments, const RunOptions& options,
                     const Conversation& conversation)
{
    winsize size{24, 80, 0, 0};
    int terminal = -1;
    const pid_t pid = ::forkpty(&terminal, nullptr, nullptr, &size);
    if (pid < 0) throw std::runtime_error("no process");
    if (pid == 0) becomeProgram(program, arguments, options);
    Result result;
    std::size_t seen = 0, step = 0;
    std::array<char, 4096> buffer{};
    for (;;) {
        if (!isReadable(terminal, options.patience)) {
            ::kill(pid, SIGKILL);
            ADD_FAILURE() << "The program waits for an answer that the conversation does not give. It wrote:\n" << result.out;
            break;
        }
        const ssize_t n = ::read(terminal, buffer.data(), buffer.size());
        if (n <= 0) break;
        result.out.append(buffer.data(), static_cast<std::size_t>(n));
        for (std::size_t at; step < conversation.size() && (at = result.out.find(conversation[step].first, seen)) != std::string::npos;
             ++step) {
            seen = at + conversation[step].first.size();
            const std::string& answer = conversation[step].second;
            if (answer == closeTerminal) {
                ::close(terminal);
                result.code = exitCodeOf(pid);
                return result;
            }
            if (::write(terminal, answer.data(), answer.size()) != static_cast<ssize_t>(answer.size())) break;
        }
        // Ctrl-D answers an unexpected question, so that the test does not hang.
        if (step == conversation.size() && result.out.find("help] ", seen) != std::string::npos) {
            seen = result.out.size();
            if (::write(terminal, "\x04", 1) != 1) break;
        }
    }
    ::close(terminal);
    result.code = exitCodeOf(pid);
    return result;
}

} // namespace mbtest
