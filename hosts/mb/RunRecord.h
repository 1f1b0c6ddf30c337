// How the last run of a map ended, as mb keeps it beside the map's history. The engine's own status knows good and failed runs alone. The
// map of a transfer is its target's class.
#pragma once
#include "Outcome.h"
#include <optional>
#include <string>

namespace mbhost {

struct RunRecord {
    std::string end;     // a word of mb status: good, failed, cancelled, refused, unanswered, unfinished
    DATE when = 0.0;     // local time
    std::string message; // why it failed or was refused; empty else
};

// A record that cannot be written is none: the run itself is not harmed.
void recordStart(const GUID& map); // unfinished, until the end is recorded
// A look at the plan is no run, nor is one that another run kept from starting. A store whose name only its translator knows is found in
// use after the start: that run failed.
void recordEnd(const GUID& map, const Outcome& outcome);
// Nothing where there is none, or where it cannot be read.
std::optional<RunRecord> loadRunRecord(const GUID& map);
void removeRunRecord(const GUID& map);

} // namespace mbhost
