// Merges in the terminal, field by field.
#pragma once
#include "AskForMerge.h"
#include "console.h"

namespace mb::merge {

// Implements AskForMerge on a console. Each question fits the height of the terminal.
bool AskForFields(platform::Console& console, MergeQuestion& question);

} // namespace mb::merge
