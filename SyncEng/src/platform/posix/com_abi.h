// The COM binary interface for Linux: types, result codes, base interfaces and automation data, with the layouts that Windows uses.
#pragma once
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#define COM_NO_WINDOWS_H  // generated headers take the COM types from this file, not from windows.h

// Scalar types of fixed width, because `long` has 64 bits on Linux and 32 on Windows.
using CHAR = char;            using BYTE = std::uint8_t;    using UCHAR = std::uint8_t;
using SHORT = std::int16_t;   using USHORT = std::uint16_t; using WORD = std::uint16_t;
using INT = std::int32_t;     using UINT = std::uint32_t;   using BOOL = std::int32_t;
using LONG = std::int32_t;    using ULONG = std::uint32_t;  using DWORD = std::uint32_t;
using LONGLONG = std::int64_t; using ULONGLONG = std::uint64_t;
using FLOAT = float;          using DOUBLE = double;        using DATE = double;
using HRESULT = LONG;         using SCODE = LONG;           using LCID = ULONG;
using DISPID = LONG;          using MEMBERID = LONG;        using VARTYPE = USHORT;
using VARIANT_BOOL = SHORT;   using WCHAR = char16_t;       using OLECHAR = char16_t;
using LPOLESTR = OLECHAR*;    using LPCOLESTR = const OLECHAR*; using LPWSTR = OLECHAR*; using LPCWSTR = const OLECHAR*;
using BSTR = OLECHAR*;        using LPVOID = void*;         using PVOID = void*;
using HWND = struct HWND__*;  using HMODULE = struct HMODULE__*; using HREFTYPE = DWORD;
struct FILETIME { DWORD dwLowDateTime, dwHighDateTime; };
struct SYSTEMTIME { WORD wYear, wMonth, wDayOfWeek, wDay, wHour, wMinute, wSecond, wMilliseconds; };
union LARGE_INTEGER { struct { DWORD LowPart; LONG HighPart; } u; LONGLONG QuadPart; };
union ULARGE_INTEGER { struct { DWORD LowPart, HighPart; } u; ULONGLONG QuadPart; };
union CY { struct { ULONG Lo; LONG Hi; } parts; LONGLONG int64; };
struct DECIMAL { USHORT wReserved; BYTE scale, sign; ULONG Hi32; ULONGLONG Lo64; };

struct GUID {
    std::uint32_t Data1; std::uint16_t Data2, Data3; std::uint8_t Data4[8];
    // Compares 64-bit halves without the loop over Data4: GUIDs are compared for each field of each record.
    friend constexpr bool operator==(const GUID& a, const GUID& b) noexcept
    {
        struct Halves {
            std::uint64_t first, second;
        };
        const auto x = std::bit_cast<Halves>(a), y = std::bit_cast<Halves>(b);
        return x.first == y.first && x.second == y.second;
    }
};
using IID = GUID; using CLSID = GUID; using UUID = GUID; using CATID = GUID;
using REFGUID = const GUID&; using REFIID = const GUID&; using REFCLSID = const GUID&;
inline constexpr GUID GUID_NULL{};
inline bool IsEqualGUID(REFGUID a, REFGUID b) noexcept { return a == b; }
#define IsEqualIID(a, b) IsEqualGUID(a, b)
#define IsEqualCLSID(a, b) IsEqualGUID(a, b)

// Macros that the generated headers use.
#define interface struct
#define EXTERN_C extern "C"
#define FORCEINLINE inline
#define STDMETHODCALLTYPE
#define STDAPICALLTYPE
#define STDAPI EXTERN_C __attribute__((visibility("default"))) HRESULT
#define WINAPI
#define __RPC_USER
#define CONST_VTBL
#define BEGIN_INTERFACE
#define END_INTERFACE
#define DECLSPEC_UUID(x)
#define DECLSPEC_SELECTANY __attribute__((weak))
#define MIDL_INTERFACE(x) struct
#define OLESTR(s) u##s
#define DEFINE_GUID(name, l, w1, w2, ...) inline constexpr GUID name{l, w1, w2, {__VA_ARGS__}}

template <class T> inline constexpr GUID kUuidOf{};
#define __uuidof(T) kUuidOf<T>
#define __CRT_UUID_DECL(type, l, w1, w2, ...) \
    extern "C++" { template <> inline constexpr GUID kUuidOf<type>{l, w1, w2, {__VA_ARGS__}}; }

