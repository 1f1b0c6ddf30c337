// The map of a transfer, which the user never sees. Its identifier is the target's class; its first translator is the host's card file.
#pragma once
#include "interfaces.h"

namespace mb {

// A text that names no class, or the null one, is refused: it must not make a map that means none, or all.
HRESULT ParseTarget(BSTR text, GUID& target);
// Gives the maps, with the hidden one of the target among them; it is made if there is none. Fails where it cannot be told whether there is
// one.
HRESULT EnsureHiddenMap(const GUID& target, com::Ptr<ITrMap>& maps);

} // namespace mb
