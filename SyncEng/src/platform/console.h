// A conversation with the user in a terminal, line by line.
#pragma once
#include <memory>
#include <string>
#include <string_view>

namespace platform {

class Console {
public:
    virtual ~Console() = default;
    virtual void write(std::u16string_view text) = 0;
    // False when the input has ended, or when a signal came in between: nobody answers any more.
    virtual bool readLine(std::u16string& line) = 0;
    [[nodiscard]] virtual std::size_t columns() const = 0;
    [[nodiscard]] virtual std::size_t lines() const = 0;
    [[nodiscard]] virtual bool coloured() const = 0;
};

// The terminal of the process: its input, and its output or else its error stream. Null where one of them is no terminal.
std::unique_ptr<Console> openConsole();
// Whether there is one.
bool someoneAnswers() noexcept;

} // namespace platform
