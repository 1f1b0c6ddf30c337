// The small rules that bring field values to a common form before they are compared or written.
#pragma once
#include "com.h"
#include <string>
#include <string_view>

namespace mb {

// The text without the blanks and line ends at its edges, by one pass of each rule in a fixed order.
std::u16string TrimFieldValue(std::u16string_view text);

// A web page with its scheme in front; other fields as they are.
std::u16string PrefixWebAddress(std::u16string_view text, LONG fieldType);

// A text fit for an XPath literal in double quotes, as the record index compares it.
std::u16string EscapeQuotes(std::u16string_view text);

// Each line end becomes one blank.
std::u16string ReplaceLineBreaks(std::u16string_view text);

// A longer text is cut; with the ellipsis the result can be three characters longer than maxLength.
std::u16string TruncateText(std::u16string_view text, std::size_t maxLength, bool addEllipsis);

// A list of categories with a blank behind each comma. Wanted: a trailing comma alone stays, since cutting it is no replacement.
std::u16string CategoriesForDisplay(std::u16string_view text);
std::u16string CategoriesFromDisplay(std::u16string_view text);

// The first text as it is, the others lower-cased, joined.
std::u16string LowerJoin(std::u16string_view first, std::u16string_view second, std::u16string_view third);

} // namespace mb
