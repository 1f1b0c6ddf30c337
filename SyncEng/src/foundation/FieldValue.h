// Rules that normalise field values before they are compared or written.
#pragma once
#include "com.h"
#include <string>
#include <string_view>

namespace mb {

// Removes blanks and line ends at both ends of the text. Each rule is applied once, in a fixed order.
std::u16string TrimFieldValue(std::u16string_view text);

// Adds "http://" to a web page field that has no scheme; returns other fields unchanged.
std::u16string PrefixWebAddress(std::u16string_view text, LONG fieldType);

// Replaces quotation marks by &quot;, so that the text fits an XPath literal in double quotes. The record index compares this form.
std::u16string EscapeQuotes(std::u16string_view text);

// Replaces each line end by one blank.
std::u16string ReplaceLineBreaks(std::u16string_view text);

// Cuts the text to maxLength characters; an ellipsis adds three characters to a text that was cut.
std::u16string TruncateText(std::u16string_view text, std::size_t maxLength, bool addEllipsis);

// Adds a blank behind each comma. Quirk kept on purpose: a trailing comma is removed only if a blank was added elsewhere.
std::u16string CategoriesForDisplay(std::u16string_view text);
std::u16string CategoriesFromDisplay(std::u16string_view text);

// Joins the texts; all but the first are converted to lower case.
std::u16string LowerJoin(std::u16string_view first, std::u16string_view second, std::u16string_view third);

} // namespace mb
