// An events sink that remembers, and cancels at its n-th call or at a label.
#pragma once
#include "interfaces.h"
#include <string>
#include <vector>

namespace mbtest {

class EventSinkFake final : public com::Object<ISyncEvents> {
public:
    explicit EventSinkFake(IUnknown* outer) noexcept : Object(outer) {}
    std::vector<std::u16string> labels;        // one line a change of label
    std::vector<std::vector<double>> percents; // for each line of labels, what was reported under it
    std::vector<_SyncProgress> progress;       // one line a change of stage
    int calls = 0, cancelAt = 0;
    int writes = 0, cancelAtWrite = 0; // OnProgress alone
    std::u16string cancelAtLabel;      // each report under this label is cancelled
    double lastPercent = 0;
    // What was reported under a label; empty if it was never shown.
    [[nodiscard]] std::vector<double> percentsOf(const std::u16string& label) const;
    HRESULT STDMETHODCALLTYPE OnProgress(_SyncProgress stage, DOUBLE fPercent) override;
    HRESULT STDMETHODCALLTYPE OnProgress2(BSTR progressLabel, DOUBLE fPercent) override;
};

} // namespace mbtest
