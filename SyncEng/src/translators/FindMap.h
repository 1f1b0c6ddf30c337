// Whether a map is in the configuration.
#pragma once
#include "interfaces.h"
#include <optional>

namespace mb {

struct MapTranslators {
    GUID one{}, two{};
};

// Sets `found` to the translators of the map, or to nothing where the configuration has no such map. Fails where the configuration could
// not be read, or the map's entry in it is damaged: a map must not be made anew in place of one that is there.
HRESULT FindMap(ITrMap* maps, const GUID& map, std::optional<MapTranslators>& found);

} // namespace mb
