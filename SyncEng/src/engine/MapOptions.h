// The options of a map as a run reads them, and the image option, which is written to all maps.
#pragma once
#include "engine/MapClient.h"
#include "engine/RunState.h"

namespace mb {

// Reads the options of the map into run.options. An option that cannot be read keeps its value. In a category pass only the limit of
// deletions is read. ImageOptionChanged may be set here, and is never cleared.
void ReadMapOptions(RunState& run, const MapClient& map);

// Writes one key into the settings of translator 2 of every map. A map that fails is left out.
void BroadcastImageOption(std::u16string_view key, std::u16string_view value);

} // namespace mb
