// A question laid out in pages for a terminal. Each page has the question, some of the rows and all answers, and fits the terminal, so that
// the question never scrolls out of sight.
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

    // Requires: `model` has the lists of the question's tables; `columns` and `lines` are the size of the terminal.
    QuestionPages(const DialogModel& model, const Question& question, std::size_t columns, std::size_t lines);
    [[nodiscard]] std::size_t count() const noexcept { return pages_.size(); }
    // Returns the lines of a page without the prompt. Requires: number < count().
    [[nodiscard]] const TextLines& page(std::size_t number) const { return pages_[number]; }
    // Returns the number of lines of the question's text, which follows the blank line at the start of each page.
    [[nodiscard]] std::size_t textLines() const noexcept { return textLines_; }
    // Returns the page that shows the row with this number.
    [[nodiscard]] std::size_t pageOf(std::size_t number) const noexcept;
    // Returns the row with this number; row -1 if there is none. Rows are numbered from 1 across all tables.
    [[nodiscard]] RowPlace rowOf(std::size_t number) const noexcept;

private:
    struct Block { // a table; its head is repeated on each of its pages
        TextLines head;
        std::vector<TextLines> rows;
    };
    [[nodiscard]] TextLines lines(std::u16string_view text, std::u16string_view indent = {}) const;
    void numberRows(const DialogModel& model, const Question& question);
    [[nodiscard]] Block blockOf(const Control& list, const QuestionTable& table, bool numbered, std::size_t firstNumber) const;
    enum class Enter { TurnsThePage, Answers };
    // Returns what is asked, and for each answer its key, its name and its effect. The first answer says if Enter alone chooses it.
    [[nodiscard]] TextLines answerLines(const Question& question, Enter enter) const;
    // Puts `belowLast` at the end of the last page, and `below` at the end of the others.
    void fillPages(const TextLines& above, const TextLines& below, const TextLines& belowLast, const std::vector<Block>& blocks,
                   std::size_t lines);

    std::size_t columns_, textLines_ = 0;
    std::vector<RowPlace> rows_;
    std::vector<TextLines> pages_;
    std::vector<std::size_t> lastRows_; // the number of the last row of each page
};

} // namespace mb
