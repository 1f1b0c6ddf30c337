#include "engine/PipelinePass.h"

namespace mb {

std::optional<LONG> PassSide::fieldType(std::size_t i)
{
    if (i >= types_.size()) types_.resize(i + 1);
    if (!types_[i]) types_[i] = store.fieldType(fields.data()[i]);
    return types_[i];
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
