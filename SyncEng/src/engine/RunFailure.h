// How the stages of a run end it: they throw. A cancel is Cancelled, any other failure is RunFailure. The result code of the interface is
// made of them in RunPipeline and SyncOneMap; see resultOf.
#pragma once
#include "com.h"
#include "translators/Cancelled.h"
#include <exception>

namespace mb {

// A failure that ends the run of the map with a result code. Unlike com::Error it is expected: the run cleans up after it and reports it.
class RunFailure final : public std::exception {
public:
    // Requires: `code` is a failure, and not E_ABORT, for which Cancelled stands.
    explicit RunFailure(HRESULT code) noexcept : code_(code) {}
    [[nodiscard]] HRESULT code() const noexcept { return code_; }
    [[nodiscard]] const char* what() const noexcept override { return "mb::RunFailure"; }

private:
    HRESULT code_;
};

// Throws Cancelled for E_ABORT and RunFailure for any other failure.
inline void require(HRESULT result)
{
    if (FAILED(unlessCancelled(result))) throw RunFailure(result);
}

// Throws Cancelled for E_ABORT. For a call whose other failures mean nothing.
inline void requireNoCancel(HRESULT result) { (void)unlessCancelled(result); }

// Whether a call succeeded whose failure means no more than a missing answer.
[[nodiscard]] inline bool answered(HRESULT result) noexcept { return SUCCEEDED(result); }

// Runs the work and returns how it ended: S_OK, E_ABORT after a cancel, or the code of the failure.
template <class Work> [[nodiscard]] HRESULT resultOf(Work&& work)
{
    try {
        work();
        return S_OK;
    } catch (const Cancelled&) {
        return E_ABORT;
    } catch (const RunFailure& failure) {
        return failure.code();
    }
}

} // namespace mb
