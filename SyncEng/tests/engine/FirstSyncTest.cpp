#include "People.h"
#include "SyncScenario.h"

#include <gmock/gmock.h>

using mbtest::person;
using mbtest::SyncScenario;

TEST(FirstSync, AnEmptySideReceivesEveryRecord)
{
    SyncScenario s;
    s.one().add(person(u"Ada", u"Lovelace"));
    s.one().add({{ftFirstName, u"Grace"}, {ftLastName, u"Hopper"}, {ftEmail1, u"grace@navy.example"}});
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.two().records.size(), 2u);
    s.expectInStep();
}

TEST(FirstSync, BothSidesReceiveWhatTheOtherHas)
{
    SyncScenario s;
    s.one().add(person(u"Ada", u"Lovelace"));
    s.two().add(person(u"Alan", u"Turing"));
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.one().records.size(), 2u);
    s.expectInStep();
}

TEST(FirstSync, AnEmptyValueOfANewRecordIsNotWritten)
{
    SyncScenario s;
    s.one().add({{ftFirstName, u"Ada"}, {ftLastName, u""}, {ftNotes, u""}});
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.log().starting("2 WriteField").size(), 1u);
    EXPECT_EQ(s.log().starting("2 ReadField").size(), 1u) << "what was empty is known without being read back";
    s.expectInStep();
}

TEST(FirstSync, ARecordGoesInTheOrderThatTranslatorsRelyOn)
{
    SyncScenario s;
    s.one().fields = {{ftFirstName, u"First name"}};
    s.two().fields = {{ftFirstName, u"First name"}};
    s.one().add({{ftFirstName, u"Ada"}});
    s.setOption(soConfirmAdds, 0);
    s.folder.write("unused", "");
    EXPECT_EQ(s.sync(), S_OK);
    const auto& lines = s.log().lines;
    const auto at = std::ranges::find(lines, std::string("2 BeginUpdate"));
    ASSERT_NE(at, lines.end());
    std::vector<std::string> rest(at, lines.end());
    // The fields lack a last name, so the log's description of the record reads nothing.
    EXPECT_EQ(rest, (std::vector<std::string>{"2 BeginUpdate", "1 GetTranslatorCaps", "2 GetTranslatorCaps", "1 BeginReadRecord A000001",
                                              "2 BeginAddRecord", "1 ReadField A000001 First name", "2 WriteField B000001 First name=Ada",
                                              "2 SaveRecord B000001", "1 EndReadRecord A000001", "2 BeginReadRecord B000001",
                                              "2 ReadField B000001 First name", "2 EndReadRecord B000001", "1 GetTranslatorCaps",
                                              "1 GetModifiedDate A000001", "2 GetModifiedDate B000001", "2 EndUpdate", "1 Cleanup",
                                              "2 Cleanup"}));
}

TEST(FirstSync, ASourceWithoutIdentifiersAndDatesWritesTheRecordAndLeavesNoLink)
{
    SyncScenario s;
    s.one().options.caps = 0;
    s.one().add(person(u"Ada", u"Lovelace"));
    s.setOption(soSyncType, stExportFromTrans1);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.two().records.size(), 1u);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.two().records.size(), 2u) << "no link, so it is new again";
}

TEST(FirstSync, ASourceWithOneOfIdentifiersAndDatesIsLinked)
{
    for (const ULONG caps : {ULONG{capRecordGUIDs}, ULONG{capTimestamps}})
        for (const LONG direction : {stExportFromTrans1, stImportToTrans1}) {
            SyncScenario s;
            mbtest::FakeStore& source = direction == stExportFromTrans1 ? s.one() : s.two();
            source.options.caps = caps;
            source.add(person(u"Ada", u"Lovelace"));
            s.setOption(soSyncType, direction);
            EXPECT_EQ(s.sync(), S_OK);
            EXPECT_EQ(s.rememberedRecords(idTrans1), s.one().order);
            EXPECT_EQ(s.rememberedRecords(idTrans2), s.two().order);
            EXPECT_EQ(s.sync(), S_OK);
            EXPECT_EQ(s.writes(), std::vector<std::string>()) << "the record is known and is not added again";
        }
}

TEST(FirstSync, ANameWithLineBreaksStaysInItsLineOfTheLog)
{
    SyncScenario s;
    s.one().add(person(u"Eve\r\n\tCONFLICT: Ada\n", u"Evil"));
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.logText(), testing::HasSubstr("CREATED in Second: Eve \tCONFLICT: Ada  Evil\r\n"));
    EXPECT_EQ(s.two().records.begin()->second.values.find(ftFirstName)->second, u"Eve\r\n\tCONFLICT: Ada\n") << "the contact keeps them";
}
