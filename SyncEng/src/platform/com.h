// The engine's component vocabulary: owning pointers, text, values, arrays, objects with aggregation, class objects. Header-only and the
// same on both platforms. The runtime below it is the system's on Windows and libmbcom.so on Linux. Outside of platform/ nobody calls
// AddRef or SysFreeString, and Release only an object that keeps an interface of a part that it aggregates.
#pragma once
#ifdef _WIN32
#include <windows.h>

#include <ocidl.h>
#include <ole2.h>
#include <oleauto.h>
#include <olectl.h>
#else
#include "posix/com_abi.h"
#endif
#include <algorithm>
#include <atomic>
#include <exception>
#include <new>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace com {

// A failed result code as an exception; guarded() returns it to the caller of the interface method.
class Error final : public std::exception {
public:
    explicit Error(HRESULT hr) noexcept : hr_(hr) {}
    [[nodiscard]] HRESULT code() const noexcept { return hr_; }
    [[nodiscard]] const char* what() const noexcept override { return "com::Error"; }

private:
    HRESULT hr_;
};

inline void check(HRESULT hr)
{
    if (FAILED(hr)) throw Error(hr);
}

// Runs C++ code and turns exceptions into result codes. Interface methods run inside it, so that no exception crosses an interface.
template <class F> [[nodiscard]] HRESULT guarded(F&& body) noexcept
{
    try {
        if constexpr (std::is_void_v<std::invoke_result_t<F>>) {
            std::forward<F>(body)();
            return S_OK;
        } else {
            return std::forward<F>(body)();
        }
    } catch (const Error& e) {
        return e.code();
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    } catch (...) {
        return E_UNEXPECTED;
    }
}

// Calls a method of a foreign object; an exception that the method throws becomes a result code.
template <class I, class Object, class... Params, class... Args>
requires std::is_base_of_v<I, Object> HRESULT call(Object* object, HRESULT (STDMETHODCALLTYPE I::*method)(Params...), Args&&... args)
noexcept
{
    return guarded([&] { return (object->*method)(std::forward<Args>(args)...); });
}

// ---- Text -------------------------------------------------------------------------------------------------------------
// OLECHAR is char16_t on Linux and wchar_t on Windows. Both have 16 bits; the module itself uses char16_t only.

inline const OLECHAR* ole(const char16_t* s) noexcept { return reinterpret_cast<const OLECHAR*>(s); }
inline std::u16string_view viewOf(const OLECHAR* s, std::size_t n) noexcept { return {reinterpret_cast<const char16_t*>(s), n}; }
inline std::u16string_view viewOf(BSTR s) noexcept { return s ? viewOf(s, SysStringLen(s)) : std::u16string_view{}; }
inline std::u16string textOf(BSTR s) { return std::u16string(viewOf(s)); }

class Bstr {
public:
    Bstr() noexcept = default;
    explicit Bstr(std::u16string_view s) : s_(SysAllocStringLen(ole(s.data()), static_cast<UINT>(s.size())))
    {
        if (!s_) throw std::bad_alloc();
    }
    Bstr(const Bstr& o) : Bstr(o.view()) {}
    Bstr(Bstr&& o) noexcept : s_(o.detach()) {}
    Bstr& operator=(Bstr o) noexcept
    {
        std::swap(s_, o.s_);
        return *this;
    }
    ~Bstr() { SysFreeString(s_); }

    static Bstr attach(BSTR s) noexcept
    {
        Bstr r;
        r.s_ = s;
        return r;
    }
    [[nodiscard]] BSTR get() const noexcept { return s_; }
    [[nodiscard]] BSTR detach() noexcept { return std::exchange(s_, nullptr); }
    [[nodiscard]] BSTR* put() noexcept
    {
        SysFreeString(detach());
        return &s_;
    }
    [[nodiscard]] BSTR* inOut() noexcept { return &s_; }
    [[nodiscard]] std::u16string_view view() const noexcept { return viewOf(s_); }
    [[nodiscard]] std::u16string text() const { return std::u16string(view()); }
    [[nodiscard]] bool empty() const noexcept { return view().empty(); }

private:
    BSTR s_ = nullptr;
};

