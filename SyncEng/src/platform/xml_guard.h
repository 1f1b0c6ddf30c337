// Looks over the markup of a document before a parser sees it, and refuses what no store of ours holds: a DOCTYPE, nesting deeper
// than the limit, anything but one root, and text beside it. All other errors of form are the parser's to find.
#pragma once
#include <cstddef>
#include <string_view>

namespace platform {

inline constexpr std::size_t deepestXml = 64;

// The bytes are UTF-8.
bool isHarmlessXml(std::string_view bytes) noexcept;

} // namespace platform
