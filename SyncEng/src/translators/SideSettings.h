// Makes the services object for a translator of a map. Its settings are bound to the map and the side.
#pragma once
#include "interfaces.h"

namespace mb {

inline constexpr const char16_t* settingsTypeOf(_TransIds side) noexcept { return side == idTrans1 ? u"Trans1Cfg" : u"Trans2Cfg"; }

HRESULT MakeServices(REFGUID map, _TransIds side, com::Ptr<ITrServices>& services);
// Makes the settings of such a services object.
HRESULT MakeSettings(REFGUID map, _TransIds side, com::Ptr<IDataStream>& settings);

} // namespace mb
