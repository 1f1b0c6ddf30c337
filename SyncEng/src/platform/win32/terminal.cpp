#include "terminal.h"

#include <algorithm>
#include <windows.h>

namespace platform {
namespace {

// Returns whether the stream is a console: files, pipes and the null device have no console mode.
bool isConsole(DWORD stream) noexcept
{
    DWORD mode = 0;
    return GetConsoleMode(GetStdHandle(stream), &mode) != 0;
}

} // namespace

bool errorIsTerminal() noexcept { return isConsole(STD_ERROR_HANDLE); }
bool outputIsTerminal() noexcept { return isConsole(STD_OUTPUT_HANDLE); }
bool inputIsTerminal() noexcept { return isConsole(STD_INPUT_HANDLE); }

std::size_t errorColumns() noexcept
{
    CONSOLE_SCREEN_BUFFER_INFO info{};
    if (!GetConsoleScreenBufferInfo(GetStdHandle(STD_ERROR_HANDLE), &info)) return 80;
    return std::max<std::size_t>(static_cast<std::size_t>(info.srWindow.Right - info.srWindow.Left + 1), 20);
}

} // namespace platform
