// A translator over a FakeStore: logs every call, offers each optional interface by a switch, fails where it is told to, and records
// every call that breaks the order on which a translator may rely.
#pragma once
#include "CallLog.h"
#include "EventSinkFake.h"
#include "FakeStore.h"

namespace mbtest {

// What a translator of the test is made of.
struct FakeSide {
    std::string name; // "1" or "2", in front of each line of the log
    std::shared_ptr<FakeStore> store;
    std::shared_ptr<CallLog> log;
};

// Makes the translator; E_NOINTERFACE and the like as any class.
HRESULT createFake(const FakeSide& side, IUnknown* outer, REFIID riid, void** out) noexcept;

// The translator as a class of the component runtime, for as long as this lives.
class RegisteredFake {
public:
    RegisteredFake(const GUID& clsid, const FakeSide& side);
    RegisteredFake(const RegisteredFake&) = delete;
    RegisteredFake& operator=(const RegisteredFake&) = delete;
    ~RegisteredFake();

private:
    DWORD cookie_ = 0;
};

} // namespace mbtest
