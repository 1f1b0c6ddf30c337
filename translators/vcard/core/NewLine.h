// The line that a field gets where a card has none for it.
#pragma once
#include "FieldTable.h"
#include "Line.h"

#include <string>

namespace mb::vcard {

// Returns everything in front of the colon.
const std::string& newHeader(const Field& field, Version version);

// Returns whether a new line with the values of this one would have the same bytes, apart from folds. `first` is the first field of the
// line's slot. May return false where the lines would be the same, so that most lines need no second line to be compared with.
// Requires: the line declares no charset, and that of the card is UTF-8.
bool isAsNew(const Line& line, const Field& first, Version version);

} // namespace mb::vcard
