#include "console.h"

#include "terminal.h"
#include "text.h"
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace platform {
namespace {

constexpr std::size_t maxLine = 65536, usualColumns = 80, fewestColumns = 20, usualLines = 24, fewestLines = 8;

class TerminalConsole final : public Console {
public:
    TerminalConsole(int in, int out) noexcept : in_(in), out_(out) {}

    void write(std::u16string_view text) override
    {
        const std::string bytes = utf8(text);
        for (std::size_t sent = 0; sent < bytes.size();) {
            const ssize_t n = ::write(out_, bytes.data() + sent, bytes.size() - sent);
            if (n < 0 && errno != EINTR) return; // the terminal is gone; the next readLine() fails
            if (n > 0) sent += static_cast<std::size_t>(n);
        }
    }

    bool readLine(std::u16string& line) override
    {
        std::string bytes;
        for (;;) {
            const std::size_t end = pending_.find('\n');
            if (end != std::string::npos) {
                bytes = pending_.substr(0, end);
                pending_.erase(0, end + 1);
                line = utf16(bytes);
                return true;
            }
            if (pending_.size() > maxLine || !fillPending()) return false;
        }
    }

    [[nodiscard]] std::size_t columns() const override
    {
        winsize size{};
        if (::ioctl(out_, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) return usualColumns;
        return std::max<std::size_t>(size.ws_col, fewestColumns);
    }

    [[nodiscard]] std::size_t lines() const override
    {
        winsize size{};
        if (::ioctl(out_, TIOCGWINSZ, &size) != 0 || size.ws_row == 0) return usualLines;
        return std::max<std::size_t>(size.ws_row, fewestLines);
    }

    [[nodiscard]] bool coloured() const override
    {
        const char *unwanted = std::getenv("NO_COLOR"), *kind = std::getenv("TERM");
        return !(unwanted && *unwanted) && !(kind && std::string_view(kind) == "dumb");
    }

private:
    // Fails if a signal interrupts the wait, since a read would simply continue.
    bool fillPending()
    {
        pollfd wanted{in_, POLLIN, 0};
        if (::poll(&wanted, 1, -1) < 0) return false;
        char buffer[4096];
        const ssize_t n = ::read(in_, buffer, sizeof buffer);
        if (n <= 0) return false;
        pending_.append(buffer, static_cast<std::size_t>(n));
        return true;
    }

    int in_, out_;
    std::string pending_;
};

int outputOfConsole() noexcept { return outputIsTerminal() ? STDOUT_FILENO : errorIsTerminal() ? STDERR_FILENO : -1; }

} // namespace

bool someoneAnswers() noexcept { return inputIsTerminal() && outputOfConsole() >= 0; }

std::unique_ptr<Console> openConsole()
{
    if (!someoneAnswers()) return nullptr;
    std::fflush(stdout); // earlier output must appear before the question
    auto console = std::make_unique<TerminalConsole>(STDIN_FILENO, outputOfConsole());
    console->write(u"\r" + std::u16string(console->columns() - 1, u' ') + u"\r"); // clears the line, which may show a progress bar
    return console;
}

} // namespace platform