// Stores a new copy of the text in an out parameter; the caller frees it.
inline void give(BSTR* out, std::u16string_view text) { *out = Bstr(text).detach(); }

// ---- Owning pointer ---------------------------------------------------------------------------------------------------

template <class T> class Ptr {
public:
    Ptr() noexcept = default;
    Ptr(std::nullptr_t) noexcept {}
    Ptr(T* p) noexcept : p_(p)
    {
        if (p_) p_->AddRef();
    }
    Ptr(const Ptr& o) noexcept : Ptr(o.p_) {}
    Ptr(Ptr&& o) noexcept : p_(std::exchange(o.p_, nullptr)) {}
    template <class U>
    requires std::is_convertible_v<U*, T*> Ptr(const Ptr<U>& o)
    noexcept : Ptr(o.get()) {}
    ~Ptr() { reset(); }
    Ptr& operator=(Ptr o) noexcept
    {
        std::swap(p_, o.p_);
        return *this;
    }

    static Ptr attach(T* p) noexcept
    {
        Ptr r;
        r.p_ = p;
        return r;
    }
    [[nodiscard]] T* detach() noexcept { return std::exchange(p_, nullptr); }
    void reset() noexcept
    {
        if (T* p = std::exchange(p_, nullptr)) p->Release();
    }
    [[nodiscard]] T* get() const noexcept { return p_; }
    T* operator->() const noexcept { return p_; }
    explicit operator bool() const noexcept { return p_ != nullptr; }
    [[nodiscard]] T** put() noexcept
    {
        reset();
        return &p_;
    }
    [[nodiscard]] void** putVoid() noexcept { return reinterpret_cast<void**>(put()); }
    void copyTo(T** out) const noexcept { *out = Ptr(*this).detach(); }

    // Returns another interface of the same object; throws E_NOINTERFACE if the object lacks it.
    template <class U> [[nodiscard]] Ptr<U> as() const
    {
        Ptr<U> r = tryAs<U>();
        if (p_ && !r) throw Error(E_NOINTERFACE);
        return r;
    }
    // Returns another interface of the same object; null if the object lacks it.
    template <class U> [[nodiscard]] Ptr<U> tryAs() const noexcept
    {
        Ptr<U> r;
        if (p_ && FAILED(guarded([&] { return p_->QueryInterface(__uuidof(U), r.putVoid()); }))) (void)r.detach();
        return r;
    }

private:
    T* p_ = nullptr;
};

template <class I, class Object, class... Params, class... Args>
HRESULT call(const Ptr<Object>& object, HRESULT (STDMETHODCALLTYPE I::*method)(Params...), Args&&... args) noexcept
{
    return call(object.get(), method, std::forward<Args>(args)...);
}

// ---- Values -----------------------------------------------------------------------------------------------------------

class Variant : public VARIANT {
public:
    Variant() noexcept { VariantInit(this); }
    explicit Variant(std::u16string_view s) : Variant()
    {
        bstrVal = Bstr(s).detach();
        vt = VT_BSTR;
    }
    explicit Variant(const char16_t* s) : Variant(std::u16string_view(s)) {} // without this overload a literal would convert to bool
    explicit Variant(LONG n) noexcept : Variant()
    {
        lVal = n;
        vt = VT_I4;
    }
    explicit Variant(bool b) noexcept : Variant()
    {
        boolVal = b ? VARIANT_TRUE : VARIANT_FALSE;
        vt = VT_BOOL;
    }
    explicit Variant(const VARIANT& o) : Variant() { check(VariantCopy(this, const_cast<VARIANT*>(&o))); }
    Variant(const Variant& o) : Variant(static_cast<const VARIANT&>(o)) {}
    Variant(Variant&& o) noexcept : VARIANT(o) { VariantInit(&o); }
    Variant& operator=(Variant o) noexcept
    {
        std::swap(static_cast<VARIANT&>(*this), static_cast<VARIANT&>(o));
        return *this;
    }
    ~Variant() { clear(); }
    [[nodiscard]] VARIANT* put() noexcept
    {
        clear();
        return this;
    }
    VARIANT detach() noexcept
    {
        VARIANT v = *this;
        VariantInit(this);
        return v;
    }
    [[nodiscard]] std::u16string_view text() const noexcept { return vt == VT_BSTR ? viewOf(bstrVal) : std::u16string_view{}; }

private:
    void clear() noexcept
    {
        if (vt != VT_EMPTY) VariantClear(this);
    }
};

