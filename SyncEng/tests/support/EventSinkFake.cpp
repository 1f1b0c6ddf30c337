#include "EventSinkFake.h"

namespace mbtest {

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
        lastPercent = fPercent;
        return ++calls == cancelAt ? E_ABORT : S_OK;
    });
}

} // namespace mbtest
