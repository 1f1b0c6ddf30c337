// Lays out a table of texts for a terminal.
#pragma once
#include <string>
#include <vector>

namespace mb {

using TextLines = std::vector<std::u16string>;

struct TextRow {
    std::u16string mark; // before the first cell, such as the row's number; must have the same width in all rows
    std::vector<std::u16string> cells;
};

struct LaidOutTable {
    TextLines head;
    std::vector<TextLines> rows;
};

// Returns the lines of a table for a terminal with `columns` columns. The widest columns of the table are narrowed first. A value that is
// wider than its column takes up to `cellLines` lines and is then cut. If columns would be too narrow to read, each cell gets its own line.
LaidOutTable LayOutTable(const std::vector<std::u16string>& headers, const std::vector<TextRow>& rows, std::size_t columns,
                         std::size_t cellLines);

} // namespace mb
