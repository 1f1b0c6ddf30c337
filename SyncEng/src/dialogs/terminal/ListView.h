// A list of a dialog as lines of a terminal: a table that fits the width, or one value a line where the terminal is too narrow for it.
#pragma once
#include "dialogs/DialogModel.h"

namespace mb {

struct ListWindow {
    std::size_t firstRow = 0, rowCount = 0; // the rows to show
    std::size_t firstNumber = 1;            // the number by which the user calls row 0
    std::size_t columns = 80;               // of the terminal
};

std::u16string DrawList(const Control& list, const ListWindow& window);

} // namespace mb
