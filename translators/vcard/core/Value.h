// The texts inside a property: escapes, the parts of a structured value, dates. All of it differs between version 2.1,
// where only structured values have escapes, and the later ones, where every text has them.
#pragma once
#include "Line.h"

#include <string>
#include <string_view>
#include <vector>

namespace mb::vcard {

std::u16string unescape(std::u16string_view text, Version version, bool structured);
std::u16string escape(std::u16string_view text, Version version, bool structured);

// Cuts at a separator that no backslash protects; the parts keep their escapes.
std::vector<std::u16string> splitEscaped(std::u16string_view text, char16_t separator);
// One of those parts; empty if there are not so many.
std::u16string_view escapedPart(std::u16string_view text, char16_t separator, std::size_t part);
// The text with one part exchanged, its escapes in it; of at least so many parts.
std::u16string withPart(std::u16string_view text, char16_t separator, std::size_t part, std::u16string_view value, std::size_t least);
std::u16string withoutEmptyTail(std::u16string text, char16_t separator); // the first part stays
std::u16string join(const std::vector<std::u16string>& parts, std::u16string_view separator);
std::u16string trimBlanks(std::u16string_view text);

// yyyy-mm-dd of a date in any of the forms 19800321, 1980-03-21, with or without a time; any other text as it stands.
std::u16string readDate(std::u16string_view text);
// A date yyyy-mm-dd in the form that the version asks for; before 4.0 in the form of the date that stood there.
std::u16string writeDate(std::u16string_view text, Version version, std::u16string_view before);

// What a card can hold of a text: line breaks as LF, no control characters, no halves of surrogate pairs.
std::u16string cleaned(std::u16string_view text);

} // namespace mb::vcard
