#include "Progress.h"

#include "interrupt.h"
#include "Output.h"
#include <algorithm>
#include <atomic>
#include <cstdio>

namespace mbhost {
namespace {

std::atomic<bool> interruptSeen{false};

constexpr int barWidth = 30;

} // namespace

void catchInterrupts() noexcept { platform::takeInterrupts(noteInterrupt); }
void noteInterrupt() noexcept { interruptSeen = true; }

bool interrupted() noexcept { return interruptSeen; }

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
    const int whole = percent > 0 ? static_cast<int>(std::min(percent, 100.0)) : 0; // 0 too for what is no number
    if (!shows_ || (whole == shownPercent_ && label == label_)) return S_OK;
    shownPercent_ = whole;
    label_ = label;
    const int filled = whole * barWidth / 100;
    std::fprintf(stderr, "\r[%s%s] %3d%% %s\033[K", std::string(static_cast<std::size_t>(filled), '#').c_str(),
                 std::string(static_cast<std::size_t>(barWidth - filled), '.').c_str(), whole, label_.c_str());
    return S_OK;
}

void Progress::finish()
{
    if (shownPercent_ >= 0) std::fputs("\r\033[K", stderr);
    shownPercent_ = -1;
    label_.clear();
}

} // namespace mbhost
