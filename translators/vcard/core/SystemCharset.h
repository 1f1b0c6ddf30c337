// Charset conversion by the operating system. `charset` is named as in a CHARSET parameter. Returns nullopt if the charset is unknown or a
// character cannot be converted. One source file per platform.
#pragma once
#include <optional>
#include <string>
#include <string_view>

namespace mb::vcard {

std::optional<std::u16string> systemDecode(std::string_view bytes, std::string_view charset);
std::optional<std::string> systemEncode(std::u16string_view text, std::string_view charset);

} // namespace mb::vcard
