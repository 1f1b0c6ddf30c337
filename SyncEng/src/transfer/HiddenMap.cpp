#include "transfer/HiddenMap.h"

#include "foundation/ClassTable.h"
#include "store/FindMap.h"
#include "translators/TranslatorIds.h"

namespace mb {

HRESULT ParseTarget(BSTR text, GUID& target)
{
    const HRESULT hr = com::parseGuid(com::viewOf(text), &target);
    return SUCCEEDED(hr) && target == GUID_NULL ? E_INVALIDARG : hr;
}

HRESULT EnsureHiddenMap(const GUID& target, com::Ptr<ITrMap>& maps)
{
    HRESULT hr = createClass(__uuidof(TrManager), maps);
    std::optional<MapTranslators> found;
    if (SUCCEEDED(hr)) hr = FindMap(maps.get(), target, found);
    return FAILED(hr) || found ? hr : com::call(maps, &ITrMap::CreateEx, target, hostTranslator, target);
}

} // namespace mb
