// The canonical spelling of a property line: that of vCard 4.0, whatever the version, charset and encoding of the card. Equal properties of
// cards of different versions have equal canonical lines.
//
//   NAME;PARAM=value;TYPE=cell,work:VALUE
//
// - The name and the names of parameters are upper-case. Parameters are sorted by name, one of each name; values of TYPE are lower-case,
//   sorted and without repeats. A value with a comma, colon or semicolon is in double quotes.
// - The value is escaped as in version 4.0, and on one line. There is no CHARSET, ENCODING or X-MB-FIELD parameter.
// - Embedded bytes are a data: URI, a preference is PREF=1, dates have the basic form 19850412, and VALUE is named only where it is
//   not the default of version 4.0. Lines of X-ANNIVERSARY, X-ADDRESSBOOKSERVER-KIND and X-ADDRESSBOOKSERVER-MEMBER are named ANNIVERSARY,
//   KIND and MEMBER.
// - What has no form in version 4.0 keeps its own name and parameters.
#pragma once
#include "Line.h"

#include <string>
#include <string_view>

namespace mb::vcard {

// Returns the line in canonical spelling, unfolded, in UTF-8 and without its group; empty for a line that has none: an opaque line, BEGIN,
// END, REV, PRODID, or a name that is not of letters, digits, '-' and '_'.
std::string canonicalLine(const Line& line, const Context& context);

// Returns the parameters of the canonical line, such as ";PREF=1;TYPE=cell".
std::string canonicalParams(const Line& line, const Context& context);

// Returns a new line in the spelling of the card's version. `canonical` may begin with a group, which keeps its case.
// Requires: `canonical` has a colon, a valid name and no control characters besides TAB.
//
// The canonical line of the result, and of the result when it is parsed again, is `canonical` without its group, if that is a canonical
// line. A property, parameter or value without a form in the version is written in the form of 4.0. Exceptions of version 2.1, whose texts
// have no escapes: a comma or semicolon that is not escaped comes back escaped in a single text such as NOTE, and so does a comma in a
// component of N, ADR and ORG; a backslash that begins no escape of version 4.0 comes back doubled in a single text; a GEO of two numbers
// with a comma between them comes back as a geo: URI.
// In version 2.1 a line with embedded bytes has to be followed by a blank line, which is not part of the result.
Line lineFromCanonical(std::string_view canonical, const Context& context);

} // namespace mb::vcard
