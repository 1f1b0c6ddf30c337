// What happens after a failure: whose error text is kept, what the user is told, and what the history records of a failed run.
#pragma once
#include "engine/MapClient.h"
#include "engine/PipelinePass.h"

namespace mb {

// A translator that may have an error to tell; null where it could not be loaded.
struct ErrorSource {
    ITranslator* translator = nullptr;
    GUID id{};
    Side side = Side::One;
};

// Keeps the error of the first source that has one, and charges the failure to it.
void FetchTranslatorError(ErrorState& error, const ErrorSource& first, const ErrorSource& second);

// Charges the last failure to the translator of this side.
void chargeTo(RunState& run, Side side);

// Charges a failure of the pass to this side. Its translator is asked for the error text first, and then the other one.
void chargeFailure(const PipelinePass& pass, Side side);

// Does work of the pass. A failure in it is charged to this side, and thrown on; a cancel is charged to nobody.
template <class Work> decltype(auto) charging(const PipelinePass& pass, Side side, Work&& work)
{
    try {
        return work();
    } catch (const RunFailure&) {
        chargeFailure(pass, side);
        throw;
    }
}

// Ends the run because of what a store answered: writes the sentence to the log, charges the failure to the store, and gives the user the
// sentence where the store tells no error of its own. Throws RunFailure with `code`.
[[noreturn]] void failStore(const PipelinePass& pass, Side side, const std::u16string& sentence, HRESULT code = E_FAIL);

// The same for a store that does not have the known record `id` and could not tell whether it renamed it.
[[noreturn]] void failUnknownRenaming(const PipelinePass& pass, Side side, const std::u16string& id);

// The message of a failed run, as the user gets it; empty for a code without one.
std::u16string FailureText(const RunState& run, HRESULT hr);

// Writes the message of a failed run to the log and shows it, unless the run is silent.
void ReportFailure(const RunState& run, HRESULT hr);

// Marks the last synchronisation of both sides as failed. Returns the code with which the run ends: `code`, or codeNotInstalled where a
// translator is missing and no message is known yet, which is then composed. `map` may be empty.
HRESULT RecordFailedSync(RunState& run, const MapClient& map, const PerSide<com::Ptr<ITranslator>>& translators,
                         const PerSide<bool>& loadFailed, HRESULT code);

} // namespace mb
