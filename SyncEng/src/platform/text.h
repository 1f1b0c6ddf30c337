// 16-bit text: to and from UTF-8 and the ANSI code page, simple case folding, character classes, numbers.
// Characters are UTF-16 units; folding maps unit by unit and never changes a length.
#pragma once
#include <cstdint>
#include <string>
#include <string_view>

namespace platform {

// Ill-formed input gives U+FFFD (in UTF-8) or the replacement's three bytes; nothing fails.
std::string utf8(std::u16string_view text);
std::u16string utf16(std::string_view bytes);

// The ANSI code page: UTF-8 on Linux. A character that it lacks becomes '?'.
std::string narrow(std::u16string_view text);
std::u16string widen(std::string_view bytes);

char16_t lower(char16_t unit) noexcept;
char16_t upper(char16_t unit) noexcept;
std::u16string lowered(std::u16string_view text);

// Negative, zero or positive; both texts folded to lower case unit by unit.
int compareNoCase(std::u16string_view a, std::u16string_view b) noexcept;
inline bool equalNoCase(std::u16string_view a, std::u16string_view b) noexcept { return a.size() == b.size() && compareNoCase(a, b) == 0; }

// For containers whose texts differ in more than case.
struct HashNoCase {
    std::size_t operator()(std::u16string_view text) const noexcept;
};
struct EqualNoCase {
    bool operator()(std::u16string_view a, std::u16string_view b) const noexcept { return equalNoCase(a, b); }
};

bool isAlpha(char16_t unit) noexcept;
bool isDigit(char16_t unit) noexcept; // the ten ASCII digits
bool isAlnum(char16_t unit) noexcept;
bool isSpace(char16_t unit) noexcept;

// The letters and digits of the text, in order, in lower case. Two texts give the same result exactly if their letters and digits are
// equal ignoring case.
std::u16string foldedAlnum(std::u16string_view text);

// White space, a sign, digits; what follows is ignored, no digits give 0, overflow clamps.
int toInt(std::u16string_view text) noexcept;
std::int64_t toInt64(std::u16string_view text) noexcept;
// With a decimal point whatever the locale; no number gives 0, and so does one that is too large or too small to hold.
double toDouble(std::u16string_view text) noexcept;

} // namespace platform
