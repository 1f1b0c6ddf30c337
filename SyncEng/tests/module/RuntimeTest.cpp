// The module's classes, created by the component runtime.
#include "com_events.h"

#include "Installation.h"
#include "interfaces.h"
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>

using namespace mbtest;

namespace {

const CLSID* const available[] = {&__uuidof(TrServices),   &__uuidof(TrManager),   &__uuidof(TranslatorBridge), &__uuidof(SyncTransfer),
                                  &__uuidof(Synchronizer), &__uuidof(LogFile),     &__uuidof(InteropDummy),     &__uuidof(FieldMap),
                                  &__uuidof(DataStream),   &__uuidof(SyncAutoTest)};

constexpr GUID vCardClass{0x86705195, 0xe5f6, 0x4fbc, {0xad, 0x43, 0xe8, 0x5e, 0xd5, 0x84, 0x3b, 0x9a}};

class Runtime : public testing::Test {
protected:
    Installation installation;
};

// An outer object that aggregates an object of another class.
class Outer final : public com::Object<IConnectionPointContainer> {
public:
    explicit Outer(IUnknown* outer) noexcept : Object(outer) {}
    com::Ptr<IUnknown> inner;
    HRESULT STDMETHODCALLTYPE EnumConnectionPoints(IEnumConnectionPoints**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE FindConnectionPoint(REFIID, IConnectionPoint**) override { return E_NOTIMPL; }
    HRESULT aggregate(REFCLSID clsid)
    {
        return CoCreateInstance(clsid, controlling(), CLSCTX_INPROC_SERVER, __uuidof(IUnknown), inner.putVoid());
    }

protected:
    IUnknown* findOther(REFIID riid) noexcept override
    {
        void* found = nullptr;
        if (!inner || FAILED(inner->QueryInterface(riid, &found))) return nullptr;
        static_cast<IUnknown*>(found)->Release(); // the caller adds its own reference
        return static_cast<IUnknown*>(found);
    }
};

class Sink final : public com::Object<ISyncEvents> {
public:
    explicit Sink(IUnknown* outer) noexcept : Object(outer) {}
    HRESULT STDMETHODCALLTYPE OnProgress(_SyncProgress, DOUBLE) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE OnProgress2(BSTR, DOUBLE) override { return S_OK; }
};

} // namespace

TEST_F(Runtime, EveryClassIsCreatedByItsIdentifier)
{
    for (const CLSID* clsid : available) {
        com::Ptr<IUnknown> object;
        EXPECT_EQ(com::createInstance(*clsid, object, CLSCTX_INPROC_SERVER), S_OK);
    }
}

TEST_F(Runtime, EveryClassCanBeAggregated)
{
    for (const CLSID* clsid : available) {
        const auto outer = com::make<Outer>();
        ASSERT_EQ(outer->aggregate(*clsid), S_OK);
        com::Ptr<IUnknown> wrong;
        EXPECT_EQ(CoCreateInstance(*clsid, outer.get(), CLSCTX_INPROC_SERVER, __uuidof(IDispatch), wrong.putVoid()), E_NOINTERFACE)
            << "an aggregated object can only be created as IUnknown";
    }
}

TEST_F(Runtime, AnAggregatedObjectHasTheIdentityOfTheOuterObject)
{
    const auto outer = com::make<Outer>();
    ASSERT_EQ(outer->aggregate(__uuidof(Synchronizer)), S_OK);
    const auto part = com::Ptr<IUnknown>(outer.get()).as<ISynchronizer>();
    EXPECT_EQ(part.as<IUnknown>().get(), com::Ptr<Outer>(outer).as<IUnknown>().get());
    EXPECT_TRUE(part.tryAs<IReSynchronizer>());
    EXPECT_FALSE(part.tryAs<ITrManager>());
}

TEST_F(Runtime, EventsGoThroughAConnectionPoint)
{
    com::Ptr<ISynchronizer> synchronizer;
    ASSERT_EQ(com::createInstance(__uuidof(Synchronizer), synchronizer), S_OK);
    const auto container = synchronizer.as<IConnectionPointContainer>();
    com::Ptr<IConnectionPoint> point, none;
    EXPECT_EQ(container->FindConnectionPoint(__uuidof(ITrManager), none.put()), CONNECT_E_NOCONNECTION);
    ASSERT_EQ(container->FindConnectionPoint(__uuidof(ISyncEvents), point.put()), S_OK);
    com::Ptr<IEnumConnectionPoints> all;
    ASSERT_EQ(container->EnumConnectionPoints(all.put()), S_OK);
    com::Ptr<IConnectionPoint> listed;
    EXPECT_EQ(all->Next(1, listed.put(), nullptr), S_OK);
    EXPECT_EQ(listed.get(), point.get());
    EXPECT_EQ(all->Next(1, listed.put(), nullptr), S_FALSE);
    const auto sink = com::make<Sink>();
    DWORD cookie = 0;
    EXPECT_EQ(point->Advise(com::Ptr<ISyncEvents>(sink.get()).get(), &cookie), S_OK);
    EXPECT_EQ(point->Unadvise(cookie), S_OK);
    EXPECT_EQ(point->Unadvise(cookie), CONNECT_E_NOCONNECTION);
}

TEST_F(Runtime, ADualInterfaceIsDescribedByTheTypeLibrary)
{
    com::Ptr<IDispatch> late;
    ASSERT_EQ(com::createInstance(__uuidof(Synchronizer), late), S_OK);
    OLECHAR* name = const_cast<OLECHAR*>(L"resynchronize");
    DISPID id = 0;
    EXPECT_EQ(late->GetIDsOfNames(GUID_NULL, &name, 1, LOCALE_USER_DEFAULT, &id), S_OK);
    EXPECT_EQ(id, 1);
    com::Ptr<ITypeInfo> info;
    ASSERT_EQ(late->GetTypeInfo(0, LOCALE_USER_DEFAULT, info.put()), S_OK);
    com::Bstr interfaceName;
    ASSERT_EQ(info->GetDocumentation(MEMBERID_NIL, interfaceName.put(), nullptr, nullptr, nullptr), S_OK);
    EXPECT_EQ(interfaceName.view(), u"IReSynchronizer");
}

TEST_F(Runtime, TheTranslatorManagerDisablesTheSystemsErrorBoxes)
{
    const UINT former = SetErrorMode(0);
    com::Ptr<ITrManager> manager;
    ASSERT_EQ(com::createInstance(__uuidof(TrManager), manager), S_OK);
    EXPECT_EQ(GetErrorMode(), 32769u) << "SEM_FAILCRITICALERRORS and SEM_NOOPENFILEERRORBOX";
    SetErrorMode(former);
}

TEST_F(Runtime, TheModuleMayBeUnloadedOnceItsObjectsAreGone)
{
    com::Ptr<IUnknown> object;
    ASSERT_EQ(com::createInstance(__uuidof(TrManager), object), S_OK);
    const HMODULE module = GetModuleHandleW(L"MBSync.dll");
    ASSERT_TRUE(module);
    const auto mayUnload =
        reinterpret_cast<HRESULT(STDMETHODCALLTYPE*)()>(reinterpret_cast<void*>(GetProcAddress(module, "DllCanUnloadNow")));
    ASSERT_TRUE(mayUnload);
    EXPECT_EQ(mayUnload(), S_FALSE);
    object.reset();
    EXPECT_EQ(mayUnload(), S_OK);
}

TEST_F(Runtime, UnloadingSavesTheConfigurationAndEndsTheLog)
{
    com::Ptr<ITrMap> maps;
    ASSERT_EQ(com::createInstance(__uuidof(TrManager), maps), S_OK);
    GUID map{};
    ASSERT_EQ(maps->Create(vCardClass, vCardClass, &map), S_OK);
    com::Ptr<ILogFile> log;
    ASSERT_EQ(com::createInstance(__uuidof(LogFile), log), S_OK);
    EXPECT_EQ(log->AppendString(com::Bstr(u"a line of a plug-in").get()), S_OK);
    maps.reset();
    log.reset();
    CoFreeUnusedLibrariesEx(0, 0);
    ASSERT_FALSE(GetModuleHandleW(L"MBSync.dll"));
    const auto text = [&](const char* name) {
        std::ifstream in(installation.data() / name, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), {});
    };
    EXPECT_NE(text("MBSync.log").find("a line of a plug-in\r\n"), std::string::npos);
    EXPECT_NE(text("MBSync.log").find("Logging stopped at "), std::string::npos);
    EXPECT_NE(text("MBSync.xml").find("<ST>TrMap</ST>"), std::string::npos) << text("MBSync.xml");
}