// Result codes.
#define SUCCEEDED(hr) (static_cast<HRESULT>(hr) >= 0)
#define FAILED(hr) (static_cast<HRESULT>(hr) < 0)
inline constexpr HRESULT makeHr(std::uint32_t v) noexcept { return static_cast<HRESULT>(v); }
inline constexpr HRESULT S_OK = 0, S_FALSE = 1;
inline constexpr HRESULT E_NOTIMPL = makeHr(0x80004001), E_NOINTERFACE = makeHr(0x80004002), E_POINTER = makeHr(0x80004003),
    E_ABORT = makeHr(0x80004004), E_FAIL = makeHr(0x80004005), E_UNEXPECTED = makeHr(0x8000FFFF), E_ACCESSDENIED = makeHr(0x80070005),
    E_OUTOFMEMORY = makeHr(0x8007000E), E_INVALIDARG = makeHr(0x80070057),
    CLASS_E_NOAGGREGATION = makeHr(0x80040110), CLASS_E_CLASSNOTAVAILABLE = makeHr(0x80040111), REGDB_E_CLASSNOTREG = makeHr(0x80040154),
    DISP_E_UNKNOWNINTERFACE = makeHr(0x80020001), DISP_E_MEMBERNOTFOUND = makeHr(0x80020003), DISP_E_TYPEMISMATCH = makeHr(0x80020005),
    DISP_E_UNKNOWNNAME = makeHr(0x80020006), DISP_E_EXCEPTION = makeHr(0x80020009), DISP_E_BADINDEX = makeHr(0x8002000B),
    DISP_E_BADPARAMCOUNT = makeHr(0x8002000E), DISP_E_OVERFLOW = makeHr(0x8002000A), DISP_E_BADVARTYPE = makeHr(0x80020008),
    DISP_E_ARRAYISLOCKED = makeHr(0x8002000D), CO_E_CLASSSTRING = makeHr(0x800401F3), REGDB_E_WRITEREGDB = makeHr(0x80040151),
    CO_E_DLLNOTFOUND = makeHr(0x800401F8), CO_E_ERRORINDLL = makeHr(0x800401F9), CONNECT_E_NOCONNECTION = makeHr(0x80040200),
    CONNECT_E_ADVISELIMIT = makeHr(0x80040201), DISP_E_PARAMNOTFOUND = makeHr(0x80020004), RPC_E_CALL_CANCELED = makeHr(0x80010002),
    RPC_S_CALLPENDING = makeHr(0x80010115), CONNECT_E_CANNOTCONNECT = makeHr(0x80040202);
inline constexpr DWORD CLSCTX_INPROC_SERVER = 1, CLSCTX_ALL = 23, REGCLS_MULTIPLEUSE = 1;
inline constexpr VARIANT_BOOL VARIANT_TRUE = -1, VARIANT_FALSE = 0;
inline constexpr BOOL TRUE = 1, FALSE = 0;

