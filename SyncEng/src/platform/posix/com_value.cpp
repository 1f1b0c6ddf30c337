// VARIANT: clear, copy, convert, compare; conversion of text to a date.
#include "automation_date.h"
#include "com.h"
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <optional>
#include <string>

namespace {

std::string narrowAscii(std::u16string_view text)
{
    std::string out;
    for (const char16_t c : text) out += c < 128 ? static_cast<char>(c) : '?';
    return out;
}

bool isText(const VARIANT& v) noexcept { return v.vt == VT_BSTR; }

std::optional<double> textToNumber(BSTR s)
{
    std::string text = narrowAscii(com::viewOf(s));
    const auto first = text.find_first_not_of(" \t"), last = text.find_last_not_of(" \t");
    if (first == std::string::npos) return std::nullopt;
    text = text.substr(first, last - first + 1);
    if (text.front() == '+') text.erase(0, 1);
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc{} || end != text.data() + text.size()) return std::nullopt;
    return value;
}

// Returns the number that a value converts to; nullopt if it converts to none.
std::optional<double> numberOf(const VARIANT& v)
{
    switch (v.vt) {
    case VT_EMPTY: return 0.0;
    case VT_I1: return v.cVal;
    case VT_UI1: return v.bVal;
    case VT_I2: return v.iVal;
    case VT_UI2: return v.uiVal;
    case VT_I4:
    case VT_INT:
    case VT_ERROR: return v.lVal;
    case VT_UI4:
    case VT_UINT: return v.ulVal;
    case VT_I8: return static_cast<double>(v.llVal);
    case VT_UI8: return static_cast<double>(v.ullVal);
    case VT_R4: return v.fltVal;
    case VT_R8:
    case VT_DATE: return v.dblVal;
    case VT_CY: return static_cast<double>(v.cyVal.int64) / 10000.0;
    case VT_BOOL: return v.boolVal ? -1.0 : 0.0;
    case VT_BSTR: return textToNumber(v.bstrVal);
    default: return std::nullopt;
    }
}

std::u16string widen(const std::string& s) { return {s.begin(), s.end()}; }

std::u16string numberText(const VARIANT& v)
{
    switch (v.vt) {
    case VT_EMPTY: return {};
    case VT_BOOL: return v.boolVal ? u"True" : u"False";
    case VT_I8: return widen(std::to_string(v.llVal));
    case VT_UI8: return widen(std::to_string(v.ullVal));
    default: break;
    }
    char buffer[40];
    std::snprintf(buffer, sizeof buffer, "%.15g", numberOf(v).value_or(0));
    return widen(buffer);
}

template <class T> HRESULT store(double value, double low, double high, T& out) noexcept
{
    const double rounded = std::nearbyint(value); // half to even, as in the automation library
    if (!(rounded >= low && rounded <= high)) return DISP_E_OVERFLOW;
    out = static_cast<T>(rounded);
    return S_OK;
}

HRESULT toNumber(VARIANT& out, double n) noexcept
{
    switch (out.vt) {
    case VT_I1: return store(n, -128, 127, out.cVal);
    case VT_UI1: return store(n, 0, 255, out.bVal);
    case VT_I2: return store(n, -32768, 32767, out.iVal);
    case VT_UI2: return store(n, 0, 65535, out.uiVal);
    case VT_I4:
    case VT_INT:
    case VT_ERROR: return store(n, -2147483648.0, 2147483647.0, out.lVal);
    case VT_UI4:
    case VT_UINT: return store(n, 0, 4294967295.0, out.ulVal);
    case VT_I8: return store(n, -9223372036854775808.0, 9223372036854774784.0, out.llVal);
    case VT_UI8: return store(n, 0, 18446744073709549568.0, out.ullVal);
    case VT_R4: out.fltVal = static_cast<FLOAT>(n); return S_OK;
    case VT_R8:
    case VT_DATE: out.dblVal = n; return S_OK;
    case VT_BOOL: out.boolVal = n != 0 ? VARIANT_TRUE : VARIANT_FALSE; return S_OK;
    default: return DISP_E_BADVARTYPE;
    }
}

// Returns nullopt if there is no such day in the years 100 to 9999.
std::optional<std::chrono::sys_days> dayOf(int year, int month, int day) noexcept
{
    if (year < 100 || year > 9999 || month < 1 || month > 12 || day < 1 || day > 31) return std::nullopt;
    const std::chrono::year_month_day date{std::chrono::year{year}, std::chrono::month{static_cast<unsigned>(month)},
                                           std::chrono::day{static_cast<unsigned>(day)}};
    return date.ok() ? std::optional<std::chrono::sys_days>(date) : std::nullopt;
}

} // namespace

void VariantInit(VARIANTARG* v) { std::memset(static_cast<void*>(v), 0, sizeof *v); }

HRESULT VariantClear(VARIANTARG* v)
{
    if (!v) return E_INVALIDARG;
    if (!(v->vt & VT_BYREF)) {
        if (v->vt & VT_ARRAY) {
            if (const HRESULT hr = SafeArrayDestroy(v->parray); FAILED(hr)) return hr;
        } else if (v->vt == VT_BSTR)
            SysFreeString(v->bstrVal);
        else if ((v->vt == VT_UNKNOWN || v->vt == VT_DISPATCH) && v->punkVal)
            v->punkVal->Release();
    }
    VariantInit(v);
    return S_OK;
}

