// Where the program behind a target is installed, as the registry's App Paths tell.
#pragma once
#include "com.h"

namespace mb {

// The program's path; its bare name if it is known and not installed; empty for a target that no row knows.
std::u16string FindTranslatorProgram(const GUID& target);

} // namespace mb
