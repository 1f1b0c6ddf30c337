// Whether nobody can answer a question or a message box of this process. A host says so before it runs a map, or the user for every host
// with the environment variable MB_UNATTENDED. Then no dialog or box opens, and every question counts as cancelled.
#pragma once

namespace platform {

bool isUnattended();
void setUnattended();

// Returns whether dialogs are windows on this platform and a visible desktop exists.
bool showsWindows() noexcept;

} // namespace platform