// ---- Arrays -----------------------------------------------------------------------------------------------------------

// An array in task memory: filled through put(), freed by this object, read as a span.
template <class T> class TaskArray {
public:
    TaskArray() noexcept = default;
    TaskArray(const TaskArray&) = delete;
    TaskArray& operator=(const TaskArray&) = delete;
    ~TaskArray() { CoTaskMemFree(p_); }
    [[nodiscard]] T** put() noexcept
    {
        CoTaskMemFree(std::exchange(p_, nullptr));
        return &p_;
    }
    [[nodiscard]] LONG* putCount() noexcept { return &n_; }
    [[nodiscard]] std::span<const T> items() const noexcept { return {p_, p_ ? static_cast<std::size_t>(n_) : 0}; }
    [[nodiscard]] T* data() const noexcept { return p_; }
    [[nodiscard]] LONG size() const noexcept { return n_; }

private:
    T* p_ = nullptr;
    LONG n_ = 0;
};

// Stores a copy of the items, in task memory, in an out parameter; null for no items.
template <class T> HRESULT giveArray(std::span<const T> items, LONG* count, T** out) noexcept
{
    *count = 0;
    *out = nullptr;
    if (items.empty()) return S_OK;
    auto* p = static_cast<T*>(CoTaskMemAlloc(items.size() * sizeof(T)));
    if (!p) return E_OUTOFMEMORY;
    std::copy(items.begin(), items.end(), p);
    *out = p;
    *count = static_cast<LONG>(items.size());
    return S_OK;
}

// Conversion between texts and a one-dimensional SAFEARRAY of BSTR with lower bound 0. A null array has no texts.
inline SAFEARRAY* makeTextArray(std::span<const std::u16string> texts)
{
    SAFEARRAY* a = SafeArrayCreateVector(VT_BSTR, 0, static_cast<ULONG>(texts.size()));
    if (!a) throw std::bad_alloc();
    void* data = nullptr;
    HRESULT hr = SafeArrayAccessData(a, &data);
    if (SUCCEEDED(hr)) {
        hr = guarded([&] {
            for (std::size_t i = 0; i < texts.size(); ++i) static_cast<BSTR*>(data)[i] = Bstr(texts[i]).detach();
        });
        SafeArrayUnaccessData(a);
    }
    if (FAILED(hr)) {
        SafeArrayDestroy(a);
        throw Error(hr);
    }
    return a;
}

inline std::vector<std::u16string> textArray(SAFEARRAY* a)
{
    std::vector<std::u16string> texts;
    void* data = nullptr;
    LONG low = 0, high = -1;
    if (!a || FAILED(SafeArrayGetLBound(a, 1, &low)) || FAILED(SafeArrayGetUBound(a, 1, &high))) return texts;
    check(SafeArrayAccessData(a, &data));
    const HRESULT hr = guarded([&] {
        for (LONG i = 0; i <= high - low; ++i) texts.push_back(textOf(static_cast<BSTR*>(data)[i]));
    });
    SafeArrayUnaccessData(a);
    check(hr);
    return texts;
}

// ---- Identifiers ------------------------------------------------------------------------------------------------------

// Returns 38 characters: braces and upper-case digits.
inline std::u16string guidText(REFGUID guid)
{
    OLECHAR buffer[40] = {};
    const int n = StringFromGUID2(guid, buffer, 40);
    return std::u16string(viewOf(buffer, n > 0 ? static_cast<std::size_t>(n) - 1 : 0));
}

