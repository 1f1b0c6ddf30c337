// The field pairs of a map, as seen by the plug-in on side 2.
#pragma once
#include "interfaces.h"
#include <vector>

namespace mb::plugin {

struct MappedField {
    GUID other{}; // field of the translator on side 1
    LONG own = 0; // field type of the translator on side 2
    bool image = false;
};

// Asks the engine for the field pairs of the map, through the component runtime. Pairs with a field that its side does not know are left
// out. Throws a com::Error with the result of a failed call, or with E_FAIL for a map that pairs an image with a text.
std::vector<MappedField> mappedFields(REFGUID map, ITranslator* side1, ITranslator* side2);

} // namespace mb::plugin
