// SAFEARRAY. The element type is stored in front of the descriptor, for SafeArrayGetVartype.
#include "posix/com_abi.h"
#include <cstdlib>
#include <limits>
#include <new>

namespace {

constexpr std::size_t kHead = 16; // keeps the descriptor aligned

ULONG elementSize(VARTYPE vt) noexcept
{
    switch (vt) {
    case VT_I1:
    case VT_UI1: return 1;
    case VT_I2:
    case VT_UI2:
    case VT_BOOL: return 2;
    case VT_I4:
    case VT_UI4:
    case VT_INT:
    case VT_UINT:
    case VT_R4:
    case VT_ERROR: return 4;
    case VT_I8:
    case VT_UI8:
    case VT_R8:
    case VT_CY:
    case VT_DATE:
    case VT_BSTR:
    case VT_UNKNOWN:
    case VT_DISPATCH: return 8;
    case VT_VARIANT: return sizeof(VARIANT);
    default: return 0;
    }
}

VARTYPE kindOf(const SAFEARRAY* a) noexcept
{
    VARTYPE vt = VT_EMPTY;
    std::memcpy(&vt, reinterpret_cast<const char*>(a) - sizeof vt, sizeof vt);
    return vt;
}

std::size_t countOf(const SAFEARRAY* a) noexcept
{
    std::size_t n = 1;
    for (USHORT d = 0; d < a->cDims; ++d) n *= a->rgsabound[d].cElements;
    return a->cDims ? n : 0;
}

// Returns the address of an element. The bounds are stored with the last dimension first; dimension 1 varies fastest.
HRESULT elementAt(SAFEARRAY* a, const LONG* indices, char** at) noexcept
{
    std::size_t offset = 0, step = 1;
    for (USHORT d = 0; d < a->cDims; ++d) {
        const SAFEARRAYBOUND& bound = a->rgsabound[a->cDims - 1 - d];
        const std::int64_t i = std::int64_t{indices[d]} - bound.lLbound;
        if (i < 0 || i >= std::int64_t{bound.cElements}) return DISP_E_BADINDEX;
        offset += static_cast<std::size_t>(i) * step;
        step *= bound.cElements;
    }
    *at = static_cast<char*>(a->pvData) + offset * a->cbElements;
    return S_OK;
}

HRESULT copyElement(VARTYPE vt, void* to, const void* from, ULONG size) noexcept
{
    if (vt == VT_BSTR) {
        BSTR s = *static_cast<BSTR const*>(from);
        BSTR copy = s ? SysAllocStringByteLen(reinterpret_cast<const char*>(s), SysStringByteLen(s)) : nullptr;
        if (s && !copy) return E_OUTOFMEMORY;
        *static_cast<BSTR*>(to) = copy;
    } else if (vt == VT_VARIANT) {
        VARIANT copy;
        VariantInit(&copy);
        if (const HRESULT hr = VariantCopy(&copy, static_cast<const VARIANT*>(from)); FAILED(hr)) return hr;
        *static_cast<VARIANT*>(to) = copy;
    } else {
        std::memcpy(to, from, size);
        if (vt == VT_UNKNOWN || vt == VT_DISPATCH)
            if (IUnknown* p = *static_cast<IUnknown* const*>(to)) p->AddRef();
    }
    return S_OK;
}

void clearElement(VARTYPE vt, void* at) noexcept
{
    if (vt == VT_BSTR)
        SysFreeString(*static_cast<BSTR*>(at));
    else if (vt == VT_VARIANT)
        VariantClear(static_cast<VARIANT*>(at));
    else if (vt == VT_UNKNOWN || vt == VT_DISPATCH)
        if (IUnknown* p = *static_cast<IUnknown**>(at)) p->Release();
}

} // namespace

SAFEARRAY* SafeArrayCreate(VARTYPE vt, UINT dims, SAFEARRAYBOUND* bounds)
{
    const ULONG size = elementSize(vt);
    if (!size || !dims || !bounds || dims > 64) return nullptr;
    std::size_t n = 1;
    for (UINT d = 0; d < dims; ++d) {
        if (bounds[d].cElements && n > std::numeric_limits<std::uint32_t>::max() / size / bounds[d].cElements) return nullptr;
        n *= bounds[d].cElements;
    }
    const std::size_t bytes = kHead + sizeof(SAFEARRAY) + (dims - 1) * sizeof(SAFEARRAYBOUND);
    auto* raw = static_cast<char*>(std::calloc(1, bytes));
    void* data = std::calloc(n ? n : 1, size);
    if (!raw || !data) {
        std::free(raw);
        std::free(data);
        return nullptr;
    }
    std::memcpy(raw + kHead - sizeof vt, &vt, sizeof vt);
    auto* a = new (raw + kHead) SAFEARRAY{static_cast<USHORT>(dims), 0, size, 0, data, {}};
    for (UINT d = 0; d < dims; ++d) a->rgsabound[dims - 1 - d] = bounds[d];
    return a;
}

