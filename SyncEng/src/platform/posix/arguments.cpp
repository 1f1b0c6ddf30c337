#include "arguments.h"

namespace platform {

std::vector<std::string> arguments(int argc, char** argv) { return {argv + (argc > 0 ? 1 : 0), argv + argc}; }

} // namespace platform
