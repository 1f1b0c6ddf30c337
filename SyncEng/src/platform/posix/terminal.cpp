#include "terminal.h"

#include <unistd.h>

namespace platform {

bool errorIsTerminal() noexcept { return ::isatty(STDERR_FILENO) == 1; }
bool outputIsTerminal() noexcept { return ::isatty(STDOUT_FILENO) == 1; }
bool inputIsTerminal() noexcept { return ::isatty(STDIN_FILENO) == 1; }

} // namespace platform
