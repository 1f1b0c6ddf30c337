// Tells the sink how far a stage has come.
#pragma once
#include "com.h"
#include "engine/RunFailure.h"
#include "interfaces.h"
#include <algorithm>

namespace mb {

class StageProgress {
public:
    // A null sink hears nothing.
    StageProgress(com::Ptr<ISyncEvents> sink, std::u16string_view label) : sink_(std::move(sink)), label_(label) {}
    // Throws Cancelled if the sink answers E_ABORT. Any other answer of the sink is success.
    void advance(double step)
    {
        percent_ = std::min(percent_ + step, 100.0); // sums of fractions may exceed 100 by a little
        if (sink_) requireNoCancel(com::call(sink_, &ISyncEvents::OnProgress2, label_.get(), percent_));
    }
    // Advances to the percentage, if progress has not reached it yet.
    void reach(double percent)
    {
        if (percent_ < percent) advance(percent - percent_);
    }

private:
    com::Ptr<ISyncEvents> sink_;
    com::Bstr label_;
    double percent_ = 0.0;
};

} // namespace mb
