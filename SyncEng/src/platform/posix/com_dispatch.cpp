// Late binding without a type library: names and calls are answered from a table generated from the IDL.
#include "interfaces.h"
#include "posix/dispatch_call.h"

namespace com {
namespace late {
namespace {

#include "SyncEngLib_dispatch.inc"

std::span<const Method> methodsOf(REFIID iid) noexcept
{
    for (const Interface& one : interfaces)
        if (*one.iid == iid) return one.methods;
    return {};
}

char16_t lowerAscii(char16_t c) noexcept { return c >= u'A' && c <= u'Z' ? static_cast<char16_t>(c + 32) : c; }

// Compares names of methods and parameters: ASCII, case-insensitive.
bool isName(std::u16string_view name, std::u16string_view given) noexcept
{
    return std::ranges::equal(name, given, {}, lowerAscii, lowerAscii);
}

DISPID parameterId(const Method& method, std::u16string_view name) noexcept
{
    for (std::size_t i = 0; i < method.parameters.size(); ++i)
        if (isName(method.parameters[i].name, name)) return static_cast<DISPID>(i);
    return DISPID_UNKNOWN;
}

// Assigns the arguments to the parameters. Named arguments come first; positional arguments follow in reverse order.
HRESULT arrange(const Method& method, const DISPPARAMS& given, std::vector<Argument>& arguments)
{
    if (given.cArgs != method.parameters.size() || given.cNamedArgs > given.cArgs) return DISP_E_BADPARAMCOUNT;
    for (const Parameter& parameter : method.parameters) arguments.push_back({nullptr, parameter.direction});
    for (UINT i = 0; i < given.cArgs; ++i) {
        const auto at = i < given.cNamedArgs ? static_cast<std::size_t>(given.rgdispidNamedArgs[i]) : given.cArgs - 1 - i;
        if (at >= arguments.size() || arguments[at].value) return DISP_E_PARAMNOTFOUND;
        arguments[at].value = &given.rgvarg[i];
    }
    return S_OK;
}

UINT placeOf(const VARIANT* argument, const DISPPARAMS& given) noexcept { return static_cast<UINT>(argument - given.rgvarg); }

// Fills the script's exception from the method's failure: its code and the object's error text.
void describe(HRESULT failure, EXCEPINFO* excep) noexcept
{
    if (!excep) return;
    std::memset(excep, 0, sizeof *excep);
    excep->scode = failure;
    Ptr<IErrorInfo> left;
    if (GetErrorInfo(0, left.put()) != S_OK) return;
    (void)left->GetSource(&excep->bstrSource);
    (void)left->GetDescription(&excep->bstrDescription);
}

HRESULT callMethod(const Method& method, IDispatch* object, const DISPPARAMS& given, EXCEPINFO* excep, UINT* argErr)
{
    std::vector<Argument> arguments;
    if (const HRESULT hr = arrange(method, given, arguments); FAILED(hr)) return hr;
    HRESULT answer = S_OK;
    UINT wrong = 0;
    SetErrorInfo(0, nullptr);
    if (const HRESULT hr = method.call(object, arguments, &answer, &wrong); FAILED(hr)) {
        if (argErr) *argErr = placeOf(arguments[wrong].value, given);
        return hr;
    }
    if (SUCCEEDED(answer)) return S_OK;
    describe(answer, excep);
    return DISP_E_EXCEPTION;
}

} // namespace
} // namespace late

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

HRESULT dispatchIds(REFIID iid, LPOLESTR* names, UINT count, LCID, DISPID* ids) noexcept
{
    if (!names || !ids || count == 0) return E_INVALIDARG;
    std::fill_n(ids, count, DISPID_UNKNOWN);
    const auto methods = late::methodsOf(iid);
    const auto method = std::ranges::find_if(methods, [&](const late::Method& one) { return late::isName(one.name, names[0]); });
    if (method == methods.end()) return DISP_E_UNKNOWNNAME;
    ids[0] = method->id;
    for (UINT i = 1; i < count; ++i) ids[i] = late::parameterId(*method, names[i]);
    return std::find(ids, ids + count, DISPID_UNKNOWN) == ids + count ? S_OK : DISP_E_UNKNOWNNAME;
}

HRESULT dispatchInvoke(REFIID iid, IDispatch* object, DISPID id, LCID, WORD flags, DISPPARAMS* params, VARIANT* result, EXCEPINFO* excep,
                       UINT* argErr) noexcept
{
    if (!params) return E_INVALIDARG;
    if (result) VariantInit(result); // methods return only their result code
    const auto methods = late::methodsOf(iid);
    const auto method = std::ranges::find(methods, id, &late::Method::id);
    if (method == methods.end() || !(flags & DISPATCH_METHOD)) return DISP_E_MEMBERNOTFOUND;
    return guarded([&] { return late::callMethod(*method, object, *params, excep, argErr); });
}

} // namespace com
