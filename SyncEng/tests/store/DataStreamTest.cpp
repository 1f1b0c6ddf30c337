#include "store/ConfigStore.h"
#include "SyncScenario.h"

#include <gtest/gtest.h>

namespace {

// The configuration store of a module started in the test's own folder.
class DataStreamTest : public testing::Test {
protected:
    DataStreamTest() : stream(s.create<IDataStream>(__uuidof(DataStream)))
    {
        EXPECT_EQ(stream->SetParams(com::Bstr(u"Trans1Cfg").get(), map), S_OK);
    }
    std::u16string text(const char16_t* key)
    {
        com::Bstr value;
        return SUCCEEDED(stream->GetString(com::Bstr(key).get(), value.put())) ? value.text() : u"<absent>";
    }
    mbtest::SyncScenario s;
    const GUID map = com::newGuid();
    com::Ptr<IDataStream> stream;
};

} // namespace

TEST_F(DataStreamTest, ValuesAreReadBackAndSaved)
{
    EXPECT_EQ(stream->SetString(com::Bstr(u"Database").get(), com::Bstr(u"x.db").get()), S_OK);
    EXPECT_EQ(stream->SetInt(com::Bstr(u"SavePassword").get(), 1), S_OK);
    LONG number = 0;
    EXPECT_EQ(stream->GetInt(com::Bstr(u"SavePassword").get(), &number), S_OK);
    EXPECT_EQ(number, 1);
    EXPECT_EQ(text(u"Database"), u"x.db");
    EXPECT_NE(s.folder.read(s.folder.data() / "MBSync.xml").find("<ST>Trans1Cfg</ST>"), std::string::npos);
}

TEST_F(DataStreamTest, AnAbsentKeyGivesTheEmptyTextAndNeverNull)
{
    com::Bstr value;
    EXPECT_EQ(stream->GetString(com::Bstr(u"none").get(), value.put()), E_FAIL);
    ASSERT_NE(value.get(), nullptr);
    EXPECT_TRUE(value.empty());
}

TEST_F(DataStreamTest, ASectionBelongsToOneMapAndOneSide)
{
    EXPECT_EQ(stream->SetString(com::Bstr(u"k").get(), com::Bstr(u"1").get()), S_OK);
    EXPECT_EQ(stream->SetParams(com::Bstr(u"Trans2Cfg").get(), map), S_OK);
    EXPECT_EQ(text(u"k"), u"<absent>");
    EXPECT_EQ(stream->SetParams(com::Bstr(u"Trans1Cfg").get(), map), S_OK);
    EXPECT_EQ(stream->DeleteKey(com::Bstr(u"k").get()), S_OK);
    EXPECT_EQ(text(u"k"), u"<absent>");
}

TEST_F(DataStreamTest, ClearRemovesTheWholeSection)
{
    stream->SetString(com::Bstr(u"a").get(), com::Bstr(u"1").get());
    stream->SetGuid(com::Bstr(u"g").get(), map);
    GUID read{};
    EXPECT_EQ(stream->GetGuid(com::Bstr(u"g").get(), &read), S_OK);
    EXPECT_EQ(read, map);
    EXPECT_EQ(stream->Clear(), S_OK);
    EXPECT_EQ(text(u"a"), u"<absent>");
}

TEST_F(DataStreamTest, AfterCleanUpReadsFailUntilTheNextClassObject)
{
    stream->SetString(com::Bstr(u"a").get(), com::Bstr(u"1").get());
    EXPECT_EQ(stream->CleanUpUserCfg(), S_OK);
    EXPECT_EQ(stream->CleanUpUserCfg(), S_OK);
    com::Bstr value;
    EXPECT_EQ(stream->GetString(com::Bstr(u"a").get(), value.put()), E_POINTER);
    (void)s.maps(); // creating any class object opens the store again
    EXPECT_EQ(text(u"a"), u"1");
}

TEST_F(DataStreamTest, TheVersionIsTheStores)
{
    LONG version = 0;
    EXPECT_EQ(stream->GetHistoryVersion(&version), S_OK);
    EXPECT_EQ(version, 4);
}

TEST_F(DataStreamTest, NullPointersAreRefused)
{
    EXPECT_EQ(stream->GetString(nullptr, nullptr), E_POINTER);
    EXPECT_EQ(stream->GetInt(nullptr, nullptr), E_POINTER);
    EXPECT_EQ(stream->GetGuid(nullptr, nullptr), E_POINTER);
    EXPECT_EQ(stream->GetHistoryVersion(nullptr), E_POINTER);
}
