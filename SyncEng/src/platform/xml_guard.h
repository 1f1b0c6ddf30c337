// Checks a document before the parser reads it. Refuses what no store contains: a DOCTYPE, nesting deeper than the limit, more or less than
// one root, text outside of the root. Other syntax errors are left to the parser.
#pragma once
#include <cstddef>
#include <string_view>

namespace platform {

inline constexpr std::size_t deepestXml = 64;

// Requires: the bytes are UTF-8.
bool isHarmlessXml(std::string_view bytes) noexcept;

} // namespace platform
