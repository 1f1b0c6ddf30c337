// The header of a line: everything in front of its colon. The line reader and the line itself ask the same functions, so that they agree
// on where a header ends and on how its value is encoded.
#pragma once
#include <cstddef>
#include <string_view>

namespace mb::vcard {

enum class Encoding { Plain, QuotedPrintable, Base64 };

// The offset of the first `wanted` outside of quotes, from `from` on; quotes that are never closed protect nothing.
std::size_t findOutsideQuotes(std::string_view text, char wanted, std::size_t from);
// The offset of the colon that ends the header; npos if the line has none.
std::size_t endOfHeader(std::string_view line);
// The parameter name that a bare word of version 2.1 stands for.
std::string_view bareWordName(std::string_view word);
// How the value behind this header is encoded. The header may be folded: blanks and line ends in it do not count.
Encoding encodingOf(std::string_view header);
// Whether the text ends in a backslash that is not itself escaped by the one in front of it.
bool endsInLoneBackslash(std::string_view text);

} // namespace mb::vcard
