// Matchers for 16-bit text.
#pragma once
#include <gmock/gmock.h>
#include <string>

namespace mbtest {

MATCHER_P(Holds, part, "holds the text") { return std::u16string_view(arg).find(std::u16string_view(part)) != std::u16string_view::npos; }
MATCHER_P(Begins, part, "begins with the text") { return std::u16string_view(arg).starts_with(std::u16string_view(part)); }

} // namespace mbtest
