#include "dialogs/terminal/TypedCommand.h"

#include "text.h"
#include <algorithm>

namespace mb {

std::optional<TypedCommand> ParseCommand(std::u16string_view line)
{
    TypedCommand command;
    std::size_t at = 0;
    while (at < line.size()) {
        const char16_t c = line[at];
        if (platform::isSpace(c)) {
            ++at;
        } else if (platform::isDigit(c)) {
            const std::size_t end = std::min(line.find_first_not_of(u"0123456789", at), line.size());
            if (end - at > 8) return std::nullopt;
            command.numbers.push_back(static_cast<std::size_t>(platform::toInt(line.substr(at, end - at))));
            at = end;
        } else {
            if (command.letter != 0 || !command.numbers.empty()) return std::nullopt;
            command.letter = platform::lower(c);
            ++at;
        }
    }
    return command;
}

} // namespace mb
