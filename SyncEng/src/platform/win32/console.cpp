#include "console.h"

#include "terminal.h"
#include <algorithm>
#include <cstdio>
#include <windows.h>

namespace platform {
namespace {

constexpr std::size_t maxLine = 65536, usualColumns = 80, fewestColumns = 20, usualLines = 24, fewestLines = 8;

class WindowsConsole final : public Console {
public:
    explicit WindowsConsole(HANDLE out) noexcept : in_(GetStdHandle(STD_INPUT_HANDLE)), out_(out) {}

    void write(std::u16string_view text) override
    {
        DWORD written = 0;
        for (; !text.empty(); text.remove_prefix(written))
            if (!WriteConsoleW(out_, text.data(), static_cast<DWORD>(std::min<std::size_t>(text.size(), 8192)), &written, nullptr) ||
                !written)
                return;
    }

    bool readLine(std::u16string& line) override
    {
        line.clear();
        while (line.size() <= maxLine) {
            wchar_t buffer[1024];
            DWORD read = 0;
            if (!ReadConsoleW(in_, buffer, 1024, &read, nullptr) || read == 0 || buffer[0] == 0x1A) return false;
            line.append(buffer, buffer + read);
            if (line.back() != u'\n') continue;
            while (!line.empty() && (line.back() == u'\n' || line.back() == u'\r')) line.pop_back();
            return true;
        }
        return false;
    }

    [[nodiscard]] std::size_t columns() const override
    {
        CONSOLE_SCREEN_BUFFER_INFO info{};
        if (!GetConsoleScreenBufferInfo(out_, &info)) return usualColumns;
        return std::max(static_cast<std::size_t>(info.srWindow.Right - info.srWindow.Left + 1), fewestColumns);
    }

    [[nodiscard]] std::size_t lines() const override
    {
        CONSOLE_SCREEN_BUFFER_INFO info{};
        if (!GetConsoleScreenBufferInfo(out_, &info)) return usualLines;
        return std::max(static_cast<std::size_t>(info.srWindow.Bottom - info.srWindow.Top + 1), fewestLines);
    }

    [[nodiscard]] bool coloured() const override { return false; }

private:
    HANDLE in_, out_;
};

} // namespace

bool someoneAnswers() noexcept { return inputIsTerminal() && (outputIsTerminal() || errorIsTerminal()); }

std::unique_ptr<Console> openConsole()
{
    if (!someoneAnswers()) return nullptr;
    std::fflush(stdout);
    return std::make_unique<WindowsConsole>(GetStdHandle(outputIsTerminal() ? STD_OUTPUT_HANDLE : STD_ERROR_HANDLE));
}

} // namespace platform
