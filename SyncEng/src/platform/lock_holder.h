// What the file of a lock tells of its holder.
#pragma once
#include "files.h"
#include "host.h"
#include "text.h"

namespace platform {

inline std::string ownHolderText() { return utf8(textOf(executablePath().stem())) + ", process " + std::to_string(processId()); }

} // namespace platform
