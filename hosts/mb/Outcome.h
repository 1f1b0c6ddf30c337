// How a run ended, and what it wrote, for people and for scripts.
#pragma once
#include "Engine.h"
#include "EngineMessages.h"
#include "Output.h"
#include "RunEvents.h"
#include <array>
#include <functional>

namespace mbhost {

// The engine's result where another run has the map or one of its stores.
inline constexpr HRESULT mapInUse = static_cast<HRESULT>(0x80040241);
// The code of its last error where that is the run of another map which uses a store and asks nothing.
inline constexpr HRESULT storeInUseSilently = static_cast<HRESULT>(0x80040243);

struct Outcome {
    enum class End { Done, Planned, Failed, Cancelled, Refused, Unanswered, InUse } end = End::Done;
    double seconds = 0.0;
    bool recorded = false; // its start stands in the record of the map's last run
    RunEvents events;
    std::string message; // of a failure or a refusal, and who has a map or store that is in use

    // Takes the end from the run's result, and for a failure the engine's message; where it has none, the system's sentence serves.
    void settle(HRESULT hr, const std::function<std::string()>& lastError, const EngineMessages& told);
};

using StoreNames = std::array<std::string, 2>;

Json outcomeJson(const Outcome& outcome);
// A line for the run as a whole, and one for each store.
void tellCounts(const std::string& title, const StoreNames& stores, const Outcome& outcome);
// The contacts in conflict, what the plug-ins left out, and what they noted.
void tellNotes(const StoreNames& stores, const Outcome& outcome);
// The sentence of a cancelled run, which says whether anything was written.
std::string cancelledSentence(const Outcome& outcome);
// What a run wrote that ended before its contacts were written: the lists of categories come first.
std::string writtenBeforeContacts(const Outcome& outcome);
// Ends the command with the sentence of a cancelled run.
[[noreturn]] void throwCancelled(const Outcome& outcome);

// The two messages behind a failure as one sentence.
std::string joined(const com::Bstr& message1, const com::Bstr& message2);

} // namespace mbhost
