// Whether someone is watching, and on how wide a screen.
#pragma once
#include <cstddef>

namespace platform {

bool errorIsTerminal() noexcept;
bool outputIsTerminal() noexcept;
bool inputIsTerminal() noexcept;
// At least 20; 80 where nobody says.
std::size_t errorColumns() noexcept;

} // namespace platform
