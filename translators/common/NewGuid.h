#pragma once
#include <string>

namespace mb::plugin {

// Returns a random GUID as text, upper-case and in braces. Throws a std::runtime_error if the system provides no random numbers.
std::string newGuid();

} // namespace mb::plugin
