// An event sink that records the events, and cancels at its n-th call or at a label.
#pragma once
#include "interfaces.h"
#include <string>
#include <vector>

namespace mbtest {

class EventSinkFake final : public com::Object<ISyncEvents> {
public:
    explicit EventSinkFake(IUnknown* outer) noexcept : Object(outer) {}
    std::vector<std::u16string> labels;        // one entry for each change of the label
    std::vector<std::vector<double>> percents; // the percentages reported under each entry of `labels`
    std::vector<_SyncProgress> progress;       // one entry for each change of the stage
    int calls = 0, cancelAt = 0;
    int writes = 0, cancelAtWrite = 0; // count only OnProgress
    std::u16string cancelAtLabel;      // every report under this label cancels the run
    double lastPercent = 0;
    // Returns the percentages reported under a label; empty if the label was never shown.
    [[nodiscard]] std::vector<double> percentsOf(const std::u16string& label) const;
    HRESULT STDMETHODCALLTYPE OnProgress(_SyncProgress stage, DOUBLE fPercent) override;
    HRESULT STDMETHODCALLTYPE OnProgress2(BSTR progressLabel, DOUBLE fPercent) override;
};

} // namespace mbtest
