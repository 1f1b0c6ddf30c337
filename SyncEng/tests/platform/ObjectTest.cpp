// Objects through their interfaces: identity, aggregation, reference counts, and exceptions that become result codes.
#include "com.h"

#include "SyncEngLib.h"
#include <gtest/gtest.h>

namespace {

class Log final : public com::Object<ILogFile, com::Dual<ICategories>> {
public:
    explicit Log(IUnknown* outer) : Object(outer) {}
    HRESULT STDMETHODCALLTYPE AppendString(BSTR) override
    {
        return com::guarded([]() -> HRESULT { throw std::bad_alloc(); });
    }
    HRESULT STDMETHODCALLTYPE Flush() override
    {
        return com::guarded([] { throw com::Error(E_ABORT); });
    }
    HRESULT STDMETHODCALLTYPE ClearLog() override
    {
        return com::guarded([] { throw 1; });
    }
    HRESULT STDMETHODCALLTYPE Delete() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE InitializeCategories(ITrServices*, HWND, VARIANT_BOOL) override { return S_OK; }
};

class Outer final : public com::Object<ITrServices> {
public:
    explicit Outer(IUnknown* outer) : Object(outer) { com::check(com::create<Log>(controlling(), __uuidof(IUnknown), inner_.putVoid())); }

protected:
    // Implemented by the inner object, which shares this object's reference count.
    IUnknown* findOther(REFIID riid) noexcept override
    {
        if (riid != __uuidof(ILogFile)) return nullptr;
        const auto log = inner_.tryAs<ILogFile>();
        return log.get();
    }

private:
    com::Ptr<IUnknown> inner_;
};

} // namespace

TEST(Object, AllInterfacesShareOneIdentity)
{
    com::Ptr<ILogFile> log;
    ASSERT_EQ(com::create<Log>(nullptr, __uuidof(ILogFile), log.putVoid()), S_OK);
    const auto categories = log.as<ICategories>();
    EXPECT_EQ(categories.as<IUnknown>().get(), log.as<IUnknown>().get());
    EXPECT_TRUE(log.tryAs<IDispatch>());
    EXPECT_FALSE(log.tryAs<ITranslator>());
    EXPECT_THROW((void)log.as<ITranslator>(), com::Error);
}

TEST(Object, ExceptionsBecomeResultCodes)
{
    const auto log = com::make<Log>();
    EXPECT_EQ(log->AppendString(nullptr), E_OUTOFMEMORY);
    EXPECT_EQ(log->Flush(), E_ABORT);
    EXPECT_EQ(log->ClearLog(), E_UNEXPECTED);
}

TEST(Object, AnAggregateUsesItsOutersIdentityAndReferenceCount)
{
    const LONG before = com::moduleLocks;
    {
        com::Ptr<ITrServices> outer;
        ASSERT_EQ(com::create<Outer>(nullptr, __uuidof(ITrServices), outer.putVoid()), S_OK);
        com::Ptr<ILogFile> log = outer.as<ILogFile>();
        EXPECT_EQ(log.as<IUnknown>().get(), outer.as<IUnknown>().get());
        EXPECT_EQ(log.as<ITrServices>().get(), outer.get());
        outer.reset();
        EXPECT_EQ(com::moduleLocks, before + 2); // the inner interface keeps both alive
    }
    EXPECT_EQ(com::moduleLocks, before);
}

TEST(Object, AnAggregateMustBeAskedForIUnknown)
{
    const auto outer = com::make<Outer>();
    void* out = &out;
    EXPECT_EQ(com::create<Log>(outer.as<IUnknown>().get(), __uuidof(ILogFile), &out), E_NOINTERFACE);
    EXPECT_EQ(out, nullptr);
}
