// A line-based dialog with the user in a terminal.
#pragma once
#include <memory>
#include <string>
#include <string_view>

namespace platform {

class Console {
public:
    virtual ~Console() = default;
    virtual void write(std::u16string_view text) = 0;
    // Returns false if the input has ended, a signal interrupted the wait, or the line is too long; no further answer will come.
    virtual bool readLine(std::u16string& line) = 0;
    [[nodiscard]] virtual std::size_t columns() const = 0;
    [[nodiscard]] virtual std::size_t lines() const = 0;
    [[nodiscard]] virtual bool coloured() const = 0;
};

// Returns the process's terminal: standard input with standard output or, if that is no terminal, standard error. Null if the input or both
// outputs are no terminal.
std::unique_ptr<Console> openConsole();
// Returns whether openConsole() would find a terminal.
bool someoneAnswers() noexcept;

} // namespace platform
