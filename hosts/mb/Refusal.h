// The sentences about a run that would delete too much, and the question whether the deletions are intended.
#pragma once
#include "MapName.h"
#include "RunSink.h"

namespace mbhost {

// Says why the run was refused and what to type next; `written` says what the run wrote before. Requires: `refused` is not empty.
std::string refusalSentence(const MapInfo& map, const std::vector<TooManyDeletions>& refused, const std::string& written);
// The sentence for a dry run, which is not refused: a run would be. Requires: `refused` is not empty.
std::string plannedRefusal(const MapInfo& map, const std::vector<TooManyDeletions>& refused);
// Asks the user on the terminal. Returns false if the user declines or nobody answers.
bool confirmDeletions(const MapInfo& map, const TooManyDeletions& tooMany);

} // namespace mbhost
