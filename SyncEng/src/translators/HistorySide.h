// The history's name of a map's side.
#pragma once
#include "interfaces.h"

namespace mb {

// Whatever is not side 1 is side 2.
inline constexpr const char16_t* historySideOf(_TransIds side) noexcept { return side == idTrans1 ? u"Trans1" : u"Trans2"; }

} // namespace mb
