// A dialog as a question in a terminal, with its own wording: the question, tables that help to decide, and one key for each answer.
#pragma once
#include <functional>
#include <string>
#include <vector>

namespace mb {

struct Answer {
    char16_t key = 0; // lower case, or a digit
    std::u16string name, effect;
    std::function<void()> act; // applies the answer to the dialog
};

// The number of lines that the longest value in a dialog takes in a narrow column.
inline constexpr std::size_t valueLines = 4;

// A list of the dialog, or some of its columns.
struct QuestionTable {
    int list = 0;
    std::u16string title;                // on its own line; may be empty
    std::vector<std::u16string> headers; // of the columns to show, beginning with the list's first
    bool hidesEmptyRows = false;         // hides rows that are empty except for the first column
    std::size_t cellLines = 1;           // lines that a long value may take before it is cut
};

struct Question {
    std::u16string text; // lines separated by '\n'
    std::vector<QuestionTable> tables;
    std::u16string ask;
    std::vector<Answer> answers; // the first one is safe: Enter alone chooses it
    std::u16string help;

    // What a number, "m" and two numbers, and "s" and a number do; empty if not available. The first two return false if the row refuses.
    std::function<bool(int list, int row)> chooseRow;
    std::u16string rowEffect, rowRefusal; // what choosing a row does, such as "see row 3", and the message if the row refuses
    std::function<bool(int list, int from, int to)> moveRow;
    std::function<void(int column)> sortBy;
};

} // namespace mb
