// Phone numbers in the standard form that some stores require.
#pragma once
#include "foundation/ContactParser.h"
#include <string>
#include <string_view>

namespace mb {

// Returns "+country area local ext. extension" without the missing parts. If countryMode is above 1, a number without country gets "+1".
std::u16string composePhoneNumber(const PhoneParts& parts, int countryMode);

// Splits the number and composes it again. Empty if no parser is installed or the number cannot be split; the caller then keeps the number
// unchanged.
std::u16string NormalizePhoneNumber(std::u16string_view value, int countryMode);

} // namespace mb
