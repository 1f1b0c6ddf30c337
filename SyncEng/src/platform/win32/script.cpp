// Scripts in VBScript, run by the Microsoft Script Control.
#include "script.h"

#include "text.h"
#include "win32/script_control.h"
#include <utility>

namespace platform {
namespace {

// Returns a text of the control's error; empty if the control does not provide it.
template <class Get> std::u16string told(const com::Ptr<IScriptError>& error, Get get)
{
    com::Bstr text;
    return SUCCEEDED(com::call(error, get, text.put())) ? text.text() : std::u16string();
}

class ScriptControlRunner final : public ScriptRunner {
public:
    explicit ScriptControlRunner(com::Ptr<IScriptControl> control) : control_(std::move(control)) {}

    HRESULT addCode(std::u16string_view text, std::u16string_view file, ScriptError& error) override
    {
        file_ = file;
        return observe(error, [&] { return control_->AddCode(com::Bstr(text).get()); });
    }

    HRESULT run(std::u16string_view procedure, ScriptError& error, com::Variant& result) override
    {
        Arguments none;
        result = com::Variant();
        const HRESULT hr = observe(error, [&] { return control_->Run(com::Bstr(procedure).get(), none.put(), result.put()); });
        if (hr == DISP_E_UNKNOWNNAME) error.message = u"The script has no procedure " + std::u16string(procedure) + u".";
        return hr;
    }

    HRESULT setArguments(const std::vector<std::u16string>& arguments) override
    {
        std::u16string code = std::exchange(declared_, true) ? u"" : u"Dim Arguments\r\n";
        code += u"Arguments = Array(";
        for (std::size_t i = 0; i < arguments.size(); ++i) code += (i ? u", " : u"") + literal(arguments[i]);
        return com::call(control_, &IScriptControl::AddCode, com::Bstr(code + u")\r\n").get());
    }

private:
    // Returns the text as a VBScript literal: quotation marks doubled, control characters as ChrW calls.
    static std::u16string literal(std::u16string_view text)
    {
        std::u16string out = u"\"";
        for (const char16_t c : text) {
            if (c < 0x20)
                out += u"\" & ChrW(" + utf16(std::to_string(static_cast<unsigned>(c))) + u") & \"";
            else
                out.append(c == u'"' ? 2 : 1, c);
        }
        return out + u'"';
    }

    // An empty array of values by reference, as the control's Run requires.
    class Arguments {
    public:
        Arguments() : array_(SafeArrayCreateVector(VT_VARIANT, 0, 0))
        {
            if (!array_) throw std::bad_alloc();
        }
        Arguments(const Arguments&) = delete;
        Arguments& operator=(const Arguments&) = delete;
        ~Arguments() { SafeArrayDestroy(array_); }
        SAFEARRAY** put() noexcept { return &array_; }

    private:
        SAFEARRAY* array_;
    };

    // Does the work and reads the error details from the control. The control does not name the file; the last loaded file is assumed.
    template <class Work> HRESULT observe(ScriptError& error, Work work)
    {
        com::Ptr<IScriptError> details;
        (void)com::call(control_, &IScriptControl::get_Error, details.put()); // without the details, a failure has only its code
        if (details) (void)com::call(details, &IScriptError::Clear);
        const HRESULT hr = com::guarded(work);
        if (SUCCEEDED(hr)) return hr;
        error.file = file_;
        if (!details) return hr;
        LONG line = 0;
        if (SUCCEEDED(com::call(details, &IScriptError::get_Line, &line))) error.line = line;
        error.message = told(details, &IScriptError::get_Description);
        if (error.message.empty()) error.message = told(details, &IScriptError::get_Source);
        if (error.message.empty()) error.message = u"The script failed without a message.";
        return hr;
    }

    com::Ptr<IScriptControl> control_;
    std::u16string file_;
    bool declared_ = false; // the variable Arguments has been declared
};

HRESULT prepare(const com::Ptr<IScriptControl>& control)
{
    HRESULT hr = com::call(control, &IScriptControl::put_Language, com::Bstr(u"VBScript").get());
    if (SUCCEEDED(hr)) hr = com::call(control, &IScriptControl::put_AllowUI, VARIANT_TRUE);
    if (SUCCEEDED(hr)) hr = com::call(control, &IScriptControl::put_Timeout, -1); // no limit
    return hr;
}

} // namespace

bool isScriptCancelled() noexcept { return false; }

// The maker is unused: scripts create objects by the control's own CreateObject, which uses the registry.
HRESULT createScriptRunner(ScriptRunner::Maker, std::unique_ptr<ScriptRunner>& runner)
{
    return com::guarded([&] {
        com::Ptr<IScriptControl> control;
        HRESULT hr = com::createInstance(scriptControlClass, control);
        if (SUCCEEDED(hr)) hr = prepare(control);
        if (SUCCEEDED(hr)) runner = std::make_unique<ScriptControlRunner>(std::move(control));
        return hr;
    });
}

} // namespace platform
