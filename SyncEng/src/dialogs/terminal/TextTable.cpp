#include "dialogs/terminal/TextTable.h"

#include "column_widths.h"
#include "console_text.h"
#include <algorithm>
#include <utility>

namespace mb {
namespace {

using platform::columnsOf;

constexpr std::size_t gap = 2, narrowestColumn = 8;
constexpr std::u16string_view indent = u"  ";

// Wraps the text to at most `most` lines of the column's width; cuts the last line if the text is longer.
TextLines cellLinesOf(const std::u16string& text, std::size_t width, std::size_t most)
{
    if (most == 1 || columnsOf(text) <= width) return {platform::fitted(text, width)};
    const std::u16string broken = platform::wrapped(text, width);
    TextLines lines;
    std::size_t at = 0;
    while (at < broken.size() && lines.size() + 1 < most) {
        const std::size_t end = std::min(broken.find(u'\n', at), broken.size());
        lines.push_back(broken.substr(at, end - at));
        at = end + 1;
    }
    if (at < broken.size()) {
        std::u16string rest = broken.substr(at, broken.size() - 1 - at);
        std::ranges::replace(rest, u'\n', u' ');
        lines.push_back(platform::fitted(rest, width));
    }
    return lines;
}

class Layout {
public:
    Layout(const std::vector<std::u16string>& headers, const std::vector<TextRow>& rows, std::size_t columns, std::size_t cellLines)
        : headers_(headers), rows_(rows), columns_(columns), cellLines_(cellLines),
          lead_(indent.size() + (rows.empty() ? 0 : columnsOf(rows.front().mark)))
    {
    }

    LaidOutTable run()
    {
        const std::size_t gaps = gap * (headers_.size() - 1);
        fitColumns(columns_ > lead_ + gaps ? columns_ - lead_ - gaps : 0);
        LaidOutTable table;
        if (!widths_.empty()) table.head = aligned({std::u16string(lead_ - indent.size(), u' '), headers_});
        for (const TextRow& row : rows_) table.rows.push_back(widths_.empty() ? stacked(row) : aligned(row));
        return table;
    }

private:
    // Sets the widths that the columns need, or narrows the widest columns to a common width. Sets none if that is too narrow to read.
    void fitColumns(std::size_t room)
    {
        for (std::size_t column = 0; column < headers_.size(); ++column) {
            std::size_t width = columnsOf(headers_[column]);
            for (const TextRow& row : rows_)
                if (column < row.cells.size()) width = std::max(width, columnsOf(row.cells[column]));
            widths_.push_back(width);
        }
        const std::vector<std::size_t> wanted = std::exchange(widths_, platform::narrowed(widths_, room));
        for (std::size_t i = 0; i < wanted.size(); ++i)
            if (widths_[i] < wanted[i] && widths_[i] < narrowestColumn) return widths_.clear();
    }

    TextLines aligned(const TextRow& row) const
    {
        std::vector<TextLines> cells;
        std::size_t height = 1;
        for (std::size_t column = 0; column < widths_.size(); ++column) {
            cells.push_back(cellLinesOf(column < row.cells.size() ? row.cells[column] : std::u16string(), widths_[column], cellLines_));
            height = std::max(height, cells.back().size());
        }
        TextLines lines;
        for (std::size_t i = 0; i < height; ++i) {
            std::u16string line(indent);
            line += i == 0 ? row.mark : std::u16string(lead_ - indent.size(), u' ');
            for (std::size_t column = 0; column < cells.size(); ++column) {
                const std::u16string text = i < cells[column].size() ? cells[column][i] : std::u16string();
                line += text;
                line.append(widths_[column] - columnsOf(text) + gap, u' ');
            }
            line.erase(line.find_last_not_of(u' ') + 1);
            lines.push_back(std::move(line));
        }
        return lines;
    }

    TextLines stacked(const TextRow& row) const
    {
        std::u16string text;
        if (!row.mark.empty()) text = std::u16string(indent) + row.mark + u"\n";
        for (std::size_t column = 0; column < headers_.size(); ++column) {
            const std::u16string label = headers_[column].empty() ? u"" : headers_[column] + u": ";
            text += platform::wrapped(label + (column < row.cells.size() ? row.cells[column] : u""), columns_, column == 0 ? u" " : u"   ");
        }
        TextLines lines;
        for (std::size_t at = 0; at < text.size();) {
            const std::size_t end = text.find(u'\n', at);
            lines.push_back(text.substr(at, end - at));
            at = end + 1;
        }
        return lines;
    }

    const std::vector<std::u16string>& headers_;
    const std::vector<TextRow>& rows_;
    std::size_t columns_, cellLines_, lead_;
    std::vector<std::size_t> widths_;
};

} // namespace

LaidOutTable LayOutTable(const std::vector<std::u16string>& headers, const std::vector<TextRow>& rows, std::size_t columns,
                         std::size_t cellLines)
{
    return Layout(headers, rows, columns, cellLines).run();
}

} // namespace mb
