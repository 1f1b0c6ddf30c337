#include "EventSinkFake.h"

#include <algorithm>

namespace mbtest {

std::vector<double> EventSinkFake::percentsOf(const std::u16string& label) const
{
    const auto at = std::ranges::find(labels, label);
    return at == labels.end() ? std::vector<double>() : percents.at(static_cast<std::size_t>(at - labels.begin()));
}

HRESULT STDMETHODCALLTYPE EventSinkFake::OnProgress(_SyncProgress stage, DOUBLE fPercent)
{
    return com::guarded([&] {
        if (progress.empty() || progress.back() != stage) progress.push_back(stage);
        lastPercent = fPercent;
        ++calls;
        return ++writes == cancelAtWrite || calls == cancelAt ? E_ABORT : S_OK;
    });
}

HRESULT STDMETHODCALLTYPE EventSinkFake::OnProgress2(BSTR progressLabel, DOUBLE fPercent)
{
    return com::guarded([&] {
        if (labels.empty() || labels.back() != com::viewOf(progressLabel)) labels.push_back(com::textOf(progressLabel));
        percents.resize(labels.size());
        percents.back().push_back(fPercent);
        lastPercent = fPercent;
        return ++calls == cancelAt || labels.back() == cancelAtLabel ? E_ABORT : S_OK;
    });
}

} // namespace mbtest
