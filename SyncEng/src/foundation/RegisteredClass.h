// The name of a registered class.
#pragma once
#include "com.h"
#include <string>

namespace mb {

// Returns the class's name in the registry; empty if it is not registered.
std::u16string GetRegisteredClassName(REFCLSID clsid);

} // namespace mb
