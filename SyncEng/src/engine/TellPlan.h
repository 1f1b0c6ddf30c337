// The plans of a pass in the form in which they are shown to the user and told to the host.
#pragma once
#include "engine/SidePlan.h"

namespace mb {

// The plans as the dialogs take them. Requires: the pass and the plans outlive this object and do not change meanwhile.
class ShownPlans {
public:
    ShownPlans(const PipelinePass& pass, const PerSide<SidePlan>& plans);
    ShownPlans(const ShownPlans&) = delete;
    ShownPlans& operator=(const ShownPlans&) = delete;
    ~ShownPlans() = default;
    PlannedChanges changes;

private:
    PerSide<std::vector<PlannedTask>> tasks_;
};

// Tells the host's sink, if it wants to know. Returns whether the user is still to be asked: false where the host has answered. Throws
// Cancelled where the host stops the run.
bool TellPlan(RunState& run, const PipelinePass& pass, const PerSide<SidePlan>& plans, const PlannedChanges& changes);

} // namespace mb
