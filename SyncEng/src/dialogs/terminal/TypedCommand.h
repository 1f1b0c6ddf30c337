// A command that the user typed at a question: an optional letter, followed by numbers.
#pragma once
#include <optional>
#include <string_view>
#include <vector>

namespace mb {

struct TypedCommand {
    char16_t letter = 0; // lower case; 0 for none
    std::vector<std::size_t> numbers;
};

// Returns nullopt for anything but one letter, then numbers of at most eight digits.
std::optional<TypedCommand> ParseCommand(std::u16string_view line);

} // namespace mb
