// Pairs of fields for maps that were made before plug-ins had such fields. A default map pairs them; an older map gets each of them in one
// of its runs, and keeps it when that run ends well. A pair that the user has unmapped is not offered.
#pragma once
#include "engine/PipelinePass.h"

namespace mb {

// Adds to the mapped fields of the pass the pairs that the map lacks. Does nothing for a map without fields.
void OfferFields(PipelinePass& pass);

} // namespace mb
