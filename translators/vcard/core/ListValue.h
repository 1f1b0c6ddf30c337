// Several values in one field text. In that of a property they are separated by a comma and a blank, in that of a component by a comma.
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

// Likewise for the names of categories: any comma separates two of them, blanks around a name are dropped, and empty names too.
std::u16string readNames(std::u16string_view value, Version version);
std::u16string writeNames(std::u16string_view text, Version version, std::u16string_view before);

// Returns the value of one component of a structured value, such as the middle names of N, which reads as `text`. A comma is a character of
// the text, unless the component is a list already: the values of `before` keep their spelling, and so does the comma between two of them.
std::u16string writeComponent(std::u16string_view text, Version version, std::u16string_view before);

} // namespace mb::vcard