extern "C++" {
// Base interfaces. The order of methods is the vtable order.
struct IUnknown {
    virtual HRESULT QueryInterface(REFIID riid, void** out) = 0;
    virtual ULONG AddRef() = 0;
    virtual ULONG Release() = 0;
};
struct IClassFactory : IUnknown {
    virtual HRESULT CreateInstance(IUnknown* outer, REFIID riid, void** out) = 0;
    virtual HRESULT LockServer(BOOL lock) = 0;
};
struct ITypeInfo;
struct IRecordInfo;

enum VARENUM : VARTYPE {
    VT_EMPTY = 0, VT_NULL = 1, VT_I2 = 2, VT_I4 = 3, VT_R4 = 4, VT_R8 = 5, VT_CY = 6, VT_DATE = 7, VT_BSTR = 8, VT_DISPATCH = 9,
    VT_ERROR = 10, VT_BOOL = 11, VT_VARIANT = 12, VT_UNKNOWN = 13, VT_DECIMAL = 14, VT_I1 = 16, VT_UI1 = 17, VT_UI2 = 18, VT_UI4 = 19,
    VT_I8 = 20, VT_UI8 = 21, VT_INT = 22, VT_UINT = 23, VT_TYPEMASK = 0x0FFF, VT_ARRAY = 0x2000, VT_BYREF = 0x4000
};
struct SAFEARRAYBOUND { ULONG cElements; LONG lLbound; };
struct SAFEARRAY { USHORT cDims, fFeatures; ULONG cbElements, cLocks; void* pvData; SAFEARRAYBOUND rgsabound[1]; };

struct IDispatch;
struct VARIANT {  // 24 bytes in 64-bit builds, as on Windows
    VARTYPE vt; WORD wReserved1, wReserved2, wReserved3;
    union {
        LONGLONG llVal; LONG lVal; BYTE bVal; SHORT iVal; FLOAT fltVal; DOUBLE dblVal; VARIANT_BOOL boolVal; SCODE scode; CY cyVal;
        DATE date; BSTR bstrVal; IUnknown* punkVal; IDispatch* pdispVal; SAFEARRAY* parray; BYTE* pbVal; SHORT* piVal; LONG* plVal;
        LONGLONG* pllVal; DOUBLE* pdblVal; VARIANT_BOOL* pboolVal; BSTR* pbstrVal; IUnknown** ppunkVal; IDispatch** ppdispVal;
        VARIANT* pvarVal; void* byref; CHAR cVal; USHORT uiVal; ULONG ulVal; ULONGLONG ullVal; INT intVal; UINT uintVal;
        struct { void* pvRecord; IRecordInfo* pRecInfo; } record;
    };
};
using VARIANTARG = VARIANT;
static_assert(sizeof(void*) != 8 || sizeof(VARIANT) == 24);

struct DISPPARAMS { VARIANTARG* rgvarg; DISPID* rgdispidNamedArgs; UINT cArgs, cNamedArgs; };
struct EXCEPINFO {
    WORD wCode, wReserved; BSTR bstrSource, bstrDescription, bstrHelpFile; DWORD dwHelpContext; void* pvReserved;
    HRESULT (*pfnDeferredFillIn)(EXCEPINFO*); SCODE scode;
};
inline constexpr WORD DISPATCH_METHOD = 1, DISPATCH_PROPERTYGET = 2, DISPATCH_PROPERTYPUT = 4;
inline constexpr DISPID DISPID_VALUE = 0, DISPID_UNKNOWN = -1, DISPID_PROPERTYPUT = -3, DISPID_NEWENUM = -4;
struct IDispatch : IUnknown {
    virtual HRESULT GetTypeInfoCount(UINT* count) = 0;
    virtual HRESULT GetTypeInfo(UINT index, LCID lcid, ITypeInfo** info) = 0;
    virtual HRESULT GetIDsOfNames(REFIID riid, LPOLESTR* names, UINT count, LCID lcid, DISPID* ids) = 0;
    virtual HRESULT Invoke(DISPID id, REFIID riid, LCID lcid, WORD flags, DISPPARAMS* params, VARIANT* result, EXCEPINFO* excep,
                           UINT* argErr) = 0;
};
struct IEnumVARIANT : IUnknown {
    virtual HRESULT Next(ULONG n, VARIANT* out, ULONG* got) = 0;
    virtual HRESULT Skip(ULONG n) = 0;
    virtual HRESULT Reset() = 0;
    virtual HRESULT Clone(IEnumVARIANT** out) = 0;
};
struct STATSTG;
struct ISequentialStream : IUnknown {
    virtual HRESULT Read(void* to, ULONG n, ULONG* got) = 0;
    virtual HRESULT Write(const void* from, ULONG n, ULONG* put) = 0;
};
struct IStream : ISequentialStream {
    virtual HRESULT Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* pos) = 0;
    virtual HRESULT SetSize(ULARGE_INTEGER size) = 0;
    virtual HRESULT CopyTo(IStream* to, ULARGE_INTEGER n, ULARGE_INTEGER* read, ULARGE_INTEGER* written) = 0;
    virtual HRESULT Commit(DWORD flags) = 0;
    virtual HRESULT Revert() = 0;
    virtual HRESULT LockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER n, DWORD type) = 0;
    virtual HRESULT UnlockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER n, DWORD type) = 0;
    virtual HRESULT Stat(STATSTG* stat, DWORD flags) = 0;
    virtual HRESULT Clone(IStream** out) = 0;
};
struct CONNECTDATA { IUnknown* pUnk; DWORD dwCookie; };
struct IConnectionPointContainer;
struct IEnumConnections : IUnknown {
    virtual HRESULT Next(ULONG n, CONNECTDATA* out, ULONG* got) = 0;
    virtual HRESULT Skip(ULONG n) = 0;
    virtual HRESULT Reset() = 0;
    virtual HRESULT Clone(IEnumConnections** out) = 0;
};
struct IConnectionPoint : IUnknown {
    virtual HRESULT GetConnectionInterface(IID* iid) = 0;
    virtual HRESULT GetConnectionPointContainer(IConnectionPointContainer** container) = 0;
    virtual HRESULT Advise(IUnknown* sink, DWORD* cookie) = 0;
    virtual HRESULT Unadvise(DWORD cookie) = 0;
    virtual HRESULT EnumConnections(IEnumConnections** out) = 0;
};
struct IEnumConnectionPoints : IUnknown {
    virtual HRESULT Next(ULONG n, IConnectionPoint** out, ULONG* got) = 0;
    virtual HRESULT Skip(ULONG n) = 0;
    virtual HRESULT Reset() = 0;
    virtual HRESULT Clone(IEnumConnectionPoints** out) = 0;
};
struct IConnectionPointContainer : IUnknown {
    virtual HRESULT EnumConnectionPoints(IEnumConnectionPoints** out) = 0;
    virtual HRESULT FindConnectionPoint(REFIID iid, IConnectionPoint** out) = 0;
};
struct IErrorInfo : IUnknown {
    virtual HRESULT GetGUID(GUID* guid) = 0;
    virtual HRESULT GetSource(BSTR* source) = 0;
    virtual HRESULT GetDescription(BSTR* text) = 0;
    virtual HRESULT GetHelpFile(BSTR* file) = 0;
    virtual HRESULT GetHelpContext(DWORD* context) = 0;
};
struct ISupportErrorInfo : IUnknown { virtual HRESULT InterfaceSupportsErrorInfo(REFIID riid) = 0; };
}  // extern "C++"

