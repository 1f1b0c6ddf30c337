// Reads the parts of the registry that a registration may write.
#pragma once
#include <set>
#include <string>

namespace mbtest {

// Returns one line for each key, and one for each value with its type and bytes.
std::set<std::u16string> registryLines();

} // namespace mbtest
