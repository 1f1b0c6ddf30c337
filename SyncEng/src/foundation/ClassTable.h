// Creates objects of the module's classes by class identifier: from the module's table, otherwise from the component runtime. So no source
// file includes a higher layer, tests need no registration, and a test can replace a class by a fake.
#pragma once
#include "com.h"
#include <span>
#include <string_view>

namespace mb {

// Sets the module's table. Requires: the rows outlive every use.
void SetClassTable(std::span<const com::ClassEntry> rows) noexcept;

// While it lives, its rows are found before the module's rows.
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

// Creates an object that is not aggregated and returns the pointer's interface.
template <class I> HRESULT createClass(REFCLSID clsid, com::Ptr<I>& out) noexcept
{
    return createClass(clsid, nullptr, __uuidof(I), out.putVoid());
}

// Creates an object by ProgID, with or without version, for scripts. Fails with E_NOINTERFACE if scripts cannot use the class.
HRESULT createClassByName(std::u16string_view progId, com::Ptr<IDispatch>& out) noexcept;

} // namespace mb
