// A property with several values, as one field text: the values are separated by a comma and a blank.
#pragma once
#include "Line.h"

#include <string>
#include <string_view>

namespace mb::vcard {

// Returns "Rit, Ri" for the value Rit,Ri.
std::u16string readValues(std::u16string_view value, Version version);
// Returns the value for the field text. It reads as `text` again. Values that are also in `before`, the value to replace, keep their
// spelling, so that an escaped comma stays one.
std::u16string writeValues(std::u16string_view text, Version version, std::u16string_view before);

} // namespace mb::vcard
