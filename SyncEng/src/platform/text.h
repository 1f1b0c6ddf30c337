// 16-bit text: conversion to and from UTF-8 and the ANSI code page, case folding, character classes, numbers. A character here is a UTF-16
// unit; case folding works unit by unit and keeps the length.
#pragma once
#include <cstdint>
#include <string>
#include <string_view>

namespace platform {

// The conversions never fail: ill-formed input becomes U+FFFD.
std::string utf8(std::u16string_view text);
std::u16string utf16(std::string_view bytes);

// The ANSI code page; UTF-8 on Linux. A character that the code page lacks becomes '?'.
std::string narrow(std::u16string_view text);
std::u16string widen(std::string_view bytes);

char16_t lower(char16_t unit) noexcept;
char16_t upper(char16_t unit) noexcept;
std::u16string lowered(std::u16string_view text);

// Returns a negative number, zero or a positive number. Both texts are folded to lower case unit by unit.
int compareNoCase(std::u16string_view a, std::u16string_view b) noexcept;
inline bool equalNoCase(std::u16string_view a, std::u16string_view b) noexcept { return a.size() == b.size() && compareNoCase(a, b) == 0; }

// Hash and equality for case-insensitive containers.
struct HashNoCase {
    std::size_t operator()(std::u16string_view text) const noexcept;
};
struct EqualNoCase {
    bool operator()(std::u16string_view a, std::u16string_view b) const noexcept { return equalNoCase(a, b); }
};

bool isAlpha(char16_t unit) noexcept;
bool isDigit(char16_t unit) noexcept; // ASCII digits only
bool isAlnum(char16_t unit) noexcept;
bool isSpace(char16_t unit) noexcept;

// Returns the letters and digits of the text, in order, in lower case. Equal results mean equal letters and digits, ignoring
// case.
std::u16string foldedAlnum(std::u16string_view text);

// Parses white space, a sign and digits and ignores the rest. Returns 0 if there are no digits; overflow clamps.
int toInt(std::u16string_view text) noexcept;
std::int64_t toInt64(std::u16string_view text) noexcept;
// Parses with a decimal point in every locale. Returns 0 if there is no number, or if the number is too large or too small for a double.
double toDouble(std::u16string_view text) noexcept;

} // namespace platform