DEFINE_GUID(IID_IUnknown, 0, 0, 0, 0xC0, 0, 0, 0, 0, 0, 0, 0x46);
__CRT_UUID_DECL(IUnknown, 0, 0, 0, 0xC0, 0, 0, 0, 0, 0, 0, 0x46)
__CRT_UUID_DECL(IClassFactory, 1, 0, 0, 0xC0, 0, 0, 0, 0, 0, 0, 0x46)
__CRT_UUID_DECL(IDispatch, 0x00020400, 0, 0, 0xC0, 0, 0, 0, 0, 0, 0, 0x46)
__CRT_UUID_DECL(IEnumVARIANT, 0x00020404, 0, 0, 0xC0, 0, 0, 0, 0, 0, 0, 0x46)
__CRT_UUID_DECL(ISequentialStream, 0x0C733A30, 0x2A1C, 0x11CE, 0xAD, 0xE5, 0x00, 0xAA, 0x00, 0x44, 0x77, 0x3D)
__CRT_UUID_DECL(IStream, 0x0000000C, 0, 0, 0xC0, 0, 0, 0, 0, 0, 0, 0x46)
__CRT_UUID_DECL(IEnumConnections, 0xB196B287, 0xBAB4, 0x101A, 0xB6, 0x9C, 0x00, 0xAA, 0x00, 0x34, 0x1D, 0x07)
__CRT_UUID_DECL(IConnectionPoint, 0xB196B286, 0xBAB4, 0x101A, 0xB6, 0x9C, 0x00, 0xAA, 0x00, 0x34, 0x1D, 0x07)
__CRT_UUID_DECL(IEnumConnectionPoints, 0xB196B285, 0xBAB4, 0x101A, 0xB6, 0x9C, 0x00, 0xAA, 0x00, 0x34, 0x1D, 0x07)
__CRT_UUID_DECL(IConnectionPointContainer, 0xB196B284, 0xBAB4, 0x101A, 0xB6, 0x9C, 0x00, 0xAA, 0x00, 0x34, 0x1D, 0x07)
__CRT_UUID_DECL(IErrorInfo, 0x1CF2B120, 0x547D, 0x101B, 0x8E, 0x65, 0x08, 0x00, 0x2B, 0x2B, 0xD1, 0x19)
__CRT_UUID_DECL(ISupportErrorInfo, 0xDF0B3D60, 0x548F, 0x101B, 0x8E, 0x65, 0x08, 0x00, 0x2B, 0x2B, 0xD1, 0x19)

// The component runtime, libmbcom.so. Each function has the contract of the Windows function of the same name.
#define MBCOM_API extern "C" __attribute__((visibility("default")))

// Text: a BSTR has its byte length in front and a terminating zero; null means the empty text.
MBCOM_API BSTR SysAllocString(const OLECHAR* s);
MBCOM_API BSTR SysAllocStringLen(const OLECHAR* s, UINT n);
MBCOM_API BSTR SysAllocStringByteLen(const char* s, UINT n);
MBCOM_API void SysFreeString(BSTR s);
MBCOM_API UINT SysStringLen(BSTR s);
MBCOM_API UINT SysStringByteLen(BSTR s);

// Task memory: allocated by the callee, freed by the caller.
MBCOM_API void* CoTaskMemAlloc(std::size_t n);
MBCOM_API void CoTaskMemFree(void* p);

