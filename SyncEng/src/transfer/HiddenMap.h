// The hidden map of a transfer, which the user never sees. Its identifier is the target's class; translator 1 is the host's card file.
#pragma once
#include "interfaces.h"

namespace mb {

// Parses the class of a target. Fails for a malformed or null identifier: a run takes the null identifier for all maps.
HRESULT ParseTarget(BSTR text, GUID& target);
// Creates the target's hidden map if there is none. Sets `maps` to the manager of the maps. Fails if the configuration cannot be read: an
// existing map must not be replaced.
HRESULT EnsureHiddenMap(const GUID& target, com::Ptr<ITrMap>& maps);

} // namespace mb
