// The Microsoft Script Control as described by its type library; the compiler's headers lack it. The order of methods is the vtable order.
#pragma once
#include "com.h"

namespace platform {

inline constexpr CLSID scriptControlClass{0x0E59F1D5, 0x1FBE, 0x11D0, {0x8F, 0xF2, 0x00, 0xA0, 0xD1, 0x00, 0x38, 0xBC}};

struct IScriptError : IDispatch {
    virtual HRESULT STDMETHODCALLTYPE get_Number(LONG* number) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Source(BSTR* source) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Description(BSTR* description) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_HelpFile(BSTR* file) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_HelpContext(LONG* context) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Text(BSTR* text) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Line(LONG* line) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Column(LONG* column) = 0;
    virtual HRESULT STDMETHODCALLTYPE Clear() = 0;
};

struct IScriptControl : IDispatch {
    virtual HRESULT STDMETHODCALLTYPE get_Language(BSTR* language) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_Language(BSTR language) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_State(LONG* state) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_State(LONG state) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_SitehWnd(LONG window) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_SitehWnd(LONG* window) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Timeout(LONG* milliseconds) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_Timeout(LONG milliseconds) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_AllowUI(VARIANT_BOOL* allowed) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_AllowUI(VARIANT_BOOL allowed) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_UseSafeSubset(VARIANT_BOOL* safe) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_UseSafeSubset(VARIANT_BOOL safe) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Modules(IDispatch** modules) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Error(IScriptError** error) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_CodeObject(IDispatch** code) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Procedures(IDispatch** procedures) = 0;
    virtual HRESULT STDMETHODCALLTYPE _AboutBox() = 0;
    virtual HRESULT STDMETHODCALLTYPE AddObject(BSTR name, IDispatch* object, VARIANT_BOOL addMembers) = 0;
    virtual HRESULT STDMETHODCALLTYPE Reset() = 0;
    virtual HRESULT STDMETHODCALLTYPE AddCode(BSTR code) = 0;
    virtual HRESULT STDMETHODCALLTYPE Eval(BSTR expression, VARIANT* result) = 0;
    virtual HRESULT STDMETHODCALLTYPE ExecuteStatement(BSTR statement) = 0;
    virtual HRESULT STDMETHODCALLTYPE Run(BSTR procedure, SAFEARRAY** parameters, VARIANT* result) = 0;
};

} // namespace platform

__CRT_UUID_DECL(platform::IScriptError, 0x70841C78, 0x067D, 0x11D0, 0x95, 0xD8, 0x00, 0xA0, 0x24, 0x63, 0xAB, 0x28)
__CRT_UUID_DECL(platform::IScriptControl, 0x0E59F1D3, 0x1FBE, 0x11D0, 0x8F, 0xF2, 0x00, 0xA0, 0xD1, 0x00, 0x38, 0xBC)
