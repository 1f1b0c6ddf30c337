// Late binding with the type library in the module's own resources, or else the registered one.
#include "com.h"
//
#include "host.h"
#include "SyncEngLib.h"
#include "win32/script_variables.h"
#include <cstring>
#include <map>
#include <mutex>

namespace com {
namespace {

constexpr GUID typeLibraryId{0x33D2D523, 0x69CB, 0x4FB4, {0xA8, 0xFE, 0xAA, 0x6D, 0xDD, 0x48, 0x93, 0xC7}};

struct GuidBefore {
    bool operator()(REFGUID a, REFGUID b) const noexcept { return std::memcmp(&a, &b, sizeof a) < 0; }
};

struct TypeInformation {
    std::mutex lock;
    Ptr<ITypeLib> library;
    std::map<GUID, Ptr<ITypeInfo>, GuidBefore> byInterface;
};

// Never destroyed: the runtime may be unloaded before the module's static objects are destroyed.
TypeInformation& information()
{
    static auto* instance = new TypeInformation;
    return *instance;
}

HRESULT loadLibrary(Ptr<ITypeLib>& library)
{
    static const int inThisModule = 0;
    const std::wstring file = platform::modulePathOf(&inThisModule).native();
    if (SUCCEEDED(LoadTypeLibEx(file.c_str(), REGKIND_NONE, library.put()))) return S_OK;
    return LoadRegTypeLib(typeLibraryId, 1, 0, LOCALE_NEUTRAL, library.put());
}

HRESULT typeInfoOf(REFIID iid, Ptr<ITypeInfo>& info) noexcept
{
    return guarded([&]() -> HRESULT {
        TypeInformation& all = information();
        const std::lock_guard guard(all.lock);
        Ptr<ITypeInfo>& known = all.byInterface[iid];
        if (!known) {
            if (!all.library) check(loadLibrary(all.library));
            check(all.library->GetTypeInfoOfGuid(iid, known.put()));
        }
        info = known;
        return S_OK;
    });
}

} // namespace

HRESULT dispatchTypeInfoCount(REFIID iid, UINT* count) noexcept
{
    if (!count) return E_POINTER;
    Ptr<ITypeInfo> info;
    *count = SUCCEEDED(typeInfoOf(iid, info)) ? 1 : 0;
    return S_OK;
}

HRESULT dispatchTypeInfo(REFIID iid, UINT index, LCID, ITypeInfo** info) noexcept
{
    if (!info) return E_POINTER;
    *info = nullptr;
    if (index != 0) return DISP_E_BADINDEX;
    Ptr<ITypeInfo> found;
    const HRESULT hr = typeInfoOf(iid, found);
    if (SUCCEEDED(hr)) *info = found.detach();
    return hr;
}

HRESULT dispatchIds(REFIID iid, LPOLESTR* names, UINT count, LCID, DISPID* ids) noexcept
{
    Ptr<ITypeInfo> info;
    const HRESULT hr = typeInfoOf(iid, info);
    return FAILED(hr) ? hr : DispGetIDsOfNames(info.get(), names, count, ids);
}

HRESULT dispatchInvoke(REFIID iid, IDispatch* object, DISPID id, LCID, WORD flags, DISPPARAMS* params, VARIANT* result, EXCEPINFO* excep,
                       UINT* argErr) noexcept
{
    if (!params) return E_POINTER;
    return guarded([&] {
        Ptr<ITypeInfo> info;
        check(typeInfoOf(iid, info));
        ScriptVariables variables(info, id, *params);
        const HRESULT hr = DispInvoke(object, info.get(), id, flags, variables.arguments(), result, excep, argErr);
        if (SUCCEEDED(hr) || hr == DISP_E_EXCEPTION) variables.giveBack(); // other failures did not reach the method
        return hr;
    });
}

} // namespace com
