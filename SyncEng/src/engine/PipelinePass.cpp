#include "engine/PipelinePass.h"

namespace mb {

HRESULT PassSide::fieldType(std::size_t i, LONG& type)
{
    if (i >= types_.size()) types_.resize(i + 1);
    if (!types_[i]) {
        const HRESULT hr = store.fieldType(Fields.data()[i], type);
        if (FAILED(hr)) return hr;
        types_[i] = type;
    }
    type = *types_[i];
    return S_OK;
}

} // namespace mb
