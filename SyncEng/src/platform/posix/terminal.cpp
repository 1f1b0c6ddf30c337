#include "terminal.h"

#include <algorithm>
#include <sys/ioctl.h>
#include <unistd.h>

namespace platform {

bool errorIsTerminal() noexcept { return ::isatty(STDERR_FILENO) == 1; }
bool outputIsTerminal() noexcept { return ::isatty(STDOUT_FILENO) == 1; }
bool inputIsTerminal() noexcept { return ::isatty(STDIN_FILENO) == 1; }

std::size_t errorColumns() noexcept
{
    winsize size{};
    if (::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) return 80;
    return std::max<std::size_t>(size.ws_col, 20);
}

} // namespace platform
