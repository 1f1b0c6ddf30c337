// The record of how a map's last run ended; mb keeps it in a file beside the map's history, because the engine's own status only knows good
// and failed runs. A transfer is recorded under the class of its target.
#pragma once
#include "Outcome.h"
#include <optional>
#include <string>

namespace mbhost {

struct RunRecord {
    std::string end;     // as mb status prints it: good, failed, cancelled, refused, unanswered, unfinished
    DATE when = 0.0;     // local time
    std::string message; // why the run failed or was refused; else empty
};

// Records the run as unfinished until recordEnd(). A record that cannot be written is ignored: it must not fail the run.
void recordStart(const GUID& map);
// Records nothing for a dry run, or for a run that did not start because its map or a store was in use. A run that found a store in use
// after its start is recorded as failed; this happens if only the translator knows the name of the store.
void recordEnd(const GUID& map, const Outcome& outcome);
// Returns nullopt if there is no record or it cannot be read.
std::optional<RunRecord> loadRunRecord(const GUID& map);
void removeRunRecord(const GUID& map);

} // namespace mbhost
