// Connection points: how an object calls the sinks that its callers advised. A class derives from EventSource instead of Object, names the
// outgoing interface first, and calls firstSink().
#pragma once
#include "com.h"
#include <map>

namespace com {

// An enumerator that keeps its items alive. item.give() makes the value that callers receive.
template <class IEnum, class Item, class Out> class Enumerator final : public Object<IEnum> {
public:
    explicit Enumerator(IUnknown* outer) noexcept : Object<IEnum>(outer) {}
    std::vector<Item> items;
    std::size_t at = 0;

    HRESULT STDMETHODCALLTYPE Next(ULONG n, Out* out, ULONG* got) override
    {
        if (!out || (!got && n != 1)) return E_POINTER;
        ULONG given = 0;
        while (given < n && at < items.size()) out[given++] = items[at++].give();
        if (got) *got = given;
        return given == n ? S_OK : S_FALSE;
    }
    HRESULT STDMETHODCALLTYPE Skip(ULONG n) override
    {
        const std::size_t left = items.size() - at;
        at += n < left ? n : left;
        return n <= left ? S_OK : S_FALSE;
    }
    HRESULT STDMETHODCALLTYPE Reset() override
    {
        at = 0;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE Clone(IEnum** out) override
    {
        if (!out) return E_POINTER;
        *out = nullptr;
        return guarded([&] {
            auto copy = make<Enumerator>();
            copy->items = items;
            copy->at = at;
            *out = copy.detach();
        });
    }
};

struct ConnectionItem {
    Ptr<IUnknown> sink;
    DWORD cookie = 0;
    [[nodiscard]] CONNECTDATA give() const noexcept { return {Ptr<IUnknown>(sink).detach(), cookie}; }
};

struct ConnectionPointItem {
    Ptr<IConnectionPoint> point;
    [[nodiscard]] IConnectionPoint* give() const noexcept { return Ptr<IConnectionPoint>(point).detach(); }
};

// The connection point of one outgoing interface. It is a part of its source and shares the source's reference count.
template <class Sink> class ConnectionPoint final : public IConnectionPoint {
public:
    explicit ConnectionPoint(IConnectionPointContainer* source) noexcept : source_(source) {}

    // Returns the earliest advised sink that is still advised; null if there is none. The sink is borrowed.
    [[nodiscard]] Sink* firstSink() const noexcept { return sinks_.empty() ? nullptr : sinks_.begin()->second.get(); }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** out) override
    {
        if (!out) return E_POINTER;
        const bool known = riid == __uuidof(IUnknown) || riid == __uuidof(IConnectionPoint);
        *out = known ? this : nullptr;
        if (!known) return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return source_->AddRef(); }
    ULONG STDMETHODCALLTYPE Release() override { return source_->Release(); }
    HRESULT STDMETHODCALLTYPE GetConnectionInterface(IID* iid) override
    {
        if (!iid) return E_POINTER;
        *iid = __uuidof(Sink);
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetConnectionPointContainer(IConnectionPointContainer** out) override
    {
        if (!out) return E_POINTER;
        Ptr<IConnectionPointContainer>(source_).copyTo(out);
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE Advise(IUnknown* sink, DWORD* cookie) override
    {
        if (!sink || !cookie) return E_POINTER;
        *cookie = 0;
        return guarded([&]() -> HRESULT {
            auto typed = Ptr<IUnknown>(sink).tryAs<Sink>();
            if (!typed) return CONNECT_E_CANNOTCONNECT;
            sinks_.emplace(nextCookie_, std::move(typed));
            *cookie = nextCookie_++;
            return S_OK;
        });
    }
    HRESULT STDMETHODCALLTYPE Unadvise(DWORD cookie) override { return sinks_.erase(cookie) ? S_OK : CONNECT_E_NOCONNECTION; }
    HRESULT STDMETHODCALLTYPE EnumConnections(IEnumConnections** out) override
    {
        if (!out) return E_POINTER;
        *out = nullptr;
        return guarded([&] {
            auto list = make<Enumerator<IEnumConnections, ConnectionItem, CONNECTDATA>>();
            for (const auto& [cookie, sink] : sinks_) list->items.push_back({Ptr<IUnknown>(sink), cookie});
            *out = list.detach();
        });
    }

private:
    IConnectionPointContainer* source_; // contains this connection point; not owned
    DWORD nextCookie_ = 1;
    std::map<DWORD, Ptr<Sink>> sinks_;
};

template <class Sink, class... Interfaces> class EventSource : public Object<Interfaces..., IConnectionPointContainer> {
public:
    HRESULT STDMETHODCALLTYPE EnumConnectionPoints(IEnumConnectionPoints** out) override
    {
        if (!out) return E_POINTER;
        *out = nullptr;
        return guarded([&] {
            auto list = make<Enumerator<IEnumConnectionPoints, ConnectionPointItem, IConnectionPoint*>>();
            list->items.push_back({Ptr<IConnectionPoint>(&events_)});
            *out = list.detach();
        });
    }
    HRESULT STDMETHODCALLTYPE FindConnectionPoint(REFIID iid, IConnectionPoint** out) override
    {
        if (!out) return E_POINTER;
        *out = nullptr;
        if (iid != __uuidof(Sink)) return CONNECT_E_NOCONNECTION;
        Ptr<IConnectionPoint>(&events_).copyTo(out);
        return S_OK;
    }

protected:
    explicit EventSource(IUnknown* outer) noexcept : Object<Interfaces..., IConnectionPointContainer>(outer), events_(this) {}
    [[nodiscard]] Sink* firstSink() const noexcept { return events_.firstSink(); }

private:
    ConnectionPoint<Sink> events_;
};

} // namespace com
