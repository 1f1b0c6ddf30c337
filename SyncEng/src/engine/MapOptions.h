// The options of a map, as a run reads them and as the image option is told to all maps.
#pragma once
#include "engine/MapClient.h"
#include "engine/RunState.h"

namespace mb {

// An option that cannot be read keeps its default; of a category pass only the limit of deletions is read. ImageOptionChanged is only ever
// set here.
void ReadMapOptions(RunState& run, const MapClient& map);

// Writes one key into the settings of translator 2 of every map; a map that fails is passed over.
void BroadcastImageOption(std::u16string_view key, std::u16string_view value);

} // namespace mb
