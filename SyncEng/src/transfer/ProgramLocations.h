// Finds the program of a target in the registry's App Paths.
#pragma once
#include "com.h"

namespace mb {

// Returns the program's path, its bare file name if it is not installed, or an empty text for a target without a known program.
std::u16string FindTranslatorProgram(const GUID& target);

} // namespace mb
