#include "engine/PipelinePass.h"

#include <algorithm>

namespace mb {

std::optional<LONG> PassSide::fieldType(std::size_t i)
{
    if (i >= types_.size()) types_.resize(i + 1);
    if (!types_[i]) types_[i] = store.fieldType(fields.data()[i]);
    return types_[i];
}

void PassSide::removeField(std::size_t i, std::size_t count)
{
    std::copy(fields.data() + i + 1, fields.data() + count, fields.data() + i);
    if (i < types_.size()) types_.erase(types_.begin() + static_cast<std::ptrdiff_t>(i));
}

void PipelinePass::addFields(const PerSide<GUID>& pair)
{
    LONG count = FieldCount;
    for (const Side each : bothSides) {
        std::vector<GUID> longer(fields(each).begin(), fields(each).end());
        longer.push_back(pair[each]);
        com::check(com::giveArray<GUID>(longer, &count, side(each).fields.put()));
    }
    FieldCount = count;
}

void PipelinePass::separateDetails()
{
    for (std::size_t i = 0; i < static_cast<std::size_t>(FieldCount); ++i) {
        if (side(Side::One).fieldType(i) != ftDetails || side(Side::Two).fieldType(i) != ftDetails) continue;
        details = PerSide<GUID>{fields(Side::One)[i], fields(Side::Two)[i]};
        for (const Side each : bothSides) side(each).removeField(i, static_cast<std::size_t>(FieldCount));
        --FieldCount;
        return;
    }
}

void PipelinePass::findKinds()
{
    for (std::size_t i = 0; i < static_cast<std::size_t>(FieldCount); ++i) {
        const PerSide<bool> isKind{side(Side::One).fieldType(i) == ftKind, side(Side::Two).fieldType(i) == ftKind};
        for (const Side each : bothSides)
            if (isKind[each]) side(each).kind = fields(each)[i];
        kindsTravel = kindsTravel || (isKind.one && isKind.two);
    }
    for (const Side each : bothSides)
        if (!side(each).kind) side(each).kind = side(each).store.fieldOfType(ftKind);
}

void PipelinePass::fillFieldTypes()
{
    if (!fieldTypes.empty()) return;
    for (std::size_t i = 0; i < static_cast<std::size_t>(FieldCount); ++i) {
        const auto type1 = side(Side::One).fieldType(i);
        const auto type2 = type1 ? side(Side::Two).fieldType(i) : std::nullopt;
        if (type2) fieldTypes[*type1] = *type2;
    }
}

} // namespace mb
