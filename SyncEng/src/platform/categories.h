// Component categories: which classes offer what, and the registration of a server's classes.
#pragma once
#include "com.h"

#include <vector>

namespace platform {

// Each answers the result code of the system's categories manager.
HRESULT registerCategory(REFGUID category, std::u16string_view description) noexcept;
HRESULT registerClassInCategory(REFCLSID clsid, REFGUID category) noexcept;
HRESULT unregisterClassInCategory(REFCLSID clsid, REFGUID category) noexcept;

HRESULT unregisterCategory(REFGUID category) noexcept;

// The classes of a category, one after the other, in the order in which the system lists them.
class CategoryClasses {
public:
    HRESULT open(REFGUID category) noexcept;
    // S_OK with a class, S_FALSE at the end, a failure if the enumeration broke.
    HRESULT next(CLSID* clsid) noexcept;

private:
    std::vector<CLSID> classes_;
    std::size_t position_ = 0;
    HRESULT end_ = S_FALSE; // how the enumeration ended
};

} // namespace platform
