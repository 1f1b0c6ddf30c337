// Requests to stop the program: Ctrl-C, SIGTERM on Linux, and Ctrl-Break on Windows, the only event that can be sent to a process group
// there. Without a handler the system ends the process.
#pragma once
#include <string_view>

namespace platform {

// Handles such requests from now on. The handler is called in a signal handler (Linux) or in a thread of the system (Windows). It may only
// set atomics, call the functions below, or end the process.
using InterruptHandler = void (*)();
void takeInterrupts(InterruptHandler handler) noexcept;

// Asks the running script to stop. Returns false if none is running, and always on Windows, where a script cannot be interrupted.
bool cancelScript() noexcept;

// Calls `end` after so many seconds. Requires: it is called once per process.
void endLater(unsigned seconds, InterruptHandler end) noexcept;

// Writes the text to standard error and ends the process without flushing or destroying anything, since other threads may be running.
[[noreturn]] void endAtOnce(std::string_view text, int code) noexcept;

} // namespace platform
