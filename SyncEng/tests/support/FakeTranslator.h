// A translator over a FakeStore: logs every call, offers each optional interface by a switch, and fails where it is told to.
#pragma once
#include "CallLog.h"
#include "FakeStore.h"

namespace mbtest {

// What a translator of the test is made of. Tests put their own in the class table.
struct FakeSide {
    std::string name; // "1" or "2", in front of each line of the log
    std::shared_ptr<FakeStore> store;
    std::shared_ptr<CallLog> log;
};

// Makes the translator; E_NOINTERFACE and the like as any class.
HRESULT createFake(const FakeSide& side, IUnknown* outer, REFIID riid, void** out) noexcept;

// An events sink that remembers, and cancels at its n-th call.
class EventSinkFake final : public com::Object<ISyncEvents> {
public:
    explicit EventSinkFake(IUnknown* outer) noexcept : Object(outer) {}
    std::vector<std::u16string> labels; // one line a change of label
    int calls = 0, cancelAt = 0;
    int writes = 0, cancelAtWrite = 0; // OnProgress alone
    double lastPercent = 0;
    HRESULT STDMETHODCALLTYPE OnProgress(_SyncProgress progress, DOUBLE fPercent) override;
    HRESULT STDMETHODCALLTYPE OnProgress2(BSTR progressLabel, DOUBLE fPercent) override;
};

} // namespace mbtest
