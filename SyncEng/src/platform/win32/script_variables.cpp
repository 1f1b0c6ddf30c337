#include "win32/script_variables.h"

namespace com {
namespace {

constexpr VARTYPE variableType = VT_BYREF | VT_VARIANT;

// Returns the variable that a by-reference argument refers to, through any number of references.
VARIANT* variableOf(const VARIANT& argument) noexcept
{
    VARIANT* variable = argument.vt == variableType ? argument.pvarVal : nullptr;
    while (variable && variable->vt == variableType) variable = variable->pvarVal;
    return variable;
}

bool isOfKind(const Ptr<ITypeInfo>& info, HREFTYPE reference, TYPEKIND kind) noexcept
{
    Ptr<ITypeInfo> named;
    TYPEATTR* attributes = nullptr;
    if (FAILED(info->GetRefTypeInfo(reference, named.put())) || FAILED(named->GetTypeAttr(&attributes))) return false;
    const bool found = attributes->typekind == kind;
    named->ReleaseTypeAttr(attributes);
    return found;
}

// Whether the type is an interface that scripts can call, as declared by the method.
bool isDispatch(const Ptr<ITypeInfo>& info, const TYPEDESC& type) noexcept
{
    return type.vt == VT_USERDEFINED && isOfKind(info, type.hreftype, TKIND_DISPATCH);
}

// Returns the type of a parameter's out value; VT_EMPTY if it has none or if its type needs no conversion.
VARTYPE typeGivenBack(const Ptr<ITypeInfo>& info, const ELEMDESC& parameter) noexcept
{
    if (!(parameter.paramdesc.wParamFlags & PARAMFLAG_FOUT) || parameter.tdesc.vt != VT_PTR) return VT_EMPTY;
    const TYPEDESC& type = *parameter.tdesc.lptdesc;
    switch (type.vt) {
    case VT_BOOL:
    case VT_BSTR:
    case VT_DATE:
    case VT_DISPATCH:
    case VT_I2:
    case VT_I4:
    case VT_R8:
    case VT_UI4:
    case VT_UNKNOWN: return type.vt;
    case VT_SAFEARRAY: return static_cast<VARTYPE>(VT_ARRAY | type.lptdesc->vt);
    case VT_USERDEFINED: return isOfKind(info, type.hreftype, TKIND_ENUM) ? VT_I4 : VT_EMPTY;
    case VT_PTR: return isDispatch(info, *type.lptdesc) ? VT_DISPATCH : VT_EMPTY;
    default: return VT_EMPTY;
    }
}

// The type information of a method; an unknown method has no parameters.
class Function {
public:
    Function(const Ptr<ITypeInfo>& info, DISPID method) noexcept : info_(info)
    {
        for (UINT i = 0; SUCCEEDED(info->GetFuncDesc(i, &description_)); ++i) {
            if (description_->memid == method && description_->invkind == INVOKE_FUNC) return;
            info->ReleaseFuncDesc(description_);
        }
        description_ = nullptr;
    }
    Function(const Function&) = delete;
    Function& operator=(const Function&) = delete;
    ~Function()
    {
        if (description_) info_->ReleaseFuncDesc(description_);
    }
    [[nodiscard]] std::span<const ELEMDESC> parameters() const noexcept
    {
        if (!description_) return {};
        return {description_->lprgelemdescParam, static_cast<std::size_t>(description_->cParams)};
    }

private:
    Ptr<ITypeInfo> info_;
    FUNCDESC* description_ = nullptr;
};

} // namespace

ScriptVariables::ScriptVariables(const Ptr<ITypeInfo>& info, DISPID method, const DISPPARAMS& given)
    : arguments_(given.rgvarg, given.rgvarg + given.cArgs), params_(given)
{
    params_.rgvarg = arguments_.data();
    if (given.cNamedArgs != 0 || std::none_of(arguments_.begin(), arguments_.end(), variableOf)) return;
    held_.reserve(arguments_.size()); // no reallocation: the call refers to their addresses
    const Function function(info, method);
    const auto parameters = function.parameters();
    const std::size_t count = std::min(arguments_.size(), parameters.size());
    for (std::size_t i = 0; i < count; ++i) hold(arguments_[arguments_.size() - 1 - i], info, parameters[i]);
}

// A value that cannot be converted to the method's type is left as it is; the system then refuses the call.
void ScriptVariables::hold(VARIANT& argument, const Ptr<ITypeInfo>& info, const ELEMDESC& parameter)
{
    VARIANT* const variable = variableOf(argument);
    const VARTYPE type = variable ? typeGivenBack(info, parameter) : static_cast<VARTYPE>(VT_EMPTY);
    if (type == VT_EMPTY) return;
    Variant value;
    value.llVal = 0;
    const bool goesIn = (parameter.paramdesc.wParamFlags & PARAMFLAG_FIN) != 0;
    if (goesIn && FAILED(VariantChangeType(&value, variable, 0, type))) return;
    value.vt = type;
    Held& held = held_.emplace_back(Held{variable, std::move(value)});
    argument.vt = static_cast<VARTYPE>(VT_BYREF | type);
    argument.byref = &held.value.byref;
}

void ScriptVariables::giveBack() noexcept
{
    for (Held& held : held_)
        if (SUCCEEDED(VariantClear(held.variable))) *held.variable = held.value.detach();
}

} // namespace com
