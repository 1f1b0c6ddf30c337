#include "engine/HostUnits.h"

#include <algorithm>

namespace mb {

HRESULT HostUnits::readBefore(PipelinePass& pass, Side target, BSTR targetId)
{
    PassSide& side = pass.side(target);
    const OpenReading reading(side.store, targetId);
    if (FAILED(reading.result())) return reading.result();
    const auto fields = pass.fields(target);
    for (std::size_t at = 0; at < fields.size(); ++at) {
        const GUID& field = fields[at];
        LONG type = 0;
        if (FAILED(side.fieldType(at, type))) continue;
        for (std::size_t i = 0; i < units_.size(); ++i) {
            if (!IsFieldInGroup(type, fieldGroups[i]) || units_[i].before.contains(type)) continue;
            std::u16string text;
            if (FAILED(side.store.readText(targetId, field, text)) || text.empty()) continue;
            units_[i].before[type] = std::move(text);
            GroupFieldIds[type] = field;
        }
        if (std::all_of(units_.begin(), units_.end(), [](const Unit& unit) { return unit.before.size() == fieldsOfGroup; })) break;
    }
    return S_OK;
}

void HostUnits::noteWritten(LONG targetType)
{
    for (std::size_t i = 0; i < units_.size(); ++i)
        if (IsFieldInGroup(targetType, fieldGroups[i])) units_[i].written.insert(targetType);
}

void HostUnits::restore(StoreClient& target, BSTR targetId) const
{
    for (const Unit& unit : units_) {
        if (unit.written.empty()) continue;
        for (const auto& [type, text] : unit.before) {
            const auto field = GroupFieldIds.find(type);
            if (unit.written.contains(type) || field == GroupFieldIds.end()) continue;
            (void)target.write(targetId, field->second, com::Variant(text));
        }
    }
}

} // namespace mb
