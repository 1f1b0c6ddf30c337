// Checks that a target's program is installed, before the target may configure itself.
#pragma once
#include "com.h"

namespace mb {

struct InstallCheck {
    bool installed = true;
    std::u16string text; // the message for the user if it is not installed; may be empty
};

InstallCheck CheckTranslatorInstalled(const GUID& target, bool lotusNotesAvailable);

} // namespace mb
