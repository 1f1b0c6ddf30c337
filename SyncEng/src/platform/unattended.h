// Whether a question or a message box of this process would wait for nobody. A host says so before it runs a map, or the user for all hosts
// by the environment variable MB_UNATTENDED: then no dialog and no box is opened, and a question is answered as by a cancel.
#pragma once

namespace platform {

bool isUnattended();
void setUnattended();

// Whether dialogs are windows here, and there is a desktop on which they are seen.
bool showsWindows() noexcept;

} // namespace platform
