// The user's cancel, reported by a translator.
#pragma once
#include "com.h"

namespace mb {

// Thrown after a translator returned E_ABORT. The pipeline ends the run with E_ABORT.
struct Cancelled {};

// Returns the result of a translator call unchanged; throws Cancelled for E_ABORT.
inline HRESULT unlessCancelled(HRESULT result)
{
    if (result == E_ABORT) throw Cancelled{};
    return result;
}

} // namespace mb
