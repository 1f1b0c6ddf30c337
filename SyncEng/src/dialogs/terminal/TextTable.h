// Columns of text that fit a terminal.
#pragma once
#include <string>
#include <vector>

namespace mb {

using TextLines = std::vector<std::u16string>;

struct TextRow {
    std::u16string mark; // in front of the first cell, such as the number of the row; of the same width in all rows
    std::vector<std::u16string> cells;
};

struct LaidOutTable {
    TextLines head;
    std::vector<TextLines> rows;
};

// The lines of a table in so many columns of the terminal. The widest columns are narrowed first; a value that is wider than its column
// goes on in the next line, at most `cellLines` times, and is then cut. Where columns would be too narrow to read, each cell has a line.
LaidOutTable LayOutTable(const std::vector<std::u16string>& headers, const std::vector<TextRow>& rows, std::size_t columns,
                         std::size_t cellLines);

} // namespace mb
