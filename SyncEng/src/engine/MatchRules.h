// The small rules by which two values of two stores are compared in the search for duplicates.
#pragma once
#include "com.h"
#include <string>
#include <string_view>

namespace mb {

// How many of the leading words of a stand in b, by their first `length` characters, case counting. Only words of that length with a
// blank behind them are looked at, and `words` tells how many those were. Wanted: so the last word never counts.
int WordPrefixScore(std::u16string_view a, std::u16string_view b, std::size_t length, int& words);

// The value as a field with these flags and this length could hold it. 0 and 0xFFFFFFFF mean no limit.
std::u16string FitToField(std::u16string_view value, ULONG flags, ULONG maxLength);
// The same, and a web page with its scheme.
std::u16string FitForTarget(std::u16string_view value, LONG type, ULONG flags, ULONG maxLength);

// The letters and digits, in order.
std::u16string AlnumOnly(std::u16string_view value);
// The same letters and digits, whatever their case.
bool sameAlnum(std::u16string_view a, std::u16string_view b);

} // namespace mb
