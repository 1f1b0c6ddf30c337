// The current time as an automation date. Part of the documented interface; the module itself asks platform/host.h.
#pragma once
#include "host.h"

namespace mb {

inline double CurrentDateTime(bool utc) noexcept { return utc ? platform::utcNow() : platform::localNow(); }

} // namespace mb
