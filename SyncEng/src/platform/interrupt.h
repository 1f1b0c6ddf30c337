// The user's wish that the program stop: Ctrl-C, and what asks it without a terminal, SIGTERM on Linux and Ctrl-Break on Windows, which
// alone reaches a group of processes. As long as nobody takes the wish the system ends the process.
#pragma once
#include <string_view>

namespace platform {

// Takes the wish from now on. It is called in a signal handler or in a thread of the system's, so it only sets what is atomic, calls what
// is meant for it, or ends the process.
using InterruptHandler = void (*)();
void takeInterrupts(InterruptHandler handler) noexcept;

// Asks the script that runs to end. False if none runs, or if it is one that nothing can end but the end of the process. May be called from
// there.
bool cancelScript() noexcept;

// Calls this when so many seconds have passed, from there as well; once a process.
void endLater(unsigned seconds, InterruptHandler end) noexcept;

// Ends the process from there: the text goes to standard error, nothing is flushed or destroyed while other threads are at work.
[[noreturn]] void endAtOnce(std::string_view text, int code) noexcept;

} // namespace platform
