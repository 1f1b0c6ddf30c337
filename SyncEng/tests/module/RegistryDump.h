// All that stands in the registry where a registration may write.
#pragma once
#include <set>
#include <string>

namespace mbtest {

// One line a key, and one a value with its kind and bytes.
std::set<std::u16string> registryLines();

} // namespace mbtest
