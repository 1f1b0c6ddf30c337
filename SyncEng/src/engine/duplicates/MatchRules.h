// The small rules by which two values of two stores are compared in the search for duplicates.
#pragma once
#include "com.h"
#include <string>
#include <string_view>

namespace mb {

// Returns the number of words of `a` whose first `length` characters occur in `b`, case-sensitive. Only words of at least that length with
// a blank behind them count; `words` receives their number. Quirk kept on purpose: so the last word never counts.
int WordPrefixScore(std::u16string_view a, std::u16string_view b, std::size_t length, int& words);

// The value as a field with these flags and this maximum length could hold it. 0 and 0xFFFFFFFF mean no limit.
std::u16string FitToField(std::u16string_view value, ULONG flags, ULONG maxLength);
// The same; a web address also gets its scheme.
std::u16string FitForTarget(std::u16string_view value, LONG type, ULONG flags, ULONG maxLength);

// The letters and digits of the value, in order.
std::u16string AlnumOnly(std::u16string_view value);
// Whether both values have the same letters and digits, ignoring case.
bool sameAlnum(std::u16string_view a, std::u16string_view b);

} // namespace mb
