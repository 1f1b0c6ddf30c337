// An events sink that remembers, and cancels at its n-th call.
#pragma once
#include "interfaces.h"
#include <string>
#include <vector>

namespace mbtest {

class EventSinkFake final : public com::Object<ISyncEvents> {
public:
    explicit EventSinkFake(IUnknown* outer) noexcept : Object(outer) {}
    std::vector<std::u16string> labels;  // one line a change of label
    std::vector<_SyncProgress> progress; // one line a change of stage
    int calls = 0, cancelAt = 0;
    int writes = 0, cancelAtWrite = 0; // OnProgress alone
    double lastPercent = 0;
    HRESULT STDMETHODCALLTYPE OnProgress(_SyncProgress stage, DOUBLE fPercent) override;
    HRESULT STDMETHODCALLTYPE OnProgress2(BSTR progressLabel, DOUBLE fPercent) override;
};

} // namespace mbtest
