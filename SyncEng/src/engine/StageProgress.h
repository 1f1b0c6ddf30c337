// Tells the sink how far a stage has come.
#pragma once
#include "com.h"
#include "interfaces.h"
#include <algorithm>

namespace mb {

class StageProgress {
public:
    // A null sink hears nothing.
    StageProgress(com::Ptr<ISyncEvents> sink, std::u16string_view label) : sink_(std::move(sink)), label_(label) {}
    // E_ABORT if the user cancels; whatever else the sink answers is success.
    HRESULT advance(double step) noexcept
    {
        percent_ = std::min(percent_ + step, 100.0); // sums of fractions may pass it by a little
        return report();
    }
    // Goes on to the percentage, if it is not there yet.
    HRESULT reach(double percent) noexcept { return percent_ < percent ? advance(percent - percent_) : S_OK; }
    HRESULT report() noexcept
    {
        if (!sink_) return S_OK;
        return com::call(sink_, &ISyncEvents::OnProgress2, label_.get(), percent_) == E_ABORT ? E_ABORT : S_OK;
    }

private:
    com::Ptr<ISyncEvents> sink_;
    com::Bstr label_;
    double percent_ = 0.0;
};

} // namespace mb
