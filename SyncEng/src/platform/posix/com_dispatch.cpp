// Late binding where no type library can be asked: an object says that it has no type information and knows no names.
#include "com.h"

namespace com {

HRESULT dispatchTypeInfoCount(REFIID, UINT* count) noexcept
{
    if (!count) return E_POINTER;
    *count = 0;
    return S_OK;
}

HRESULT dispatchTypeInfo(REFIID, UINT, LCID, ITypeInfo** info) noexcept
{
    if (!info) return E_POINTER;
    *info = nullptr;
    return DISP_E_BADINDEX;
}

HRESULT dispatchIds(REFIID, LPOLESTR*, UINT count, LCID, DISPID* ids) noexcept
{
    for (UINT i = 0; ids && i < count; ++i) ids[i] = DISPID_UNKNOWN;
    return DISP_E_UNKNOWNNAME;
}

HRESULT dispatchInvoke(REFIID, IDispatch*, DISPID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) noexcept
{
    return DISP_E_MEMBERNOTFOUND;
}

} // namespace com
