// What a pass is about to write, in the form in which it is shown to the user and told to the host.
#pragma once
#include "dialogs/PlannedChanges.h"
#include "engine/PipelinePass.h"

namespace mb {

// The tasks of a pass as the dialogs take them; the pass outlives it and does not change meanwhile.
class Plan {
public:
    explicit Plan(PipelinePass& pass);
    Plan(const Plan&) = delete;
    Plan& operator=(const Plan&) = delete;
    PlannedChanges changes;

private:
    std::vector<PlannedTask> tasks1_, tasks2_; // whose values come to side 1, and to side 2
};

// Tells the host's sink, if it wants to know. Returns whether the user is still to be asked: false where the host has answered. Throws
// Cancelled where the host stops the run.
bool TellPlan(PipelinePass& pass, const PlannedChanges& changes);

} // namespace mb
