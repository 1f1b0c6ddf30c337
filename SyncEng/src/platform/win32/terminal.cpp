#include "terminal.h"

#include <windows.h>

namespace platform {
namespace {

// A console; a file, a pipe and the null device have no mode.
bool isConsole(DWORD stream) noexcept
{
    DWORD mode = 0;
    return GetConsoleMode(GetStdHandle(stream), &mode) != 0;
}

} // namespace

bool errorIsTerminal() noexcept { return isConsole(STD_ERROR_HANDLE); }
bool outputIsTerminal() noexcept { return isConsole(STD_OUTPUT_HANDLE); }
bool inputIsTerminal() noexcept { return isConsole(STD_INPUT_HANDLE); }

} // namespace platform
