#include "transfer/HiddenMap.h"

#include "foundation/ClassTable.h"
#include "translators/TranslatorIds.h"

namespace mb {

HRESULT ParseTarget(BSTR text, GUID& target)
{
    const HRESULT hr = com::parseGuid(com::viewOf(text), &target);
    return SUCCEEDED(hr) && target == GUID_NULL ? E_INVALIDARG : hr;
}

bool HasHiddenMap(const com::Ptr<ITrMap>& maps, const GUID& target)
{
    GUID id1{}, id2{};
    return SUCCEEDED(com::call(maps, &ITrMap::GetTranslators, target, &id1, &id2));
}

HRESULT EnsureHiddenMap(const GUID& target, com::Ptr<ITrMap>& maps)
{
    const HRESULT hr = createClass(__uuidof(TrManager), maps);
    if (FAILED(hr) || HasHiddenMap(maps, target)) return hr;
    return com::call(maps, &ITrMap::CreateEx, target, hostTranslator, target);
}

} // namespace mb
