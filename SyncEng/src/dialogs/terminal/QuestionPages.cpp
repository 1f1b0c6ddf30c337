#include "dialogs/terminal/QuestionPages.h"

#include "console_text.h"
#include <algorithm>
#include <utility>

namespace mb {
namespace {

constexpr std::size_t fewestRowLines = 3; // on each page, even if the page is then higher than the terminal

std::u16string digits(std::size_t number)
{
    const std::string text = std::to_string(number);
    return {text.begin(), text.end()};
}

bool isShown(const ListRow& row, const QuestionTable& table)
{
    return !table.hidesEmptyRows || std::any_of(row.cells.begin() + 1, row.cells.end(), [](const auto& cell) { return !cell.empty(); });
}

void append(TextLines& lines, const TextLines& more) { lines.insert(lines.end(), more.begin(), more.end()); }

} // namespace

QuestionPages::QuestionPages(const DialogModel& model, const Question& question, std::size_t columns, std::size_t lineCount)
    : columns_(columns)
{
    TextLines above{u""};
    append(above, lines(question.text));
    textLines_ = above.size() - 1;
    if (question.tables.empty()) above.emplace_back();
    const TextLines below = answerLines(question, Enter::TurnsThePage), belowLast = answerLines(question, Enter::Answers);

    numberRows(model, question);
    const bool numbered = question.chooseRow || question.moveRow;
    std::vector<Block> blocks;
    std::size_t next = 1;
    for (const QuestionTable& table : question.tables) {
        Block block = blockOf(*model.find(table.list), table, numbered, next);
        next += block.rows.size();
        if (!block.rows.empty()) blocks.push_back(std::move(block));
    }
    fillPages(above, below, belowLast, blocks, lineCount);
}

QuestionPages::RowPlace QuestionPages::rowOf(std::size_t number) const noexcept
{
    return number >= 1 && number <= rows_.size() ? rows_[number - 1] : RowPlace();
}

std::size_t QuestionPages::pageOf(std::size_t number) const noexcept
{
    const auto at = std::ranges::find_if(lastRows_, [&](std::size_t last) { return number <= last; });
    return at == lastRows_.end() ? lastRows_.size() - 1 : static_cast<std::size_t>(at - lastRows_.begin());
}

TextLines QuestionPages::lines(std::u16string_view text, std::u16string_view indent) const
{
    TextLines found;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(u'\n'), text.size());
        const std::u16string broken = platform::wrapped(platform::harmless(text.substr(0, end)), columns_, indent);
        for (std::size_t at = 0; at < broken.size();) {
            const std::size_t stop = broken.find(u'\n', at);
            found.push_back(broken.substr(at, stop - at));
            at = stop + 1;
        }
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return found;
}

void QuestionPages::numberRows(const DialogModel& model, const Question& question)
{
    for (const QuestionTable& table : question.tables) {
        const Control& list = *model.find(table.list);
        for (std::size_t row = 0; row < list.rows.size(); ++row)
            if (isShown(list.rows[row], table)) rows_.push_back({table.list, static_cast<int>(row)});
    }
}

QuestionPages::Block QuestionPages::blockOf(const Control& list, const QuestionTable& table, bool numbered, std::size_t firstNumber) const
{
    const std::size_t numberWidth = digits(rows_.size()).size();
    std::vector<std::u16string> headers;
    for (const std::u16string& header : table.headers) headers.push_back(platform::harmless(header));
    std::vector<TextRow> rows;
    for (const ListRow& row : list.rows) {
        if (!isShown(row, table)) continue;
        TextRow shown;
        const std::u16string number = digits(firstNumber + rows.size());
        if (numbered) shown.mark = std::u16string(numberWidth - std::min(numberWidth, number.size()), u' ') + number + u"  ";
        if (list.checkBoxes) shown.mark += row.checked ? u"[x] " : u"[ ] ";
        for (const std::u16string& cell : row.cells) shown.cells.push_back(platform::harmless(cell));
        rows.push_back(std::move(shown));
    }
    LaidOutTable table2 = LayOutTable(headers, rows, columns_, table.cellLines);
    Block block;
    block.head = {u""};
    if (!table.title.empty()) append(block.head, lines(table.title));
    append(block.head, table2.head);
    block.rows = std::move(table2.rows);
    return block;
}

