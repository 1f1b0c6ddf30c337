// The current reader of messages. All modules of the process share it, so it lives in libmbcom.so.
#pragma once
#include "ui.h"

namespace platform {

MessageReader messageReader() noexcept;

} // namespace platform
