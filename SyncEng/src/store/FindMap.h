// Finds a map in the configuration.
#pragma once
#include "interfaces.h"
#include <optional>

namespace mb {

struct MapTranslators {
    GUID one{}, two{};
};

// Sets `found` to the translators of the map, or to nullopt if the configuration has no such map. Fails if the configuration or the map's
// entry cannot be read, so that the caller does not replace an existing map.
HRESULT FindMap(ITrMap* maps, const GUID& map, std::optional<MapTranslators>& found);

} // namespace mb