HRESULT VariantCopy(VARIANTARG* to, const VARIANTARG* from)
{
    if (!to || !from) return E_INVALIDARG;
    if (to == from) return S_OK;
    VARIANT copy = *from;
    if (!(copy.vt & VT_BYREF)) {
        if (copy.vt & VT_ARRAY) {
            if (const HRESULT hr = SafeArrayCopy(from->parray, &copy.parray); FAILED(hr)) return hr;
        } else if (copy.vt == VT_BSTR && from->bstrVal) {
            copy.bstrVal = SysAllocStringByteLen(reinterpret_cast<const char*>(from->bstrVal), SysStringByteLen(from->bstrVal));
            if (!copy.bstrVal) return E_OUTOFMEMORY;
        } else if ((copy.vt == VT_UNKNOWN || copy.vt == VT_DISPATCH) && copy.punkVal)
            copy.punkVal->AddRef();
    }
    if (const HRESULT hr = VariantClear(to); FAILED(hr)) {
        VariantClear(&copy);
        return hr;
    }
    *to = copy;
    return S_OK;
}

HRESULT VariantChangeType(VARIANTARG* to, const VARIANTARG* from, USHORT, VARTYPE vt)
{
    if (!to || !from) return E_INVALIDARG;
    if (from->vt == vt) return VariantCopy(to, from);
    return com::guarded([&]() -> HRESULT {
        if (from->vt & (VT_BYREF | VT_ARRAY)) return DISP_E_TYPEMISMATCH;
        com::Variant made;
        if (vt == VT_BSTR) {
            if (!numberOf(*from)) return DISP_E_TYPEMISMATCH;
            made = com::Variant(std::u16string_view(numberText(*from)));
        } else {
            made.vt = vt;
            if (vt == VT_DATE && isText(*from)) {
                if (const HRESULT hr = VarDateFromStr(from->bstrVal, 0, 0, &made.date); FAILED(hr)) return hr;
            } else {
                const auto n = numberOf(*from);
                if (!n) return DISP_E_TYPEMISMATCH;
                if (const HRESULT hr = toNumber(made, *n); FAILED(hr)) {
                    made.vt = VT_EMPTY;
                    return hr;
                }
            }
        }
        VariantClear(to);
        *to = made.detach();
        return S_OK;
    });
}

// Texts are compared by code unit, whatever the locale.
HRESULT VarCmp(VARIANT* left, VARIANT* right, LCID, ULONG)
{
    if (!left || !right) return E_INVALIDARG;
    if (left->vt == VT_NULL || right->vt == VT_NULL) return VARCMP_NULL;
    return com::guarded([&]() -> HRESULT {
        if (isText(*left) && isText(*right)) {
            const auto a = com::viewOf(left->bstrVal), b = com::viewOf(right->bstrVal);
            return a < b ? VARCMP_LT : a == b ? VARCMP_EQ : VARCMP_GT;
        }
        // A text is greater than any number, as in the automation library.
        if (isText(*left) != isText(*right) && left->vt != VT_EMPTY && right->vt != VT_EMPTY) return isText(*left) ? VARCMP_GT : VARCMP_LT;
        if (isText(*left)) return com::viewOf(left->bstrVal).empty() ? VARCMP_EQ : VARCMP_GT;
        if (isText(*right)) return com::viewOf(right->bstrVal).empty() ? VARCMP_EQ : VARCMP_LT;
        const auto a = numberOf(*left), b = numberOf(*right);
        if (!a || !b) return DISP_E_TYPEMISMATCH;
        return *a < *b ? VARCMP_LT : *a == *b ? VARCMP_EQ : VARCMP_GT;
    });
}

// Reads yyyy-mm-dd and mm/dd/yyyy, each with an optional time, whatever the locale. Anything else is a mismatch.
HRESULT VarDateFromStr(const OLECHAR* text, LCID, ULONG, DATE* out)
{
    if (!text || !out) return E_INVALIDARG;
    return com::guarded([&]() -> HRESULT {
        const std::string s = narrowAscii(text);
        int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0, end = 0;
        // yyyy-mm-dd first, then mm/dd/yyyy.
        if (std::sscanf(s.c_str(), "%d-%d-%d%n", &year, &month, &day, &end) != 3 &&
            std::sscanf(s.c_str(), "%d/%d/%d%n", &month, &day, &year, &end) != 3)
            return DISP_E_TYPEMISMATCH;
        const auto date = dayOf(year, month, day);
        if (!date) return DISP_E_TYPEMISMATCH;
        const char* rest = s.c_str() + end;
        if (*rest == 'T') ++rest;
        int used = 0;
        const int got = std::sscanf(rest, " %d:%d%n:%d%n", &hour, &minute, &used, &second, &used);
        if (got >= 2) rest += used;
        while (*rest == ' ') ++rest;
        if (*rest || hour < 0 || hour > 23 || minute < 0 || minute > 59 || second < 0 || second > 59) return DISP_E_TYPEMISMATCH;
        const auto days = static_cast<double>(platform::automationDay(*date));
        const double time = (hour * 3600 + minute * 60 + second) / 86400.0;
        *out = days >= 0 ? days + time : days - time; // in negative dates the fraction still counts forward from midnight
        return S_OK;
    });
}
