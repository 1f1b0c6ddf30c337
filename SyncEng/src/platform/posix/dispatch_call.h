// Makes one late-bound call: converts each argument from a VARIANT, calls the method, and stores its out values. Types come from the
// method's signature; names and directions come from the table generated from the IDL.
#pragma once
#include "com.h"
#include <tuple>

namespace com::late {

enum class Direction { In, Out, InOut };
inline constexpr Direction In = Direction::In, Out = Direction::Out, InOut = Direction::InOut;

struct Parameter {
    const char16_t* name;
    Direction direction;
};

struct Argument {
    VARIANT* value;
    Direction direction;
};

struct Method {
    DISPID id;
    const char16_t* name;
    std::span<const Parameter> parameters;
    // Requires: one argument per parameter. Stores the method's result in `answer`. A failure that is returned means that the method was
    // not called; `wrong` is then the argument that did not fit.
    HRESULT (*call)(IDispatch* object, std::span<const Argument> arguments, HRESULT* answer, UINT* wrong);
};

struct Interface {
    const IID* iid;
    std::span<const Method> methods;
};

inline bool isNothing(const VARIANT& v) noexcept { return v.vt == VT_EMPTY || v.vt == VT_NULL || v.vt == VT_ERROR; }

// ---- One value of a type: loaded from a VARIANT, passed to the method, taken as a VARIANT
// --------------------------------------------------

template <class T> inline constexpr VARTYPE kindOf = std::is_enum_v<T> ? VT_I4 : VT_EMPTY;
template <> inline constexpr VARTYPE kindOf<LONG> = VT_I4;
template <> inline constexpr VARTYPE kindOf<ULONG> = VT_UI4;
template <> inline constexpr VARTYPE kindOf<LONGLONG> = VT_I8;
template <> inline constexpr VARTYPE kindOf<HWND> = VT_I8;
template <> inline constexpr VARTYPE kindOf<DOUBLE> = VT_R8;
template <> inline constexpr VARTYPE kindOf<VARIANT_BOOL> = VT_BOOL;

template <class T> class Value { // numbers, booleans and enumerations
public:
    static constexpr VARTYPE kind = kindOf<T>;
    static_assert(kind != VT_EMPTY, "a parameter of a type that scripts cannot give");
    HRESULT load(const VARIANT& from)
    {
        Variant changed;
        const HRESULT hr = VariantChangeType(&changed, &from, 0, kind);
        if (SUCCEEDED(hr)) std::memcpy(&value_, &changed.llVal, sizeof value_);
        return hr;
    }
    T get() const noexcept { return value_; }
    T* out() noexcept { return &value_; }
    Variant take() noexcept
    {
        Variant made;
        std::memcpy(&made.llVal, &value_, sizeof value_);
        made.vt = kind;
        return made;
    }

private:
    T value_{};
};

template <> class Value<BSTR> {
public:
    static constexpr VARTYPE kind = VT_BSTR;
    HRESULT load(const VARIANT& from)
    {
        Variant changed;
        const HRESULT hr = VariantChangeType(&changed, &from, 0, VT_BSTR);
        if (SUCCEEDED(hr)) text_ = Bstr(changed.text());
        return hr;
    }
    BSTR get() const noexcept { return text_.get(); }
    BSTR* out() noexcept { return text_.inOut(); }
    Variant take()
    {
        Variant made;
        made.bstrVal = text_.detach();
        made.vt = VT_BSTR;
        return made;
    }

private:
    Bstr text_;
};

template <> class Value<VARIANT> {
public:
    static constexpr VARTYPE kind = VT_VARIANT;
    HRESULT load(const VARIANT& from) { return VariantCopy(&value_, &from); }
    VARIANT get() const noexcept { return value_; } // valid during the call
    VARIANT* out() noexcept { return &value_; }
    Variant take() noexcept { return std::move(value_); }

private:
    Variant value_;
};

template <> class Value<GUID> { // scripts pass a text
public:
    static constexpr VARTYPE kind = VT_BSTR;
    HRESULT load(const VARIANT& from) { return from.vt == VT_BSTR ? parseGuid(viewOf(from.bstrVal), &guid_) : DISP_E_TYPEMISMATCH; }
    const GUID& get() const noexcept { return guid_; }
    GUID* out() noexcept { return &guid_; }
    Variant take() { return Variant(guidText(guid_)); }

private:
    GUID guid_{};
};

template <class I>
requires std::is_convertible_v<I*, IUnknown*>
class Value<I*> {
public:
    static constexpr VARTYPE kind = std::is_base_of_v<IDispatch, I> ? VT_DISPATCH : VT_UNKNOWN;
    HRESULT load(const VARIANT& from)
    {
        if (isNothing(from)) return S_OK;
        if (from.vt != VT_UNKNOWN && from.vt != VT_DISPATCH) return DISP_E_TYPEMISMATCH;
        if (!from.punkVal) return S_OK;
        object_ = Ptr<IUnknown>(from.punkVal).template tryAs<I>();
        return object_ ? S_OK : DISP_E_TYPEMISMATCH;
    }
    I* get() const noexcept { return object_.get(); }
    I** out() noexcept { return object_.put(); }
    Variant take() noexcept
    {
        Variant made;
        made.punkVal = object_.detach();
        made.vt = kind;
        return made;
    }

private:
    Ptr<I> object_;
};

template <> class Value<SAFEARRAY*> {
public:
    static constexpr VARTYPE kind = VT_ARRAY;
    Value() noexcept = default;
    Value(const Value&) = delete;
    Value& operator=(const Value&) = delete;
    ~Value() { (void)take(); }
    HRESULT load(const VARIANT& from) // an array of texts; no method takes another kind
    {
        if (isNothing(from)) return S_OK;
        if (from.vt != (VT_ARRAY | VT_BSTR)) return DISP_E_TYPEMISMATCH;
        given_ = from.parray;
        return S_OK;
    }
    SAFEARRAY* get() const noexcept { return given_; }
    SAFEARRAY** out() noexcept { return &made_; }
    Variant take() noexcept
    {
        Variant value;
        VARTYPE elements = VT_EMPTY;
        if (!made_ || FAILED(SafeArrayGetVartype(made_, &elements))) return value;
        value.parray = std::exchange(made_, nullptr);
        value.vt = static_cast<VARTYPE>(VT_ARRAY | elements);
        return value;
    }

private:
    SAFEARRAY *given_ = nullptr, *made_ = nullptr;
};

// ---- One parameter --------------------------------------------------------------------------------------------------------------------

// Whether the parameter is the value itself, not a pointer to it.
template <class P>
inline constexpr bool isValueItself = !std::is_pointer_v<P> || std::is_same_v<P, BSTR> || std::is_same_v<P, HWND> ||
                                      std::is_same_v<P, SAFEARRAY*> || std::is_convertible_v<P, IUnknown*>;

// Stores a value in the variable that a by-reference argument refers to.
inline void storeAt(const VARIANT& reference, Variant made) noexcept
{
    if (reference.vt == (VT_BYREF | VT_VARIANT)) {
        VariantClear(reference.pvarVal);
        *reference.pvarVal = made.detach();
        return;
    }
    const std::size_t size = made.vt == VT_BOOL ? 2 : made.vt == VT_I4 || made.vt == VT_UI4 ? 4 : 8;
    Variant former;
    std::memcpy(&former.llVal, reference.byref, size);
    former.vt = made.vt; // `former` frees the old value
    std::memcpy(reference.byref, &made.llVal, size);
    (void)made.detach();
}

template <class P> class Slot {
public:
    using T = std::conditional_t<isValueItself<P>, std::remove_cvref_t<P>, std::remove_pointer_t<P>>;

    HRESULT load(const Argument& argument)
    {
        const VARIANT& given = *argument.value;
        const bool reference = (given.vt & VT_BYREF) != 0;
        const VARIANT& value = given.vt == (VT_BYREF | VT_VARIANT) ? *given.pvarVal : given;
        if constexpr (!isValueItself<P>) {
            if (isNothing(given)) return S_OK; // passed as a null pointer
            given_ = true;
            if (argument.direction == Direction::In) return value_.load(value);
            const auto kind = static_cast<VARTYPE>(given.vt & ~VT_BYREF);
            if (!reference || (kind != VT_VARIANT && kind != Value<T>::kind)) return DISP_E_TYPEMISMATCH;
            if (argument.direction == Direction::Out) return S_OK;
            if (kind == VT_VARIANT) return value_.load(value);
            Variant copy; // of the text that the reference refers to, not owned
            copy.vt = kind;
            std::memcpy(&copy.llVal, given.byref, sizeof(void*));
            const HRESULT hr = value_.load(copy);
            (void)copy.detach();
            return hr;
        } else {
            return value_.load(value);
        }
    }
    decltype(auto) pass()
    {
        if constexpr (isValueItself<P>)
            return value_.get();
        else
            return given_ ? value_.out() : nullptr;
    }
    void store(const Argument& argument)
    {
        if constexpr (!isValueItself<P>)
            if (given_ && argument.direction != Direction::In) storeAt(*argument.value, value_.take());
    }

private:
    Value<T> value_;
    bool given_ = false;
};

template <class I, class... P>
HRESULT invokeMethod(HRESULT (STDMETHODCALLTYPE I::*method)(P...), IDispatch* object, std::span<const Argument> arguments, HRESULT* answer,
                     UINT* wrong)
{
    std::tuple<Slot<P>...> slots;
    return std::apply(
        [&](auto&... slot) {
            HRESULT fits = S_OK;
            [[maybe_unused]] UINT at = 0;
            [[maybe_unused]] const auto load = [&](auto& one) {
                if (SUCCEEDED(fits) && FAILED(fits = one.load(arguments[at]))) *wrong = at;
                ++at;
            };
            (load(slot), ...);
            if (FAILED(fits)) return fits;
            *answer = guarded([&] { return (static_cast<I*>(object)->*method)(slot.pass()...); });
            at = 0;
            (slot.store(arguments[at++]), ...); // also after a failure: out values may describe it
            return S_OK;
        },
        slots);
}

template <auto method> HRESULT invoke(IDispatch* object, std::span<const Argument> arguments, HRESULT* answer, UINT* wrong)
{
    return invokeMethod(method, object, arguments, answer, wrong);
}

} // namespace com::late
