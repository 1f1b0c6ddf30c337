// Conversion between UTF-16 and the charsets of vCards: UTF-8, Windows-1252, and any other charset that a CHARSET parameter names.
#pragma once
#include <optional>
#include <string>
#include <string_view>

namespace mb::vcard {

bool isAscii(std::string_view bytes);
bool isUtf8(std::string_view bytes);

// These two never fail: ill-formed bytes and an unpaired surrogate become U+FFFD.
std::u16string fromUtf8(std::string_view bytes);
std::string toUtf8(std::u16string_view text);

bool sameCharset(std::string_view a, std::string_view b); // compares names, case-insensitive

inline constexpr std::string_view kUtf8 = "UTF-8";
inline constexpr std::string_view kWindows1252 = "WINDOWS-1252";

// Return nullopt if the charset is unknown to the system, the bytes are invalid in it, or it lacks a character of the text. Any bytes are
// valid Windows-1252.
std::optional<std::u16string> decode(std::string_view bytes, std::string_view charset);
std::optional<std::string> encode(std::u16string_view text, std::string_view charset);

} // namespace mb::vcard
