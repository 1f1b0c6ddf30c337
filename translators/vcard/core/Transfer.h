// The two transfer encodings of vCard 2.1 that may stand in front of a text: quoted-printable and base64.
#pragma once
#include <cstdint>
#include <string>
#include <string_view>

namespace mb::vcard {

// Soft line breaks are taken out; a broken "=" sequence stays as it stands.
std::string decodeQuotedPrintable(std::string_view text);
// Physical lines of at most 75 octets, soft breaks written as "=" and eol, none of them inside a UTF-8 sequence.
// column is the length of what already stands on the line.
std::string encodeQuotedPrintable(std::string_view bytes, std::size_t column, std::string_view eol);

std::string decodeBase64(std::string_view text); // anything outside of the alphabet is passed over
std::uint64_t decodedBase64Length(std::string_view text);
std::string encodeBase64(std::string_view bytes);

} // namespace mb::vcard
