// How a class of the module gets another one: by class identifier, first from the module's own rows, then from the component runtime.
// Nothing includes upwards, nothing has to be registered to be tested, and a test can put a fake in front.
#pragma once
#include "com.h"
#include <span>
#include <string_view>

namespace mb {

// The module's rows; they must outlive all use.
void SetClassTable(std::span<const com::ClassEntry> rows) noexcept;

// Rows that answer before all others for as long as this lives.
class ClassOverride {
public:
    explicit ClassOverride(std::span<const com::ClassEntry> rows);
    ClassOverride(const ClassOverride&) = delete;
    ClassOverride& operator=(const ClassOverride&) = delete;
    ~ClassOverride();

private:
    std::span<const com::ClassEntry> former_;
};

HRESULT createClass(REFCLSID clsid, IUnknown* outer, REFIID riid, void** out) noexcept;

// An object without an outer one, by the interface of the pointer.
template <class I> HRESULT createClass(REFCLSID clsid, com::Ptr<I>& out) noexcept
{
    return createClass(clsid, nullptr, __uuidof(I), out.putVoid());
}

// The same by the class's name, with or without its version, for scripts. E_NOINTERFACE if they cannot drive it.
HRESULT createClassByName(std::u16string_view progId, com::Ptr<IDispatch>& out) noexcept;

} // namespace mb
