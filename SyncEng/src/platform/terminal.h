// Whether someone is watching.
#pragma once

namespace platform {

bool errorIsTerminal() noexcept;
bool outputIsTerminal() noexcept;
bool inputIsTerminal() noexcept;

} // namespace platform
