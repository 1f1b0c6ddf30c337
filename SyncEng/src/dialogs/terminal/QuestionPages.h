// A question laid out for a terminal: pages of at most so many lines, each with the question, some of the rows and all answers, so that
// nothing of the question scrolls away.
#pragma once
#include "dialogs/DialogModel.h"
#include "dialogs/Question.h"
#include "dialogs/terminal/TextTable.h"

namespace mb {

class QuestionPages {
public:
    struct RowPlace {
        int list = 0, row = -1; // in the dialog
    };

    // The model holds the lists that the question's tables show. Requires: columns and lines are those of the terminal.
    QuestionPages(const DialogModel& model, const Question& question, std::size_t columns, std::size_t lines);
    [[nodiscard]] std::size_t count() const noexcept { return pages_.size(); }
    // The lines of a page, the prompt's excepted. Requires: page < count().
    [[nodiscard]] const TextLines& page(std::size_t number) const { return pages_[number]; }
    // How many lines the question's text takes, behind the blank line that begins each page.
    [[nodiscard]] std::size_t textLines() const noexcept { return textLines_; }
    // The page that shows the row of this number.
    [[nodiscard]] std::size_t pageOf(std::size_t number) const noexcept;
    // The row that the user calls by this number; row -1 if none. Rows are numbered from 1 through all tables.
    [[nodiscard]] RowPlace rowOf(std::size_t number) const noexcept;

private:
    struct Block { // what stays together on a page
        TextLines head;
        std::vector<TextLines> rows;
    };
    [[nodiscard]] TextLines lines(std::u16string_view text, std::u16string_view indent = {}) const;
    void numberRows(const DialogModel& model, const Question& question);
    [[nodiscard]] Block blockOf(const Control& list, const QuestionTable& table, bool numbered, std::size_t firstNumber) const;
    [[nodiscard]] TextLines answerLines(const Question& question) const;
    void fillPages(const TextLines& above, const TextLines& below, const std::vector<Block>& blocks, std::size_t lines);

    std::size_t columns_, textLines_ = 0;
    std::vector<RowPlace> rows_;
    std::vector<TextLines> pages_;
    std::vector<std::size_t> lastRows_; // the number of the last row of each page
};

} // namespace mb
