// What becomes of a failure: whose error text is kept, what the user is told, and what the history remembers of a failed run.
#pragma once
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

// A failure of a translator's during the pass: charged to this side, which is asked first.
void chargeFailure(PipelinePass& pass, Side side);

// Ends the run because of what a store answered: writes the sentence to the log, charges the failure to the store, and gives the user the
// sentence where the store tells no error of its own. Returns E_FAIL.
HRESULT failStore(PipelinePass& pass, Side side, const std::u16string& sentence);

// The same for a store that does not have the known record `id` and could not tell whether it renamed it. Returns E_FAIL.
HRESULT failUnknownRenaming(PipelinePass& pass, Side side, const std::u16string& id);

// The message of a failed run, as the user gets it; empty for a code without one.
std::u16string FailureText(const RunState& run, HRESULT hr);

// Writes the message of a failed run to the log and shows it, unless the run is silent.
void ReportFailure(const RunState& run, HRESULT hr);

// Marks the last synchronisation of both sides as failed. Where a translator is missing and no message is known yet, one is
// composed, and the result is codeNotInstalled.
HRESULT RecordFailedSync(RunState& run, ITrMap* trMap, const PerSide<com::Ptr<ITranslator>>& translators, const PerSide<bool>& loadFailed);

} // namespace mb
