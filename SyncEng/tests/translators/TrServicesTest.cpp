#include "TranslatorsFixture.h"

#include "foundation/CLogFile.h"
#include "store/CDataStream.h"
#include "translators/CTrManager.h"
#include "translators/CTrServices.h"

namespace {

using namespace mbtest;
using ::testing::ElementsAre;

class TrServicesTest : public TranslatorsTest {
protected:
    static inline std::vector<std::string> made; // the parts in creation order
    static inline bool logFails = false;
    TrServicesTest()
    {
        made.clear();
        logFails = false;
    }
};

template <class T> HRESULT createNoted(IUnknown* outer, REFIID riid, void** out, const char* name) noexcept
{
    const HRESULT hr = com::create<T>(outer, riid, out);
    return FAILED(hr) ? hr : com::guarded([&] {
        struct Access : TrServicesTest {
            using TrServicesTest::made;
        };
        Access::made.emplace_back(name);
    });
}

TEST_F(TrServicesTest, OffersTheManagerTheSettingsAndTheLog)
{
    const auto services = create<ITrServices>(__uuidof(TrServices));
    EXPECT_TRUE(services.tryAs<ITrManager>());
    EXPECT_TRUE(services.tryAs<IDataStream>());
    EXPECT_TRUE(services.tryAs<ILogFile>());
}

TEST_F(TrServicesTest, OffersNoOtherInterfaceOfItsParts)
{
    const auto services = create<ITrServices>(__uuidof(TrServices));
    EXPECT_FALSE(services.tryAs<ITrMap>());
    EXPECT_FALSE(services.tryAs<ITranslator>());
}

TEST_F(TrServicesTest, HasOneIdentityWithItsParts)
{
    const auto services = create<ITrServices>(__uuidof(TrServices));
    const auto identity = services.tryAs<IUnknown>();
    EXPECT_EQ(services.tryAs<ITrManager>().tryAs<IUnknown>().get(), identity.get());
    EXPECT_EQ(services.tryAs<ILogFile>().tryAs<IDataStream>().tryAs<IUnknown>().get(), identity.get());
    EXPECT_EQ(services.tryAs<IDataStream>().tryAs<ITrServices>().get(), services.get());
}

TEST_F(TrServicesTest, AnInterfaceOfAPartKeepsTheObjectAlive)
{
    auto services = create<ITrServices>(__uuidof(TrServices));
    auto settings = services.tryAs<IDataStream>();
    services.reset();
    const com::Bstr type(u"Trans1Cfg"), key(u"Key"), value(u"value");
    EXPECT_EQ(settings->SetParams(type.get(), mapA), S_OK);
    EXPECT_EQ(settings->SetString(key.get(), value.get()), S_OK);
    EXPECT_EQ(stored(u"Trans1Cfg", mapA, u"Key"), u"value");
    EXPECT_TRUE(settings.tryAs<ITrServices>());
}

TEST_F(TrServicesTest, EachServicesObjectHasItsOwnSettings)
{
    const auto first = create<ITrServices>(__uuidof(TrServices)).tryAs<IDataStream>();
    const auto second = create<ITrServices>(__uuidof(TrServices)).tryAs<IDataStream>();
    const com::Bstr type1(u"Trans1Cfg"), type2(u"Trans2Cfg"), key(u"Key"), value1(u"one"), value2(u"two");
    ASSERT_EQ(first->SetParams(type1.get(), mapA), S_OK);
    ASSERT_EQ(second->SetParams(type2.get(), mapA), S_OK);
    ASSERT_EQ(first->SetString(key.get(), value1.get()), S_OK);
    ASSERT_EQ(second->SetString(key.get(), value2.get()), S_OK);
    EXPECT_EQ(stored(u"Trans1Cfg", mapA, u"Key"), u"one");
    EXPECT_EQ(stored(u"Trans2Cfg", mapA, u"Key"), u"two");
}

// Replacements for the module's classes: they record their creation in `made`, and creating the log fails if `logFails`.
HRESULT createManager(IUnknown* outer, REFIID riid, void** out) noexcept
{
    return createNoted<mb::CTrManager>(outer, riid, out, "manager");
}
HRESULT createSettings(IUnknown* outer, REFIID riid, void** out) noexcept
{
    return createNoted<mb::CDataStream>(outer, riid, out, "settings");
}

struct Switch : TrServicesTest {
    using TrServicesTest::logFails;
};

HRESULT createLog(IUnknown* outer, REFIID riid, void** out) noexcept
{
    if (!Switch::logFails) return createNoted<mb::CLogFile>(outer, riid, out, "log");
    *out = nullptr;
    return E_ACCESSDENIED;
}

constexpr com::ClassEntry notedRows[] = {
    {&__uuidof(LogFile), u"", u"", createLog},
    {&__uuidof(DataStream), u"", u"", createSettings},
    {&__uuidof(TrManager), u"", u"", createManager},
};

TEST_F(TrServicesTest, CreatesItsPartsInOrder)
{
    const mb::ClassOverride override(notedRows);
    EXPECT_TRUE(create<ITrServices>(__uuidof(TrServices)));
    EXPECT_THAT(made, ElementsAre("manager", "settings", "log"));
}

TEST_F(TrServicesTest, IsNotCreatedIfAPartCannotBeCreated)
{
    const mb::ClassOverride override(notedRows);
    logFails = true;
    com::Ptr<ITrServices> services;
    EXPECT_EQ(mb::createClass(__uuidof(TrServices), services), E_ACCESSDENIED);
    EXPECT_FALSE(services);
    EXPECT_THAT(made, ElementsAre("manager", "settings"));
}

} // namespace
