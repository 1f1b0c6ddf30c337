// Text for terminals: replaces characters that could control the terminal, and measures width in columns.
#pragma once
#include <string>
#include <string_view>

namespace platform {

// Returns the text as one line: line breaks and tabs become blanks, control and bidirectional formatting characters become U+FFFD.
std::u16string harmless(std::u16string_view text);

// Returns the text for a file: line breaks and tabs are kept; the characters that harmless() replaces become '?', so that the file can
// safely be shown in a terminal.
std::u16string harmlessInFile(std::u16string_view text);

// The number of terminal columns that the text takes. Combining marks take none, wide characters two.
std::size_t columnsOf(std::u16string_view text) noexcept;

// Returns the text cut to the columns; a text that was cut ends with an ellipsis.
std::u16string fitted(std::u16string_view text, std::size_t columns);

// Returns the text broken into lines of at most `columns`, at blanks where possible. Each line begins with `indent`, which counts towards
// `columns`, and ends with a line feed.
std::u16string wrapped(std::u16string_view text, std::size_t columns, std::u16string_view indent = {});

} // namespace platform
