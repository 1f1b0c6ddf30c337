// Component categories: registration, and a list of the classes in a category.
#pragma once
#include "com.h"

#include <vector>

namespace platform {

// Each function returns the result code of the system's category manager.
HRESULT registerCategory(REFGUID category, std::u16string_view description) noexcept;
HRESULT registerClassInCategory(REFCLSID clsid, REFGUID category) noexcept;
HRESULT unregisterClassInCategory(REFCLSID clsid, REFGUID category) noexcept;

HRESULT unregisterCategory(REFGUID category) noexcept;

// Enumerates the classes of a category in the system's order. Requires: open() succeeded before next() is called.
class CategoryClasses {
public:
    HRESULT open(REFGUID category) noexcept;
    // Returns S_OK with a class, S_FALSE at the end, or the failure that ended the enumeration.
    HRESULT next(CLSID* clsid) noexcept;

private:
    std::vector<CLSID> classes_;
    std::size_t position_ = 0;
    HRESULT end_ = S_FALSE; // result of the enumeration behind the last class
};

} // namespace platform
