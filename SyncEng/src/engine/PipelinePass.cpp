#include "engine/PipelinePass.h"

namespace mb {

HRESULT PassSide::fieldType(std::size_t i, LONG& type)
{
    if (i >= types_.size()) types_.resize(i + 1);
    if (!types_[i]) {
        const HRESULT hr = store.fieldType(fields.data()[i], type);
        if (FAILED(hr)) return hr;
        types_[i] = type;
    }
    type = *types_[i];
    return S_OK;
}

void PipelinePass::fillFieldTypes()
{
    if (!fieldTypes.empty()) return;
    for (std::size_t i = 0; i < static_cast<std::size_t>(FieldCount); ++i) {
        LONG type1 = 0, type2 = 0;
        if (SUCCEEDED(side(Side::One).fieldType(i, type1)) && SUCCEEDED(side(Side::Two).fieldType(i, type2))) fieldTypes[type1] = type2;
    }
}

} // namespace mb
