#include "com.h"

#include "SyncEngLib.h"
#include <gtest/gtest.h>

namespace {

class Log final : public com::Object<ILogFile> {
public:
    explicit Log(IUnknown* outer) : Object(outer) {}
    HRESULT STDMETHODCALLTYPE AppendString(BSTR) override { return S_FALSE; }
    HRESULT STDMETHODCALLTYPE Flush() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE ClearLog() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Delete() override { return E_NOTIMPL; }
};

constexpr CLSID kClass{0x0BADCAFE, 1, 2, {3, 4, 5, 6, 7, 8, 9, 10}};
constexpr com::ClassEntry kTable[] = {{&kClass, u"Test.Log", u"A log", &com::create<Log>}};

} // namespace

TEST(Class, AClassObjectOfTheProcessIsFoundUntilItIsRevoked)
{
    com::Ptr<IUnknown> factory;
    ASSERT_EQ(com::getClassObject(kTable, kClass, __uuidof(IUnknown), factory.putVoid()), S_OK);
    DWORD cookie = 0;
    ASSERT_EQ(CoRegisterClassObject(kClass, factory.get(), CLSCTX_INPROC_SERVER, 0, &cookie), S_OK);
    com::Ptr<ILogFile> log;
    EXPECT_EQ(com::createInstance(kClass, log), S_OK);
    EXPECT_EQ(log->AppendString(nullptr), S_FALSE);
    EXPECT_EQ(CoRevokeClassObject(cookie), S_OK);
    EXPECT_EQ(CoRevokeClassObject(cookie), E_INVALIDARG);
    EXPECT_EQ(com::createInstance(kClass, log), REGDB_E_CLASSNOTREG);
    EXPECT_FALSE(log);
}

TEST(Class, AClassObjectIsFoundAsLongAsItLives)
{
    com::Ptr<ILogFile> log;
    {
        com::Ptr<IUnknown> factory;
        ASSERT_EQ(com::getClassObject(kTable, kClass, __uuidof(IUnknown), factory.putVoid()), S_OK);
        const com::ClassObject offered(kClass, factory.get());
        factory.reset();
        EXPECT_EQ(com::createInstance(kClass, log), S_OK);
        EXPECT_EQ(log->AppendString(nullptr), S_FALSE);
    }
    EXPECT_EQ(com::createInstance(kClass, log), REGDB_E_CLASSNOTREG);
}

TEST(Class, AClassMissingInTheTableIsNotAvailable)
{
    void* out = &out;
    EXPECT_EQ(com::getClassObject(kTable, GUID_NULL, __uuidof(IUnknown), &out), CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_EQ(out, nullptr);
}

TEST(Class, AMissingInterfaceIsRefused)
{
    com::Ptr<IClassFactory> factory;
    ASSERT_EQ(com::getClassObject(kTable, kClass, __uuidof(IClassFactory), factory.putVoid()), S_OK);
    com::Ptr<ITranslator> none;
    EXPECT_EQ(factory->CreateInstance(nullptr, __uuidof(ITranslator), none.putVoid()), E_NOINTERFACE);
}
