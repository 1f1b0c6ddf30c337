// A run that would delete too much: what it is told as, and the question whether it is meant.
#pragma once
#include "MapName.h"
#include "RunSink.h"

namespace mbhost {

// Why the run was refused, and what to type next; `written` says what it wrote before that.
std::string refusalSentence(const MapInfo& map, const TooManyDeletions& tooMany, const std::string& written);
// The same of a look at the plan, which is not refused.
std::string plannedRefusal(const MapInfo& map, const TooManyDeletions& tooMany);
// Asks on the terminal; false where nobody answers.
bool confirmDeletions(const MapInfo& map, const TooManyDeletions& tooMany);

} // namespace mbhost
