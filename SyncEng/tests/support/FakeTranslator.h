// A translator over a FakeStore. It logs every call, has a switch for each optional interface, fails where the test says so, and records
// every call that breaks the order on which a translator may rely.
#pragma once
#include "CallLog.h"
#include "EventSinkFake.h"
#include "FakeStore.h"
#include "RegisteredClass.h"

namespace mbtest {

// One side of a test.
struct FakeSide {
    std::string name; // "1" or "2"; begins each line of the log
    std::shared_ptr<FakeStore> store;
    std::shared_ptr<CallLog> log;
};

// Creates the translator, like IClassFactory::CreateInstance.
HRESULT createFake(const FakeSide& side, IUnknown* outer, REFIID riid, void** out) noexcept;

// Registers the translator as a class of the component runtime while this object lives.
class RegisteredFake : public RegisteredClass {
public:
    RegisteredFake(const GUID& clsid, const FakeSide& side)
        : RegisteredClass(clsid, [side](IUnknown* outer, REFIID riid, void** out) { return createFake(side, outer, riid, out); })
    {
    }
};

} // namespace mbtest
