// Text as it may go to a terminal: it cannot steer it, and its width is known.
#pragma once
#include <string>
#include <string_view>

namespace platform {

// One line: a line break is a blank, and what moves the cursor or turns the direction of the text around is U+FFFD.
std::u16string harmless(std::u16string_view text);

// The same for a file: line breaks and tabs stay, and a question mark stands for what would steer a terminal that shows the file.
std::u16string harmlessInFile(std::u16string_view text);

// Columns of a terminal that the text takes; marks that combine with a letter take none, wide letters two.
std::size_t columnsOf(std::u16string_view text) noexcept;

// As much of the text as fits the columns; what does not fit ends with an ellipsis.
std::u16string fitted(std::u16string_view text, std::size_t columns);

// The text in lines of so many columns at most, broken at blanks where that is possible.
std::u16string wrapped(std::u16string_view text, std::size_t columns, std::u16string_view indent = {});

} // namespace platform
