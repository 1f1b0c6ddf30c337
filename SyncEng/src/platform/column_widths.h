// Column widths that share a limited room.
#pragma once
#include <algorithm>
#include <cstddef>
#include <vector>

namespace platform {

// Returns `widths` if their sum is at most `room`; otherwise the widest columns are narrowed to one common width.
inline std::vector<std::size_t> narrowed(std::vector<std::size_t> widths, std::size_t room)
{
    std::vector<std::size_t> ascending = widths;
    std::ranges::sort(ascending);
    std::size_t left = room, columns = widths.size(), common = room;
    for (const std::size_t width : ascending) {
        common = left / columns;
        if (width > common) break;
        left -= width;
        --columns;
        common = room;
    }
    for (std::size_t& width : widths) width = std::min(width, common);
    return widths;
}

} // namespace platform
