// Whether this process's run asks and shows nothing: true during a silent run and during a transfer. One value for the whole process;
// there is one run at a time.
#pragma once
#include "com.h"

namespace mb {

inline VARIANT_BOOL SilentMode = VARIANT_FALSE;

} // namespace mb
