#include "dialogs/terminal/ListView.h"

#include "console_text.h"
#include <algorithm>
#include <utility>

namespace mb {
namespace {

using platform::columnsOf;

constexpr std::size_t gap = 2, narrowestColumn = 8;
constexpr std::u16string_view indent = u"  ";

std::u16string digits(std::size_t number)
{
    const std::string text = std::to_string(number);
    return {text.begin(), text.end()};
}

class Table {
public:
    Table(const Control& list, const ListWindow& window) : list_(list), window_(window), end_(window.firstRow + window.rowCount)
    {
        numbered_ = list.selectable || list.checkBoxes || list.draggable;
        numberWidth_ = digits(window.firstNumber + end_).size();
        for (std::size_t i = 0; i < list.columns.size(); ++i) headers_.push_back(headerOf(i));
    }

    std::u16string draw() const
    {
        if (list_.rows.empty()) return std::u16string(indent) + u"-\n";
        const std::size_t lead = indent.size() + (numbered_ ? markOf(0).size() + 1 : 0), gaps = gap * (headers_.size() - 1);
        const std::vector<std::size_t> widths = fit(window_.columns > lead + gaps ? window_.columns - lead - gaps : 0);
        return widths.empty() ? stacked() : aligned(widths, lead);
    }

private:
    std::u16string headerOf(std::size_t column) const
    {
        std::u16string header = platform::harmless(list_.columns[column].header);
        if (list_.sortColumn == static_cast<int>(column)) header += list_.sortAscending ? u" ^" : u" v";
        return header;
    }

    std::u16string cell(std::size_t row, std::size_t column) const
    {
        const auto& cells = list_.rows[row].cells;
        return column < cells.size() ? platform::harmless(cells[column]) : std::u16string();
    }

    // What stands in front of a row: its number, its box, whether it is selected.
    std::u16string markOf(std::size_t row) const
    {
        const std::u16string number = digits(window_.firstNumber + row);
        std::u16string mark = std::u16string(numberWidth_ - std::min(numberWidth_, number.size()), u' ') + number;
        if (list_.checkBoxes) mark += list_.rows[row].checked ? u" [x]" : u" [ ]";
        if (list_.selectable) mark += list_.selection == static_cast<int>(row) ? u" >" : u"  ";
        return mark;
    }

    // The widths of the columns: what they need, or the widest of them cut to a common measure. None if that is too narrow to read.
    std::vector<std::size_t> fit(std::size_t room) const
    {
        std::vector<std::size_t> widths;
        for (std::size_t column = 0; column < headers_.size(); ++column) {
            std::size_t width = columnsOf(headers_[column]);
            for (std::size_t row = window_.firstRow; row < end_; ++row) width = std::max(width, columnsOf(cell(row, column)));
            widths.push_back(width);
        }
        std::vector<std::size_t> ascending = widths;
        std::ranges::sort(ascending);
        std::size_t left = room, columns = widths.size(), measure = room;
        for (const std::size_t width : ascending) {
            measure = left / columns;
            if (width > measure) break;
            left -= width;
            --columns;
            measure = room;
        }
        if (measure < narrowestColumn) return {};
        for (std::size_t& width : widths) width = std::min(width, measure);
        return widths;
    }

    std::u16string aligned(const std::vector<std::size_t>& widths, std::size_t lead) const
    {
        std::u16string lines(lead, u' ');
        appendCells(lines, widths, [&](std::size_t column) { return headers_[column]; });
        for (std::size_t row = window_.firstRow; row < end_; ++row) {
            lines += indent;
            if (numbered_) lines += markOf(row) + u' ';
            appendCells(lines, widths, [&](std::size_t column) { return cell(row, column); });
        }
        return lines;
    }

    template <class F> static void appendCells(std::u16string& lines, const std::vector<std::size_t>& widths, F&& textOf)
    {
        std::size_t owed = 0; // blanks come only before something
        for (std::size_t column = 0; column < widths.size(); ++column) {
            const std::u16string text = platform::fitted(textOf(column), widths[column]);
            if (!text.empty()) lines.append(std::exchange(owed, 0), u' ').append(text);
            owed += widths[column] - columnsOf(text) + gap;
        }
        while (!lines.empty() && lines.back() == u' ') lines.pop_back();
        lines += u'\n';
    }

    std::u16string stacked() const
    {
        std::u16string lines;
        for (std::size_t row = window_.firstRow; row < end_; ++row) {
            if (numbered_) lines.append(indent).append(markOf(row)) += u'\n';
            for (std::size_t column = 0; column < headers_.size(); ++column)
                lines += platform::wrapped(headers_[column] + u": " + cell(row, column), window_.columns, column == 0 ? u" " : u"   ");
        }
        return lines;
    }

    const Control& list_;
    const ListWindow& window_;
    std::size_t end_;
    bool numbered_ = false;
    std::size_t numberWidth_ = 1;
    std::vector<std::u16string> headers_;
};

} // namespace

std::u16string DrawList(const Control& list, const ListWindow& window) { return Table(list, window).draw(); }

} // namespace mb
