#include "engine/HostUnits.h"

#include <algorithm>

namespace mb {

void HostUnits::readBefore(PipelinePass& pass, Side target, BSTR targetId)
{
    PassSide& side = pass.side(target);
    const OpenReading reading(side.store, targetId);
    reading.require();
    const auto fields = pass.fields(target);
    for (std::size_t at = 0; at < fields.size(); ++at) {
        const GUID& field = fields[at];
        const auto known = side.fieldType(at);
        if (!known) continue;
        const LONG type = *known;
        for (std::size_t i = 0; i < units_.size(); ++i) {
            if (!IsFieldInGroup(type, fieldGroups[i]) || units_[i].before.contains(type)) continue;
            std::u16string text;
            if (!side.store.readText(targetId, field, text) || text.empty()) continue;
            units_[i].before[type] = std::move(text);
            GroupFieldIds[type] = field;
        }
        if (std::all_of(units_.begin(), units_.end(), [](const Unit& unit) { return unit.before.size() == fieldsOfGroup; })) break;
    }
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
            target.tryWrite(targetId, field->second, com::Variant(text));
        }
    }
}

} // namespace mb
