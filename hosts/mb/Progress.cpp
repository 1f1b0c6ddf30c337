#include "Progress.h"

#include "console_text.h"
#include "interrupt.h"
#include "Output.h"
#include "text.h"
#include <algorithm>
#include <atomic>
#include <cstdio>

namespace mbhost {
namespace {

std::atomic<bool> interruptSeen{false};

constexpr std::size_t barWidth = 30;

} // namespace

void catchInterrupts() noexcept { platform::takeInterrupts(noteInterrupt); }
void noteInterrupt() noexcept { interruptSeen = true; }

bool interrupted() noexcept { return interruptSeen; }

std::string progressLine(int percent, std::string_view label, std::size_t columns)
{
    char number[8];
    std::snprintf(number, sizeof number, "%3d%% ", percent);
    std::string line;
    if (columns >= 2 * barWidth) {
        const std::size_t filled = static_cast<std::size_t>(percent) * barWidth / 100;
        line = "[" + std::string(filled, '#') + std::string(barWidth - filled, '.') + "] ";
    }
    return platform::utf8(platform::fitted(platform::utf16(line.append(number).append(label)), columns));
}

HRESULT STDMETHODCALLTYPE Progress::OnProgress(_SyncProgress, DOUBLE fPercent)
{
    return com::guarded([&] { return tell("Writing contacts.", fPercent); });
}

HRESULT STDMETHODCALLTYPE Progress::OnProgress2(BSTR progressLabel, DOUBLE fPercent)
{
    if (!shows_) return interrupted() ? E_ABORT : S_OK;
    return com::guarded([&] { return tell(printable(com::viewOf(progressLabel)), fPercent); });
}

HRESULT Progress::tell(std::string_view label, DOUBLE percent)
{
    if (interrupted()) return E_ABORT;
    const int whole = percent > 0 ? static_cast<int>(std::min(percent, 100.0)) : 0; // NaN counts as 0
    if (!shows_ || (whole == shownPercent_ && label == label_)) return S_OK;
    shownPercent_ = whole;
    label_ = label;
    // The last column stays free: a full line would wrap, and \r could not erase it.
    std::fprintf(stderr, "\r%s\033[K", progressLine(whole, label_, platform::errorColumns() - 1).c_str());
    return S_OK;
}

void Progress::finish()
{
    if (shownPercent_ >= 0) std::fputs("\r\033[K", stderr);
    shownPercent_ = -1;
    label_.clear();
}

} // namespace mbhost
