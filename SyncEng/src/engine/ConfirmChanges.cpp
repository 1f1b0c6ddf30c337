#include "engine/ConfirmChanges.h"

#include "engine/RecordChanges.h"

namespace mb {
namespace {

bool wantsChangeSet(const RecordTask& task) { return task.MappedId && !task.Changes && (task.Kind == TaskChange || task.Kind == TaskNew); }

void fillFieldTypes(PipelinePass& pass)
{
    FieldTypeMap& types = pass.run.FieldTypes;
    if (!types.empty()) return;
    const auto fields1 = pass.fields(Side::One), fields2 = pass.fields(Side::Two);
    for (std::size_t i = 0; i < fields1.size(); ++i) {
        LONG type1 = 0, type2 = 0;
        if (FAILED(com::call(pass.side(Side::One).field, &IField::GetFieldType, fields1[i], &type1))) continue;
        if (FAILED(com::call(pass.side(Side::Two).field, &IField::GetFieldType, fields2[i], &type2))) continue;
        types[type1] = type2;
    }
}

std::unique_ptr<FieldValueMap> changeSet(PipelinePass& pass, Side side, const std::u16string& id, const RecordTask& task)
{
    return std::make_unique<FieldValueMap>(ReadRecordChanges(pass, side, id, ReadErrors::GiveUp, task.FieldMapRemapped));
}

void settle(PipelinePass& pass, Side side)
{
    for (auto& [id, task] : pass.side(side).Tasks) {
        if (!task.MappedId || task.Settled) continue;
        if (wantsChangeSet(task)) task.Changes = changeSet(pass, side, id, task);
        if (!task.Changes) task.Changes = std::make_unique<FieldValueMap>();
        task.Settled = 1;
    }
}

} // namespace

HRESULT ConfirmChanges(PipelinePass& pass)
{
    fillFieldTypes(pass);
    settle(pass, Side::One);
    settle(pass, Side::Two);
    return S_OK;
}

void LoadTargetFields(PipelinePass& pass)
{
    for (auto& [id, task] : pass.side(Side::Two).Tasks)
        if (wantsChangeSet(task)) task.Changes = changeSet(pass, Side::Two, id, task);
}

} // namespace mb
