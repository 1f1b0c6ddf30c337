// The transfer encodings of vCard values: quoted-printable and base64.
#pragma once
#include "base64.h"
#include <cstdint>
#include <string>
#include <string_view>

namespace mb::vcard {

// Removes soft line breaks, also one at the end of the text, and keeps an invalid "=" sequence unchanged.
std::string decodeQuotedPrintable(std::string_view text);
// Writes lines of at most 75 octets. A soft line break is "=" and `eol` and never splits a UTF-8 sequence. `column` is the length of what
// precedes the text on its line.
std::string encodeQuotedPrintable(std::string_view bytes, std::size_t column, std::string_view eol);

using platform::decodeBase64;
using platform::decodedBase64Length;
using platform::encodeBase64;

} // namespace mb::vcard
