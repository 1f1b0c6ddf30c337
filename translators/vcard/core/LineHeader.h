// Functions on the header of a line, which is everything in front of its colon. LineReader and Line share them, so that both agree on where
// a header ends and how its value is encoded.
#pragma once
#include <cstddef>
#include <string_view>

namespace mb::vcard {

enum class Encoding { Plain, QuotedPrintable, Base64 };

// Returns the offset of the first `wanted` outside of quotes, starting at `from`; npos for none. A quote that is never closed protects
// nothing.
std::size_t findOutsideQuotes(std::string_view text, char wanted, std::size_t from);
// Returns the offset of the colon that ends the header; npos if the line has none.
std::size_t endOfHeader(std::string_view line);
// Returns the name of the parameter that a bare word of version 2.1 stands for.
std::string_view bareWordName(std::string_view word);
// Returns how the value behind this header is encoded. The header may be folded: blanks and line ends in it are ignored.
Encoding encodingOf(std::string_view header);
// Returns whether the text ends in a backslash that is not itself escaped.
bool endsInLoneBackslash(std::string_view text);

} // namespace mb::vcard
