#include "interrupt.h"

#include <atomic>
#include <windows.h>

namespace platform {
namespace {

std::atomic<InterruptHandler> taker = nullptr;

BOOL WINAPI onEvent(DWORD event) noexcept
{
    if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT) return FALSE;
    taker.load()();
    return TRUE;
}

} // namespace

void takeInterrupts(InterruptHandler handler) noexcept
{
    if (!taker.exchange(handler)) SetConsoleCtrlHandler(onEvent, TRUE);
}

// The Script Control ends a script only when its time is up and the user says so to a question, and it does not leave its thread before.
bool cancelScript() noexcept { return false; }

// The events come in a thread of their own, so it may wait.
void endLater(unsigned seconds, InterruptHandler end) noexcept
{
    Sleep(seconds * 1000);
    end();
}

// Not ExitProcess: it runs the end of every library, which may wait for a lock of a thread that was stopped in its midst.
void endAtOnce(std::string_view text, int code) noexcept
{
    DWORD written = 0;
    (void)WriteFile(GetStdHandle(STD_ERROR_HANDLE), text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
    TerminateProcess(GetCurrentProcess(), static_cast<UINT>(code));
    __builtin_unreachable();
}

} // namespace platform