// Stores the null GUID and fails if the text is not a GUID.
inline HRESULT parseGuid(std::u16string_view text, GUID* out)
{
    const std::u16string zeroEnded(text);
    const HRESULT hr = CLSIDFromString(const_cast<OLECHAR*>(ole(zeroEnded.c_str())), out);
    if (FAILED(hr)) *out = {}; // the system may have written a part of it
    return hr;
}

inline GUID newGuid()
{
    GUID guid{};
    check(CoCreateGuid(&guid));
    return guid;
}

// ---- Objects ----------------------------------------------------------------------------------------------------------

inline std::atomic<LONG> moduleLocks{0}; // living objects and server locks, for DllCanUnloadNow

// The late-bound methods of a dual interface, answered from the type information of the interface `iid`.
HRESULT dispatchTypeInfoCount(REFIID iid, UINT* count) noexcept;
HRESULT dispatchTypeInfo(REFIID iid, UINT index, LCID lcid, ITypeInfo** info) noexcept;
HRESULT dispatchIds(REFIID iid, LPOLESTR* names, UINT count, LCID lcid, DISPID* ids) noexcept;
HRESULT dispatchInvoke(REFIID iid, IDispatch* object, DISPID id, LCID lcid, WORD flags, DISPPARAMS* params, VARIANT* result,
                       EXCEPINFO* excep, UINT* argErr) noexcept;

// A dual interface with its four IDispatch methods implemented.
template <class I> class Dual : public I {
public:
    using Interface = I;
    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) final { return dispatchTypeInfoCount(__uuidof(I), count); }
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT index, LCID lcid, ITypeInfo** info) final
    {
        return dispatchTypeInfo(__uuidof(I), index, lcid, info);
    }
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID lcid, DISPID* ids) final
    {
        return dispatchIds(__uuidof(I), names, count, lcid, ids);
    }
    HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID, LCID lcid, WORD flags, DISPPARAMS* params, VARIANT* result, EXCEPINFO* excep,
                                     UINT* argErr) final
    {
        return dispatchInvoke(__uuidof(I), this, id, lcid, flags, params, result, excep, argErr);
    }
};

template <class I> struct InterfaceOf {
    using type = I;
};
template <class I> struct InterfaceOf<Dual<I>> {
    using type = I;
};

// Base of an object that implements the listed interfaces, alone or aggregated in an outer object. A derived class passes the outer object
// from its constructor and is made by create<T>. A dual interface is listed as Dual<I>; the first one answers for IDispatch.
template <class First, class... Rest> class Object : public First, public Rest... {
public:
    Object(const Object&) = delete;
    Object& operator=(const Object&) = delete;
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** out) final { return outer_->QueryInterface(riid, out); }
    ULONG STDMETHODCALLTYPE AddRef() final { return outer_->AddRef(); }
    ULONG STDMETHODCALLTYPE Release() final { return outer_->Release(); }

protected:
    explicit Object(IUnknown* outer) noexcept : outer_(outer ? outer : &ownUnknown_)
    {
        ownUnknown_.self = this;
        ++moduleLocks;
    }
    virtual ~Object() { --moduleLocks; }
    // Returns an interface that is not listed, implemented by a part of the object; null if unknown. The part must share the object's
    // reference count.
    virtual IUnknown* findOther(REFIID) noexcept { return nullptr; }
    // Returns false for a listed interface that this object does not offer.
    virtual bool offers(REFIID) const noexcept { return true; }
    // The identity that callers know: the outer object's, or its own if there is none.
    [[nodiscard]] IUnknown* controlling() const noexcept { return outer_; }

