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

// The Script Control stops a script only when its time limit expires and the user confirms; nothing else can interrupt its thread.
bool cancelScript() noexcept { return false; }

// Console events run in a thread of their own, so this may block.
void endLater(unsigned seconds, InterruptHandler end) noexcept
{
    Sleep(seconds * 1000);
    end();
}

// ExitProcess would run the exit code of every library, which could wait for a lock that a stopped thread holds.
void endAtOnce(std::string_view text, int code) noexcept
{
    DWORD written = 0;
    (void)WriteFile(GetStdHandle(STD_ERROR_HANDLE), text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
    TerminateProcess(GetCurrentProcess(), static_cast<UINT>(code));
    __builtin_unreachable();
}

} // namespace platform
