// Who takes the messages of this process: one for all of its modules, so it lives in the library that they share.
#pragma once
#include "ui.h"

namespace platform {

MessageReader messageReader() noexcept;

} // namespace platform