TextLines QuestionPages::answerLines(const Question& question, Enter enter) const
{
    TextLines found;
    if (!question.ask.empty()) append(found, lines(question.ask));
    std::size_t widest = 0;
    for (const Answer& answer : question.answers) widest = std::max(widest, platform::columnsOf(platform::harmless(answer.name)));
    const std::size_t lead = 8 + widest; // two blanks, the key in brackets, a blank, the name, two blanks
    for (const Answer& answer : question.answers) {
        const std::u16string name = platform::harmless(answer.name);
        const std::u16string key = std::u16string(u"  [") + answer.key + u"] " + name;
        std::u16string effect = platform::harmless(answer.effect);
        if (enter == Enter::Answers && &answer == &question.answers.front()) effect += effect.empty() ? u"(Enter)" : u" (Enter)";
        if (effect.empty()) {
            append(found, lines(key));
            continue;
        }
        if (columns_ < lead + 24) {
            append(found, lines(std::u16string(key).append(u": ").append(effect)));
            continue;
        }
        const std::u16string broken = platform::wrapped(effect, columns_ - lead);
        std::u16string front = key + std::u16string(lead - platform::columnsOf(key), u' ');
        for (std::size_t at = 0; at < broken.size();) {
            const std::size_t stop = broken.find(u'\n', at);
            found.push_back(front + broken.substr(at, stop - at));
            front = std::u16string(lead, u' ');
            at = stop + 1;
        }
    }
    return found;
}

void QuestionPages::fillPages(const TextLines& above, const TextLines& below, const TextLines& belowLast, const std::vector<Block>& blocks,
                              std::size_t lineCount)
{
    std::size_t needed =
        above.size() + belowLast.size() + (blocks.empty() ? 0 : 1) + 1; // with a blank line before the answers, and the prompt
    for (const Block& block : blocks) {
        needed += block.head.size();
        for (const TextLines& row : block.rows) needed += row.size();
    }
    const bool all = needed <= lineCount;
    const std::size_t fixed = above.size() + std::max(below.size(), belowLast.size()) + 3; // also with the line "Rows 1 to 13 of 100"
    const std::size_t room = all ? needed : std::max(lineCount > fixed ? lineCount - fixed : 0, fewestRowLines);

    struct Part {
        TextLines lines;
        std::size_t first = 0, last = 0;
    };
    std::vector<Part> parts(1);
    std::size_t number = 0;
    for (const Block& block : blocks) {
        bool headed = false;
        for (const TextLines& row : block.rows) {
            const std::size_t more = row.size() + (headed ? 0 : block.head.size());
            if (!parts.back().lines.empty() && parts.back().lines.size() + more > room) {
                parts.emplace_back();
                headed = false;
            }
            Part& part = parts.back();
            if (!std::exchange(headed, true)) append(part.lines, block.head);
            append(part.lines, row);
            part.last = ++number;
            if (part.first == 0) part.first = number;
        }
    }
    for (const Part& part : parts) {
        TextLines page = above;
        append(page, part.lines);
        if (!blocks.empty()) page.emplace_back();
        if (parts.size() > 1)
            append(page, lines(u"Rows " + digits(part.first) + u" to " + digits(part.last) + u" of " + digits(number) +
                               u"; + and - turn the page."));
        append(page, pages_.size() + 1 == parts.size() ? belowLast : below);
        pages_.push_back(std::move(page));
        lastRows_.push_back(part.last);
    }
}

} // namespace mb
