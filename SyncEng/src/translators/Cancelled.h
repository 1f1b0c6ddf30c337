// The user's cancel, as a translator reports it.
#pragma once
#include "com.h"

namespace mb {

// Thrown after a translator answered E_ABORT. The pipeline ends the run with E_ABORT.
struct Cancelled {};

// The result of a call of a translator. Throws Cancelled for E_ABORT.
inline HRESULT unlessCancelled(HRESULT result)
{
    if (result == E_ABORT) throw Cancelled{};
    return result;
}

} // namespace mb
