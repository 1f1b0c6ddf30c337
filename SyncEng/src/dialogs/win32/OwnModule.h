// The library or program that contains this code and its resources.
#pragma once
#include "com.h"

extern "C" IMAGE_DOS_HEADER __ImageBase; // the linker places it at the start of the module

namespace mb {

inline HINSTANCE ownModule() noexcept { return reinterpret_cast<HINSTANCE>(&__ImageBase); }

} // namespace mb
