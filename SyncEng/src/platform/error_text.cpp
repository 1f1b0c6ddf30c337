#include "error_text.h"

#include "com.h"

namespace platform {
namespace {

class ErrorText final : public com::Object<IErrorInfo> {
public:
    explicit ErrorText(IUnknown* outer) noexcept : Object(outer) {}
    HRESULT STDMETHODCALLTYPE GetGUID(GUID* guid) override
    {
        if (!guid) return E_POINTER;
        *guid = GUID_NULL;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetSource(BSTR* source) override { return give(source, u"MBSync"); }
    HRESULT STDMETHODCALLTYPE GetDescription(BSTR* out) override { return give(out, text); }
    HRESULT STDMETHODCALLTYPE GetHelpFile(BSTR* file) override { return give(file, u""); }
    HRESULT STDMETHODCALLTYPE GetHelpContext(DWORD* context) override
    {
        if (!context) return E_POINTER;
        *context = 0;
        return S_OK;
    }

    std::u16string text;

private:
    static HRESULT give(BSTR* out, std::u16string_view value)
    {
        if (!out) return E_POINTER;
        return com::guarded([&] { com::give(out, value); });
    }
};

} // namespace

void leaveErrorText(std::u16string_view text)
{
    if (text.empty()) {
        (void)SetErrorInfo(0, nullptr);
        return;
    }
    const auto left = com::make<ErrorText>();
    left->text = text;
    (void)SetErrorInfo(0, left.get());
}

std::u16string takeErrorText()
{
    com::Ptr<IErrorInfo> left;
    com::Bstr text;
    if (GetErrorInfo(0, left.put()) == S_OK) (void)left->GetDescription(text.put());
    return text.text();
}

} // namespace platform
