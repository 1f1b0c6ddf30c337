// Escapes, structured values and dates in property values. In version 2.1 only structured values have escapes; in later versions every text
// has them.
#pragma once
#include "Line.h"

#include <string>
#include <string_view>
#include <vector>

namespace mb::vcard {

std::u16string unescape(std::u16string_view text, Version version, bool structured);
std::u16string escape(std::u16string_view text, Version version, bool structured);

// Splits at each separator that is not escaped; the parts keep their escapes.
std::vector<std::u16string> splitEscaped(std::u16string_view text, char16_t separator);
// Returns one of these parts; empty if there are fewer.
std::u16string_view escapedPart(std::u16string_view text, char16_t separator, std::size_t part);
// Returns the text with one part replaced by `value`, which is escaped already; the result has at least `least` parts.
std::u16string withPart(std::u16string_view text, char16_t separator, std::size_t part, std::u16string_view value, std::size_t least);
std::u16string withoutEmptyTail(std::u16string text, char16_t separator); // keeps the first part
std::u16string join(const std::vector<std::u16string>& parts, std::u16string_view separator);
std::u16string trimBlanks(std::u16string_view text);

// Returns a date in the form 1985-04-12, 1985-04-12T10:22:00Z or --04-12, whichever form of that date the text has. A time of midnight
// means a date alone. Any other text stays, apart from a date with a time of unknown form, which counts as a date alone.
std::u16string readDate(std::u16string_view text);
// Returns a date of these forms in the form of the version. Before 4.0 that is the form of `before`, the value that it replaces. Any other
// text stays.
std::u16string writeDate(std::u16string_view text, Version version, std::u16string_view before);
bool isDate(std::u16string_view text);     // whether version 4.0 knows the text as a date: one of these forms, or a part alone
bool isDateTime(std::u16string_view text); // the form 1985-04-12T10:22:00Z

// Returns what a card can hold of the text: LF as line break, no control characters but tab, U+FFFD for unpaired surrogates.
std::u16string cleaned(std::u16string_view text);

} // namespace mb::vcard
