// A phone number in the one form that some stores demand.
#pragma once
#include "foundation/ContactParser.h"
#include <string>
#include <string_view>

namespace mb {

// The parts as one text: +country area local ext. extension, each only if it is there. A number without a country gets +1 in front
// where countryMode is above 1.
std::u16string composePhoneNumber(const PhoneParts& parts, int countryMode);

// The same of a number as a store holds it; empty, whatever the mode, where no parser is installed or the number is not split. The number
// then has to be left as it stands.
std::u16string NormalizePhoneNumber(std::u16string_view value, int countryMode);

} // namespace mb
