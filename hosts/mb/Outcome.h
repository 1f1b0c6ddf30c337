// How a run ended and what it wrote, as text for people and as JSON for scripts.
#pragma once
#include "Engine.h"
#include "EngineMessages.h"
#include "Output.h"
#include "RunEvents.h"
#include <array>
#include <functional>

namespace mbhost {

// The engine's result if another run holds the map or one of its stores.
inline constexpr HRESULT mapInUse = static_cast<HRESULT>(0x80040241);
// The code of the engine's last error if a silent run of another map holds one of the stores. Such a run ends by itself.
inline constexpr HRESULT storeInUseSilently = static_cast<HRESULT>(0x80040243);

struct Outcome {
    enum class End { Done, Planned, Failed, Cancelled, Refused, Unanswered, InUse } end = End::Done;
    double seconds = 0.0;
    bool recorded = false; // recordStart() was called for this run
    RunEvents events;
    std::string message; // why the run failed or was refused, or which process uses the map or store

    // Sets the end from the run's result, and for a failure the message: the engine's last error, else the engine's last message, else the
    // system's message for the result.
    void settle(HRESULT hr, const std::function<std::string()>& lastError, const EngineMessages& told);
};

using StoreNames = std::array<std::string, 2>;

Json outcomeJson(const Outcome& outcome);
// Prints a line for the whole run, one for each store, and the notes of tellNotes().
void tellCounts(const std::string& title, const StoreNames& stores, const Outcome& outcome);
// Prints the contacts in conflict, what the plug-ins left out, and what they noted.
void tellNotes(const StoreNames& stores, const Outcome& outcome);
// The sentence for a cancelled run; it says whether anything was written.
std::string cancelledSentence(const Outcome& outcome);
// Says what a run wrote that ended before the contact pass wrote: the category pass comes first and may have written.
std::string writtenBeforeContacts(const Outcome& outcome);
// Ends the command with cancelledSentence() and the exit code for a cancel.
[[noreturn]] void throwCancelled(const Outcome& outcome);

// The two messages of an engine error as one printable text.
std::string joined(const com::Bstr& message1, const com::Bstr& message2);

} // namespace mbhost
