// The services object that a translator of a map gets: its settings are bound to the map and the side before it sees the object.
#pragma once
#include "interfaces.h"

namespace mb {

inline constexpr const char16_t* settingsTypeOf(_TransIds side) noexcept { return side == idTrans1 ? u"Trans1Cfg" : u"Trans2Cfg"; }

HRESULT MakeServices(REFGUID map, _TransIds side, com::Ptr<ITrServices>& services);
// The settings behind such an object.
HRESULT MakeSettings(REFGUID map, _TransIds side, com::Ptr<IDataStream>& settings);

} // namespace mb
