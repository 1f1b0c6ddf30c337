// True while the process's run shows no dialogs: during a silent run and during a transfer. One value is enough, since only one run is
// active.
#pragma once
#include "com.h"

namespace mb {

inline VARIANT_BOOL SilentMode = VARIANT_FALSE;

} // namespace mb
