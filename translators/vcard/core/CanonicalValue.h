// Values of properties in the spelling of version 4.0, and back in that of an older version. Values are UTF-8.
#pragma once
#include "Line.h"
#include "PropertyKind.h"

#include <string>
#include <string_view>

namespace mb::vcard {

// Returns the value with the escapes of version 4.0, on one line. `text` is a value as Line::value returns it.
std::string canonicalEscapes(std::string_view text, Version version, PropertyKind kind);
// Returns the value with the escapes of version 2.1, where a line break needs none.
std::string escapesOfVersion21(std::string_view canonical, PropertyKind kind);

// A full date, with a time or without one, or a day without its year: 1985-04-12T10:22:00-05:00 becomes 19850412T102200-0500, and --04-12
// becomes --0412. Any other text stays.
std::string basicDate(std::string_view text);
std::string extendedDate(std::string_view text); // the reverse
bool hasTime(std::string_view date);             // Requires: `date` came from one of the two functions above
// Returns whether the text is a date in basic form: one that basicDate() makes, or a year, a month, a day or a
// time alone.
bool isBasicDate(std::string_view text);

// A UTC offset: -05:00 becomes -0500. Any other text stays.
bool isUtcOffset(std::string_view text);
std::string basicOffset(std::string_view text);
std::string extendedOffset(std::string_view text); // the reverse

// A position: 37.386;-122.083 becomes geo:37.386,-122.083. Any other text stays.
std::string geoUri(std::string_view text, char separator = ';');
std::string geoPair(std::string_view text); // the reverse

} // namespace mb::vcard
