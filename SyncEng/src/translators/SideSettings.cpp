#include "translators/SideSettings.h"

#include "foundation/ClassTable.h"

namespace mb {

HRESULT MakeServices(REFGUID map, _TransIds side, com::Ptr<ITrServices>& services)
{
    HRESULT hr = createClass(__uuidof(TrServices), services);
    if (FAILED(hr)) return hr;
    const auto settings = services.tryAs<IDataStream>();
    if (!settings) return E_NOINTERFACE;
    const com::Bstr type(settingsTypeOf(side));
    return com::call(settings, &IDataStream::SetParams, type.get(), map);
}

HRESULT MakeSettings(REFGUID map, _TransIds side, com::Ptr<IDataStream>& settings)
{
    com::Ptr<ITrServices> services;
    const HRESULT hr = MakeServices(map, side, services);
    if (SUCCEEDED(hr)) settings = services.as<IDataStream>();
    return hr;
}

} // namespace mb