SAFEARRAY* SafeArrayCreateVector(VARTYPE vt, LONG low, ULONG n)
{
    SAFEARRAYBOUND bound{n, low};
    return SafeArrayCreate(vt, 1, &bound);
}

HRESULT SafeArrayDestroy(SAFEARRAY* a)
{
    if (!a) return S_OK;
    if (a->cLocks) return DISP_E_ARRAYISLOCKED;
    const VARTYPE vt = kindOf(a);
    auto* at = static_cast<char*>(a->pvData);
    if (vt == VT_BSTR || vt == VT_VARIANT || vt == VT_UNKNOWN || vt == VT_DISPATCH)
        for (std::size_t i = 0, n = countOf(a); i < n; ++i) clearElement(vt, at + i * a->cbElements);
    std::free(a->pvData);
    std::free(reinterpret_cast<char*>(a) - kHead);
    return S_OK;
}

HRESULT SafeArrayAccessData(SAFEARRAY* a, void** data)
{
    if (!a || !data) return E_INVALIDARG;
    ++a->cLocks;
    *data = a->pvData;
    return S_OK;
}

HRESULT SafeArrayUnaccessData(SAFEARRAY* a)
{
    if (!a) return E_INVALIDARG;
    if (!a->cLocks) return E_UNEXPECTED;
    --a->cLocks;
    return S_OK;
}

UINT SafeArrayGetDim(SAFEARRAY* a) { return a ? a->cDims : 0; }

HRESULT SafeArrayGetLBound(SAFEARRAY* a, UINT dim, LONG* low)
{
    if (!a || !low) return E_INVALIDARG;
    if (dim < 1 || dim > a->cDims) return DISP_E_BADINDEX;
    *low = a->rgsabound[a->cDims - dim].lLbound;
    return S_OK;
}

HRESULT SafeArrayGetUBound(SAFEARRAY* a, UINT dim, LONG* high)
{
    if (const HRESULT hr = SafeArrayGetLBound(a, dim, high); FAILED(hr)) return hr;
    *high += static_cast<LONG>(a->rgsabound[a->cDims - dim].cElements) - 1;
    return S_OK;
}

HRESULT SafeArrayGetVartype(SAFEARRAY* a, VARTYPE* vt)
{
    if (!a || !vt) return E_INVALIDARG;
    *vt = kindOf(a);
    return S_OK;
}

HRESULT SafeArrayGetElement(SAFEARRAY* a, LONG* indices, void* out)
{
    if (!a || !indices || !out) return E_INVALIDARG;
    char* at = nullptr;
    if (const HRESULT hr = elementAt(a, indices, &at); FAILED(hr)) return hr;
    return copyElement(kindOf(a), out, at, a->cbElements);
}

HRESULT SafeArrayPutElement(SAFEARRAY* a, LONG* indices, void* value)
{
    if (!a || !indices) return E_INVALIDARG;
    char* at = nullptr;
    if (const HRESULT hr = elementAt(a, indices, &at); FAILED(hr)) return hr;
    const VARTYPE vt = kindOf(a);
    // Texts and objects are passed by value, all other types by address.
    const bool byValue = vt == VT_BSTR || vt == VT_UNKNOWN || vt == VT_DISPATCH;
    if (!byValue && !value) return E_INVALIDARG;
    alignas(8) char fresh[sizeof(VARIANT)] = {};
    if (const HRESULT hr = copyElement(vt, fresh, byValue ? static_cast<void*>(&value) : value, a->cbElements); FAILED(hr)) return hr;
    clearElement(vt, at);
    std::memcpy(at, fresh, a->cbElements);
    return S_OK;
}

HRESULT SafeArrayCopy(SAFEARRAY* from, SAFEARRAY** to)
{
    if (!to) return E_INVALIDARG;
    *to = nullptr;
    if (!from) return S_OK;
    SAFEARRAYBOUND bounds[64];
    for (USHORT d = 0; d < from->cDims; ++d) bounds[d] = from->rgsabound[from->cDims - 1 - d];
    const VARTYPE vt = kindOf(from);
    SAFEARRAY* copy = SafeArrayCreate(vt, from->cDims, bounds);
    if (!copy) return E_OUTOFMEMORY;
    for (std::size_t i = 0, n = countOf(from); i < n; ++i) {
        const std::size_t at = i * from->cbElements;
        const HRESULT hr = copyElement(vt, static_cast<char*>(copy->pvData) + at, static_cast<char*>(from->pvData) + at, from->cbElements);
        if (FAILED(hr)) {
            SafeArrayDestroy(copy);
            return hr;
        }
    }
    *to = copy;
    return S_OK;
}
