// The library or program that this code stands in, where its resources are.
#pragma once
#include "com.h"

extern "C" IMAGE_DOS_HEADER __ImageBase; // the linker puts it where the module begins

namespace mb {

inline HINSTANCE ownModule() noexcept { return reinterpret_cast<HINSTANCE>(&__ImageBase); }

} // namespace mb
