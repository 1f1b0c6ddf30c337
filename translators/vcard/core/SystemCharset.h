// Charsets that only the system knows, named as a CHARSET parameter names them. Nothing is returned for an unknown charset,
// or where a character has no place on the other side. One source file a platform.
#pragma once
#include <optional>
#include <string>
#include <string_view>

namespace mb::vcard {

std::optional<std::u16string> systemDecode(std::string_view bytes, std::string_view charset);
std::optional<std::string> systemEncode(std::u16string_view text, std::string_view charset);

} // namespace mb::vcard
