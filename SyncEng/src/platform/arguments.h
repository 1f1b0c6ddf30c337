#pragma once
#include <string>
#include <vector>

namespace platform {

// Returns the arguments of main in UTF-8, without the program's name. On Windows they are read from the system, since the argv of main is
// in the ANSI code page.
std::vector<std::string> arguments(int argc, char** argv);

} // namespace platform
