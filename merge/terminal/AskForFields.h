// Merges in the terminal, field by field.
#pragma once
#include "AskForMerge.h"
#include "console.h"

namespace mb::merge {

// AskForMerge on this console. Each question fits the lines of the terminal.
bool AskForFields(platform::Console& console, MergeQuestion& question);

} // namespace mb::merge
