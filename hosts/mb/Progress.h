// Shows the progress of a run as a bar if the error stream is a terminal, and passes the user's Ctrl-C on to the engine.
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
    // Erases the bar.
    void finish();

private:
    HRESULT tell(std::string_view label, DOUBLE percent);
    std::string label_;
    const bool shows_ = platform::errorIsTerminal(); // cached: a run reports progress for each record
    int shownPercent_ = -1;
};

// A progress line of at most `columns` columns: the percentage, as much of the label as fits, and in a wide terminal a bar.
std::string progressLine(int percent, std::string_view label, std::size_t columns);

// From now on Ctrl-C asks a run to stop instead of ending the process.
void catchInterrupts() noexcept;
void noteInterrupt() noexcept;
bool interrupted() noexcept;

} // namespace mbhost
