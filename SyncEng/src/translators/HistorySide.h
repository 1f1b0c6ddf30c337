// The name of a side in the history.
#pragma once
#include "interfaces.h"

namespace mb {

// Any value but idTrans1 means side 2.
inline constexpr const char16_t* historySideOf(_TransIds side) noexcept { return side == idTrans1 ? u"Trans1" : u"Trans2"; }

} // namespace mb
