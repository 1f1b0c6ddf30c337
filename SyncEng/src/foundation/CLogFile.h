// The class LogFile: the log for plug-ins and hosts.
#pragma once
#include "com.h"
#include "interfaces.h"

namespace mb {

class CLogFile final : public com::Object<ILogFile> {
public:
    explicit CLogFile(IUnknown* outer) noexcept : Object(outer) {}
    // The text is used as a format without arguments: a directive in it, such as %s, is removed.
    HRESULT STDMETHODCALLTYPE AppendString(BSTR pString) override;
    HRESULT STDMETHODCALLTYPE Flush() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE ClearLog() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Delete() override { return E_NOTIMPL; }
};

} // namespace mb
