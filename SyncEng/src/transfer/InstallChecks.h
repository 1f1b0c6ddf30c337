// Whether the program behind a target is there, asked before the target may configure itself.
#pragma once
#include "com.h"

namespace mb {

struct InstallCheck {
    bool installed = true;
    std::u16string text; // for the user, when it is not; may be empty
};

InstallCheck CheckTranslatorInstalled(const GUID& target, bool lotusNotesAvailable);

} // namespace mb
