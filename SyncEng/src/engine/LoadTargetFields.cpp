#include "engine/LoadTargetFields.h"

#include "engine/RecordChanges.h"

namespace mb {

void LoadTargetFields(PipelinePass& pass, PerSide<SidePlan>& plans)
{
    pass.fillFieldTypes();
    for (const Side source : bothSides)
        for (PlanItem& item : plans[otherSide(source)].copies)
            if (item.kind == PlannedChange && !item.Changes)
                item.Changes = std::make_unique<FieldValueMap>(
                    ReadRecordChanges(pass, source, item.sourceId, ReadErrors::GiveUp, item.FieldMapRemapped));
}

} // namespace mb
