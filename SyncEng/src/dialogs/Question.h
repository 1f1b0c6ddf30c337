// A dialog as a question in a terminal, in words of its own: what is asked, the tables that help to decide, and one key an answer.
#pragma once
#include <functional>
#include <string>
#include <vector>

namespace mb {

struct Answer {
    char16_t key = 0; // lower case, or a digit
    std::u16string name, effect;
    std::function<void()> act; // what the dialog is told
};

// The lines that a value as long as dialogs show it takes in a narrow column.
inline constexpr std::size_t valueLines = 4;

// A list of the dialog, or some of its columns.
struct QuestionTable {
    int list = 0;
    std::u16string title;                // in a line of its own; may be empty
    std::vector<std::u16string> headers; // the list's columns from the first on
    bool hidesEmptyRows = false;         // rows of which all but the first column is empty
    std::size_t cellLines = 1;           // lines that a long value may take before it is cut
};

struct Question {
    std::u16string text; // lines that end with '\n', but for the last
    std::vector<QuestionTable> tables;
    std::u16string ask;
    std::vector<Answer> answers; // the first one is safe: Enter alone takes it
    std::u16string help;

    // What a number, "m" and two numbers, and "s" and a number do; empty if they are no answers here. False: the row does not allow it.
    std::function<bool(int list, int row)> chooseRow;
    std::u16string rowEffect, rowRefusal; // what choosing a row does, as in "see row 3"; and why it may be refused
    std::function<bool(int list, int from, int to)> moveRow;
    std::function<void(int column)> sortBy;
};

} // namespace mb
