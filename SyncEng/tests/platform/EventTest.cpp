#include "com_events.h"

#include "SyncEngLib.h"
#include <gtest/gtest.h>

namespace {

class Source final : public com::EventSource<ISyncEvents, ILogFile> {
public:
    explicit Source(IUnknown* outer) : EventSource(outer) {}
    HRESULT STDMETHODCALLTYPE AppendString(BSTR text) override
    {
        ISyncEvents* sink = firstSink();
        return sink ? sink->OnProgress2(text, 50.0) : S_FALSE;
    }
    HRESULT STDMETHODCALLTYPE Flush() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE ClearLog() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Delete() override { return E_NOTIMPL; }
};

class Sink final : public com::Object<ISyncEvents> {
public:
    explicit Sink(IUnknown* outer) : Object(outer) {}
    std::vector<std::u16string> heard;
    HRESULT STDMETHODCALLTYPE OnProgress(_SyncProgress, DOUBLE) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE OnProgress2(BSTR label, DOUBLE) override
    {
        return com::guarded([&]() -> HRESULT {
            heard.push_back(com::textOf(label));
            return E_ABORT;
        });
    }
};

com::Ptr<IConnectionPoint> pointOf(const com::Ptr<Source>& source)
{
    com::Ptr<IConnectionPoint> point;
    EXPECT_EQ(source->FindConnectionPoint(__uuidof(ISyncEvents), point.put()), S_OK);
    return point;
}

com::Ptr<IUnknown> unknown(const com::Ptr<Sink>& sink) { return com::Ptr<ISyncEvents>(sink); }

} // namespace

TEST(Event, OnlyTheFirstSinkIsCalledAndItsResultIsReturned)
{
    const auto source = com::make<Source>();
    const auto first = com::make<Sink>(), second = com::make<Sink>();
    DWORD a = 0, b = 0;
    ASSERT_EQ(pointOf(source)->Advise(unknown(first).get(), &a), S_OK);
    ASSERT_EQ(pointOf(source)->Advise(unknown(second).get(), &b), S_OK);
    const com::Bstr text(u"half");
    EXPECT_EQ(source->AppendString(text.get()), E_ABORT);
    EXPECT_EQ(pointOf(source)->Unadvise(a), S_OK);
    EXPECT_EQ(pointOf(source)->Unadvise(a), CONNECT_E_NOCONNECTION);
    EXPECT_EQ(source->AppendString(text.get()), E_ABORT);
    EXPECT_EQ(first->heard.size(), 1u);
    EXPECT_EQ(second->heard, (std::vector<std::u16string>{u"half"}));
    EXPECT_EQ(pointOf(source)->Unadvise(b), S_OK);
    EXPECT_EQ(source->AppendString(text.get()), S_FALSE);
}

TEST(Event, ASinkWithoutTheInterfaceIsRefused)
{
    const auto source = com::make<Source>();
    DWORD cookie = 7;
    EXPECT_EQ(pointOf(source)->Advise(source.as<IConnectionPointContainer>().get(), &cookie), CONNECT_E_CANNOTCONNECT);
    EXPECT_EQ(cookie, 0u);
    com::Ptr<IConnectionPoint> none;
    EXPECT_EQ(source->FindConnectionPoint(__uuidof(ITranslator), none.put()), CONNECT_E_NOCONNECTION);
}

TEST(Event, PointsAndConnectionsAreEnumerated)
{
    const LONG before = com::moduleLocks;
    {
        const auto source = com::make<Source>();
        const auto sink = com::make<Sink>();
        DWORD cookie = 0;
        ASSERT_EQ(pointOf(source)->Advise(unknown(sink).get(), &cookie), S_OK);
        com::Ptr<IEnumConnectionPoints> points;
        ASSERT_EQ(source->EnumConnectionPoints(points.put()), S_OK);
        com::Ptr<IConnectionPoint> point;
        ULONG got = 0;
        EXPECT_EQ(points->Next(1, point.put(), &got), S_OK);
        EXPECT_EQ(point.get(), pointOf(source).get());
        EXPECT_EQ(points->Skip(1), S_FALSE);

        com::Ptr<IEnumConnections> connections, clone;
        ASSERT_EQ(point->EnumConnections(connections.put()), S_OK);
        CONNECTDATA data[2] = {};
        EXPECT_EQ(connections->Next(2, data, &got), S_FALSE);
        ASSERT_EQ(got, 1u);
        EXPECT_EQ(data[0].dwCookie, cookie);
        const auto given = com::Ptr<IUnknown>::attach(data[0].pUnk);
        EXPECT_EQ(given.as<ISyncEvents>().get(), com::Ptr<ISyncEvents>(sink).get());
        EXPECT_EQ(connections->Reset(), S_OK);
        ASSERT_EQ(connections->Clone(clone.put()), S_OK);
        EXPECT_EQ(clone->Skip(1), S_OK);
    }
    EXPECT_EQ(com::moduleLocks, before); // no reference is left
}
