// Hears the progress of a run: draws it as a bar on a terminal, as nothing in a pipe, and hands the user's Ctrl-C to the engine.
#pragma once
#include "interfaces.h"
#include "terminal.h"
#include <string>

namespace mbhost {

class Progress final : public com::Object<ISyncEvents> {
public:
    explicit Progress(IUnknown* outer) noexcept : Object(outer) {}
    HRESULT STDMETHODCALLTYPE OnProgress(_SyncProgress progress, DOUBLE fPercent) override;
    HRESULT STDMETHODCALLTYPE OnProgress2(BSTR progressLabel, DOUBLE fPercent) override;
    // Wipes the bar.
    void finish();

private:
    HRESULT tell(std::string_view label, DOUBLE percent);
    std::string label_;
    const bool shows_ = platform::errorIsTerminal(); // asked once: a run reports for each record
    int shownPercent_ = -1;
};

// A line of progress in so many columns: a bar where it leaves room for the label, the percentage and as much of the label as fits.
std::string progressLine(int percent, std::string_view label, std::size_t columns);

// From now on Ctrl-C asks a run to stop instead of ending the process.
void catchInterrupts() noexcept;
void noteInterrupt() noexcept;
bool interrupted() noexcept;

} // namespace mbhost
