// The parameters in the header of a line, without regard to their order and spelling.
#pragma once
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace mb::vcard {

// Values by parameter name, which is upper-case. A parameter that is named several times has all its values. Values of TYPE are lower-case,
// sorted and without repeats; a bare word of version 2.1 is one of them, or the value of ENCODING.
using Params = std::map<std::string, std::vector<std::string>, std::less<>>;

// Requires: `header` is UTF-8.
Params parseParams(std::string_view header);
// Returns ";NAME=value,value" for each parameter; values with a comma, colon or semicolon are in double quotes.
std::string formatParams(const Params& params);
std::string formatParam(std::string_view name, const std::vector<std::string>& values);

// Removes a value of TYPE. Returns whether it was there.
bool takeType(Params& params, std::string_view type);
void addType(Params& params, std::string_view type); // Requires: `type` is lower-case
// Returns the values of the parameter, joined by commas; empty if it is missing.
std::string paramText(const Params& params, std::string_view name);

} // namespace mb::vcard
