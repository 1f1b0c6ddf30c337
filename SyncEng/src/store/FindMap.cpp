#include "store/FindMap.h"

namespace mb {

HRESULT FindMap(ITrMap* maps, const GUID& map, std::optional<MapTranslators>& found)
{
    found.reset();
    MapTranslators ids;
    const HRESULT hr = com::call(maps, &ITrMap::GetTranslators, map, &ids.one, &ids.two);
    if (SUCCEEDED(hr)) found = ids;
    return hr == E_FAIL ? S_OK : hr; // the configuration returns E_FAIL for a missing key
}

} // namespace mb
