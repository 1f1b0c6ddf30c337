// Which standard streams are terminals, and how wide the terminal is.
#pragma once
#include <cstddef>

namespace platform {

bool errorIsTerminal() noexcept;
bool outputIsTerminal() noexcept;
bool inputIsTerminal() noexcept;
// At least 20; 80 if the width is unknown.
std::size_t errorColumns() noexcept;

} // namespace platform