// Values.
MBCOM_API void VariantInit(VARIANTARG* v);
MBCOM_API HRESULT VariantClear(VARIANTARG* v);
MBCOM_API HRESULT VariantCopy(VARIANTARG* to, const VARIANTARG* from);
MBCOM_API HRESULT VariantChangeType(VARIANTARG* to, const VARIANTARG* from, USHORT flags, VARTYPE vt);
MBCOM_API HRESULT VarCmp(VARIANT* left, VARIANT* right, LCID lcid, ULONG flags);  // VARCMP_LT 0, EQ 1, GT 2, NULL 3
MBCOM_API HRESULT VarDateFromStr(const OLECHAR* text, LCID lcid, ULONG flags, DATE* out);
inline constexpr HRESULT VARCMP_LT = 0, VARCMP_EQ = 1, VARCMP_GT = 2, VARCMP_NULL = 3;

// Arrays of one or more dimensions; element types are those of VARENUM.
MBCOM_API SAFEARRAY* SafeArrayCreate(VARTYPE vt, UINT dims, SAFEARRAYBOUND* bounds);
MBCOM_API SAFEARRAY* SafeArrayCreateVector(VARTYPE vt, LONG low, ULONG n);
MBCOM_API HRESULT SafeArrayDestroy(SAFEARRAY* a);
MBCOM_API HRESULT SafeArrayAccessData(SAFEARRAY* a, void** data);
MBCOM_API HRESULT SafeArrayUnaccessData(SAFEARRAY* a);
MBCOM_API HRESULT SafeArrayGetLBound(SAFEARRAY* a, UINT dim, LONG* low);
MBCOM_API HRESULT SafeArrayGetUBound(SAFEARRAY* a, UINT dim, LONG* high);
MBCOM_API UINT SafeArrayGetDim(SAFEARRAY* a);
MBCOM_API HRESULT SafeArrayGetVartype(SAFEARRAY* a, VARTYPE* vt);
MBCOM_API HRESULT SafeArrayGetElement(SAFEARRAY* a, LONG* indices, void* out);   // copies out
MBCOM_API HRESULT SafeArrayPutElement(SAFEARRAY* a, LONG* indices, void* value); // copies in
MBCOM_API HRESULT SafeArrayCopy(SAFEARRAY* from, SAFEARRAY** to);

// GUIDs as text: braces, upper case, 38 characters.
MBCOM_API HRESULT CoCreateGuid(GUID* guid);
MBCOM_API HRESULT CLSIDFromString(LPCOLESTR text, CLSID* out);  // also accepts a ProgID; on failure `out` is the null GUID
MBCOM_API HRESULT StringFromCLSID(REFCLSID clsid, LPOLESTR* out);  // CoTaskMemFree
MBCOM_API int StringFromGUID2(REFGUID guid, LPOLESTR out, int max);  // returns the length with the zero, or 0 if max is too small
MBCOM_API HRESULT CLSIDFromProgID(LPCOLESTR progId, CLSID* out);

// Objects by class: first the class objects registered in the process, then InprocServer32 in the registry.
MBCOM_API HRESULT CoInitialize(void* reserved);
MBCOM_API void CoUninitialize();
MBCOM_API HRESULT CoCreateInstance(REFCLSID clsid, IUnknown* outer, DWORD context, REFIID riid, void** out);
MBCOM_API HRESULT CoGetClassObject(REFCLSID clsid, DWORD context, void* reserved, REFIID riid, void** out);
MBCOM_API HRESULT CoRegisterClassObject(REFCLSID clsid, IUnknown* factory, DWORD context, DWORD flags, DWORD* cookie);
MBCOM_API HRESULT CoRevokeClassObject(DWORD cookie);
MBCOM_API void CoFreeUnusedLibraries();  // unloads libraries whose DllCanUnloadNow returns S_OK

// Error information of a failed call, for the caller on the same thread. GetErrorInfo clears it; S_FALSE if there is none.
MBCOM_API HRESULT SetErrorInfo(ULONG reserved, IErrorInfo* info);
MBCOM_API HRESULT GetErrorInfo(ULONG reserved, IErrorInfo** info);

// Cancelling a long call: the call enables cancellation and polls CoTestCancel for RPC_E_CALL_CANCELED or RPC_S_CALLPENDING. A request
// holds for the whole process, since only one run is active. CoCancelCall may be called in a signal handler.
MBCOM_API HRESULT CoEnableCallCancellation(void* reserved);
MBCOM_API HRESULT CoDisableCallCancellation(void* reserved);
MBCOM_API HRESULT CoCancelCall(DWORD thread, ULONG timeout);
MBCOM_API HRESULT CoTestCancel();
