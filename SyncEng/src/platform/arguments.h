// What a program was called with.
#pragma once
#include <string>
#include <vector>

namespace platform {

// The arguments of main without the program's name, in UTF-8: Windows hands main an older code page, which lacks most letters.
std::vector<std::string> arguments(int argc, char** argv);

} // namespace platform
