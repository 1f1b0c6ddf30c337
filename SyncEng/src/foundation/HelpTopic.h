// The topics of the help file, and how one is shown.
#pragma once
#include "com.h"

namespace mb {

enum HelpTopic : unsigned {
    helpFieldMapping = 7003,
    helpConfirmation = 7005,
    helpConflict = 7006,
    helpDeleteConflict = 7007,
    helpMergeDialog = 7020,
};

// True if a help window appeared. Without a help folder the help button does nothing.
bool ShowHelpTopic(HWND window, HelpTopic topic);

} // namespace mb
