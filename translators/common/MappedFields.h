// The field pairs of a map, as the plug-in on side 2 sees them.
#pragma once
#include "interfaces.h"
#include <vector>

namespace mb::plugin {

struct MappedField {
    GUID other{}; // the field of the translator on side 1
    LONG own = 0; // the type of the field of the translator on side 2
    bool image = false;
};

// Asks the engine for the field map of the map, through the component runtime, and leaves out pairs with a field that a side does not
// know. Throws a com::Error with the result of the call that failed; E_FAIL for a map that pairs an image with a text.
std::vector<MappedField> mappedFields(REFGUID map, ITranslator* side1, ITranslator* side2);

} // namespace mb::plugin
