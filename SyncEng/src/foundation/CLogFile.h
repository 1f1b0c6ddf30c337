// The log as plug-ins and hosts reach it: the class LogFile.
#pragma once
#include "com.h"
#include "interfaces.h"

namespace mb {

class CLogFile final : public com::Object<ILogFile> {
public:
    explicit CLogFile(IUnknown* outer) noexcept : Object(outer) {}
    // The text is a format, so a percent sign in it acts as a directive; there are no arguments.
    HRESULT STDMETHODCALLTYPE AppendString(BSTR pString) override;
    HRESULT STDMETHODCALLTYPE Flush() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE ClearLog() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Delete() override { return E_NOTIMPL; }
};

} // namespace mb