private:
    template <class T> friend HRESULT create(IUnknown*, REFIID, void**) noexcept;
    struct Inner final : IUnknown { // the object's own identity and reference count
        Object* self = nullptr;
        std::atomic<ULONG> refs{1};
        HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** out) override
        {
            if (!out) return E_POINTER;
            *out = riid == __uuidof(IUnknown) ? static_cast<IUnknown*>(this) : self->find(riid);
            if (!*out) return E_NOINTERFACE;
            static_cast<IUnknown*>(*out)->AddRef(); // through the returned pointer, because an aggregated object counts on its outer object
            return S_OK;
        }
        ULONG STDMETHODCALLTYPE AddRef() override { return ++refs; }
        ULONG STDMETHODCALLTYPE Release() override
        {
            const ULONG left = --refs;
            if (left == 0) {
                refs = 1; // a callback during destruction must not delete the object again
                delete self;
            }
            return left;
        }
    };
    void* find(REFIID riid) noexcept
    {
        if (!offers(riid)) return nullptr;
        void* hit = nullptr;
        auto match = [&]<class I>(I* i) {
            if (hit) return;
            if (riid == __uuidof(typename InterfaceOf<I>::type)) hit = i;
            if constexpr (std::is_base_of_v<IDispatch, I>)
                if (riid == __uuidof(IDispatch)) hit = static_cast<IDispatch*>(i);
        };
        match(static_cast<First*>(this));
        (match(static_cast<Rest*>(this)), ...);
        return hit ? hit : findOther(riid);
    }
    Inner ownUnknown_{};
    IUnknown* outer_;
};

template <class T> HRESULT create(IUnknown* outer, REFIID riid, void** out) noexcept
{
    if (!out) return E_POINTER;
    *out = nullptr;
    if (outer && riid != __uuidof(IUnknown)) return E_NOINTERFACE;
    return guarded([&] {
        auto* made = new T(outer);
        const HRESULT hr = made->ownUnknown_.QueryInterface(riid, out);
        made->ownUnknown_.Release();
        return hr;
    });
}

// Creates an object of this module and returns it by its class, for code that needs more than its interfaces.
template <class T> Ptr<T> make()
{
    return Ptr<T>::attach(new T(nullptr)); // a new object already has one reference
}

// ---- Classes ----------------------------------------------------------------------------------------------------------

struct ClassEntry {
    const CLSID* clsid;
    const char16_t* progId;      // version-independent, such as "MBSync.TrManager"
    const char16_t* description; // shown in the registry
    HRESULT (*create)(IUnknown* outer, REFIID riid, void** out) noexcept;
};

class Factory final : public Object<IClassFactory> {
public:
    explicit Factory(IUnknown* outer) noexcept : Object(outer) {}
    const ClassEntry* entry = nullptr;
    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID riid, void** out) override { return entry->create(outer, riid, out); }
    HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) override
    {
        moduleLocks += lock ? 1 : -1;
        return S_OK;
    }
};

inline HRESULT getClassObject(std::span<const ClassEntry> table, REFCLSID clsid, REFIID riid, void** out) noexcept
{
    if (!out) return E_POINTER;
    *out = nullptr;
    for (const ClassEntry& e : table)
        if (*e.clsid == clsid)
            return guarded([&] {
                Ptr<Factory> factory = make<Factory>();
                factory->entry = &e;
                return factory->QueryInterface(riid, out);
            });
    return CLASS_E_CLASSNOTAVAILABLE;
}

// Makes a class known to the component runtime in this process, registered or not, while this object lives.
class ClassObject {
public:
    ClassObject(REFCLSID clsid, IUnknown* factory)
    {
        check(CoRegisterClassObject(clsid, factory, CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE, &cookie_));
    }
    ClassObject(const ClassObject&) = delete;
    ClassObject& operator=(const ClassObject&) = delete;
    ~ClassObject() { (void)CoRevokeClassObject(cookie_); }

private:
    DWORD cookie_ = 0;
};

template <class I> HRESULT createInstance(REFCLSID clsid, Ptr<I>& out, DWORD context = CLSCTX_ALL) noexcept
{
    return guarded([&] { return CoCreateInstance(clsid, nullptr, context, __uuidof(I), out.putVoid()); });
}

} // namespace com
