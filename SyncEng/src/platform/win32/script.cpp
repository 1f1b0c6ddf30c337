// Scripts in VBScript, run by the Microsoft Script Control, which is driven late-bound: its own type library is not needed.
#include "script.h"

#include "text.h"

namespace platform {
namespace {

constexpr CLSID scriptControlClass{0x0E59F1D5, 0x1FBE, 0x11D0, {0x8F, 0xF2, 0x00, 0xA0, 0xD1, 0x00, 0x38, 0xBC}};

HRESULT invoke(const com::Ptr<IDispatch>& object, const wchar_t* name, WORD flags, std::span<com::Variant> arguments, com::Variant& result)
{
    DISPID id = 0, put = DISPID_PROPERTYPUT;
    auto* names = const_cast<OLECHAR*>(name);
    HRESULT hr = object->GetIDsOfNames(GUID_NULL, &names, 1, LOCALE_NEUTRAL, &id);
    if (FAILED(hr)) return hr;
    const bool setting = flags == DISPATCH_PROPERTYPUT;
    DISPPARAMS given{arguments.data(), setting ? &put : nullptr, static_cast<UINT>(arguments.size()), setting ? 1u : 0u};
    EXCEPINFO failure{};
    hr = object->Invoke(id, GUID_NULL, LOCALE_NEUTRAL, flags, &given, result.put(), &failure, nullptr);
    const auto source = com::Bstr::attach(failure.bstrSource), description = com::Bstr::attach(failure.bstrDescription),
               help = com::Bstr::attach(failure.bstrHelpFile);
    return hr == DISP_E_EXCEPTION && FAILED(failure.scode) ? failure.scode : hr;
}

HRESULT set(const com::Ptr<IDispatch>& object, const wchar_t* name, com::Variant value)
{
    com::Variant none;
    return invoke(object, name, DISPATCH_PROPERTYPUT, {&value, 1}, none);
}

com::Variant get(const com::Ptr<IDispatch>& object, const wchar_t* name)
{
    com::Variant value;
    (void)invoke(object, name, DISPATCH_PROPERTYGET, {}, value); // what cannot be read is empty
    return value;
}

class ScriptControlRunner final : public ScriptRunner {
public:
    explicit ScriptControlRunner(com::Ptr<IDispatch> control) : control_(std::move(control)) {}

    HRESULT addCode(std::u16string_view text, std::u16string_view file, ScriptError& error) override
    {
        file_ = file;
        com::Variant code(text), none;
        return told(invoke(control_, L"AddCode", DISPATCH_METHOD, {&code, 1}, none), error);
    }
    HRESULT run(std::u16string_view procedure, ScriptError& error) override
    {
        com::Variant name(procedure), result; // the list of further arguments is empty
        return told(invoke(control_, L"Run", DISPATCH_METHOD, {&name, 1}, result), error);
    }

private:
    // What the control tells of the failure, its line and its text.
    HRESULT told(HRESULT hr, ScriptError& error) const
    {
        if (SUCCEEDED(hr)) return hr;
        error.file = file_;
        const com::Variant info = get(control_, L"Error");
        if (info.vt != VT_DISPATCH || !info.pdispVal) return hr;
        const com::Ptr<IDispatch> details(info.pdispVal);
        const com::Variant line = get(details, L"Line");
        error.message = get(details, L"Description").text();
        if (line.vt == VT_I4) error.line = line.lVal;
        return hr;
    }

    com::Ptr<IDispatch> control_;
    std::u16string file_;
};

} // namespace

// Scripts make their objects by the control's own CreateObject, which asks the registry.
HRESULT createScriptRunner(ScriptRunner::Maker, std::unique_ptr<ScriptRunner>& runner)
{
    return com::guarded([&] {
        com::Ptr<IDispatch> control;
        HRESULT hr = com::createInstance(scriptControlClass, control);
        if (SUCCEEDED(hr)) hr = set(control, L"Language", com::Variant(u"VBScript"));
        if (SUCCEEDED(hr)) hr = set(control, L"AllowUI", com::Variant(true));
        if (SUCCEEDED(hr)) hr = set(control, L"Timeout", com::Variant(LONG{-1})); // no limit
        if (SUCCEEDED(hr)) runner = std::make_unique<ScriptControlRunner>(std::move(control));
        return hr;
    });
}

} // namespace platform
