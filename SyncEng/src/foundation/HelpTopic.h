// The topics of the help file.
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

// Returns whether a help window appeared. Does nothing without a help folder.
bool ShowHelpTopic(HWND window, HelpTopic topic);

} // namespace mb
