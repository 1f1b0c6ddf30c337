// The current time as an automation date. The module itself asks platform/host.h.
#pragma once
#include "host.h"

namespace mb {

inline double CurrentDateTime(bool utc) noexcept { return utc ? platform::utcNow() : platform::localNow(); }

} // namespace mb
