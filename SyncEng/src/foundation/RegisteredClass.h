// The name under which a class stands in the registry.
#pragma once
#include "com.h"
#include <string>

namespace mb {

// Empty if the class is not registered.
std::u16string GetRegisteredClassName(REFCLSID clsid);

} // namespace mb
