// The text that a lock file stores about the process that holds the lock: a line with its name, and a line with its note.
#pragma once
#include "files.h"
#include "host.h"
#include "text.h"

namespace platform {

inline std::string ownHolderText() { return utf8(textOf(executablePath().stem())) + ", process " + std::to_string(processId()); }

inline std::string lockFileText(std::string_view note) { return ownHolderText() + '\n' + std::string(note); }

} // namespace platform
