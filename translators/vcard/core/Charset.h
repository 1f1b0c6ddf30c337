// Text in the encodings that vCards come in: UTF-8, UTF-16, Windows-1252 and whatever a CHARSET parameter names.
// Decoding of UTF-8 and Windows-1252 never fails; any other charset may be unknown to the system or not hold a character.
#pragma once
#include <optional>
#include <string>
#include <string_view>

namespace mb::vcard {

bool isAscii(std::string_view bytes);
bool isUtf8(std::string_view bytes);

// Bytes that are no UTF-8 become U+FFFD; so does half of a surrogate pair on the way back.
std::u16string fromUtf8(std::string_view bytes);
std::string toUtf8(std::u16string_view text);

bool sameCharset(std::string_view a, std::string_view b); // by name, ignoring case

inline constexpr std::string_view kUtf8 = "UTF-8";
inline constexpr std::string_view kWindows1252 = "WINDOWS-1252";

std::optional<std::u16string> decode(std::string_view bytes, std::string_view charset);
std::optional<std::string> encode(std::u16string_view text, std::string_view charset);

} // namespace mb::vcard
