#include "interrupt.h"

#include "com.h"
#include <atomic>
#include <csignal>
#include <unistd.h>

namespace platform {
namespace {

std::atomic<InterruptHandler> taker = nullptr;

std::atomic<InterruptHandler> ender = nullptr;

extern "C" void onSignal(int) { taker.load()(); }
extern "C" void onAlarm(int) { ender.load()(); }

} // namespace

void takeInterrupts(InterruptHandler handler) noexcept
{
    taker = handler;
    std::signal(SIGINT, onSignal);
    std::signal(SIGTERM, onSignal);
}

bool cancelScript() noexcept { return SUCCEEDED(CoCancelCall(0, 0)); }

void endLater(unsigned seconds, InterruptHandler end) noexcept
{
    ender = end;
    std::signal(SIGALRM, onAlarm);
    ::alarm(seconds);
}

void endAtOnce(std::string_view text, int code) noexcept
{
    if (::write(STDERR_FILENO, text.data(), text.size()) < 0) ::_exit(code); // a failed write cannot be reported
    ::_exit(code);
}

} // namespace platform
