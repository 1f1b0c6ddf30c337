// A run as its log and its translators see it, from the first line to the last.
#include "SyncScenario.h"

#include <gmock/gmock.h>
#include <regex>

namespace {

using mbtest::SyncScenario;
using testing::ElementsAreArray;
using testing::EndsWith;

// Two stores that offer much, with a contact each.
class RunStory : public testing::Test {
protected:
    RunStory()
    {
        s.one().fields = s.two().fields = {{ftFirstName, u"First name"}, {ftLastName, u"Last name"}};
        for (auto* store : {&s.one(), &s.two()}) store->options.userAccess = store->options.images = store->options.dynamicFields = true;
        ada = s.one().add({{ftFirstName, u"Ada"}, {ftLastName, u"Lovelace"}});
        alan2 = s.two().add({{ftFirstName, u"Alan"}, {ftLastName, u"Turing"}});
    }
    void deleteOneAndChangeTheOther()
    {
        s.one().remove(ada);
        s.two().set(alan2, ftFirstName, u"A");
    }
    // What a run adds to the log, without the times; a bare carriage return shows as a tilde.
    std::string logOfARun()
    {
        s.makeMap();
        const std::size_t before = s.logText().size();
        EXPECT_EQ(s.sync(), S_OK);
        const std::string added = std::regex_replace(s.logText().substr(before), std::regex("ed at .*"), "ed at TIME");
        return std::regex_replace(std::regex_replace(added, std::regex("\r\n"), "\n"), std::regex("\r"), "~");
    }
    SyncScenario s;
    std::u16string ada, alan2;
};

} // namespace

TEST_F(RunStory, AFirstRunAsksReadsAndWritesInThisOrder)
{
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.log().lines, ElementsAreArray(std::vector<std::string>{"1 Initialize",
                                                                         "1 SetAllowImage yes",
                                                                         "1 LoadDynamicFields 3000",
                                                                         "2 Initialize",
                                                                         "2 SetAllowImage yes",
                                                                         "2 LoadDynamicFields 3000",
                                                                         "1 GetSyncParams",
                                                                         "2 GetSyncParams",
                                                                         "1 GetRecordCount",
                                                                         "1 GetRecordID",
                                                                         "2 GetRecordCount",
                                                                         "2 GetRecordID",
                                                                         "1 GetRecordCount",
                                                                         "1 GetRecordID",
                                                                         "1 BeginReadRecord A000001",
                                                                         "1 ReadField A000001 First name",
                                                                         "1 ReadField A000001 Last name",
                                                                         "1 EndReadRecord A000001",
                                                                         "2 BeginReadRecord B000001",
                                                                         "2 ReadField B000001 First name",
                                                                         "2 ReadField B000001 Last name",
                                                                         "2 EndReadRecord B000001",
                                                                         "2 CanWrite silently",
                                                                         "2 BeginUpdate",
                                                                         "1 GetTranslatorCaps",
                                                                         "2 GetTranslatorCaps",
                                                                         "1 BeginReadRecord A000001",
                                                                         "2 BeginAddRecord",
                                                                         "2 WriteField B000002 First name=Ada",
                                                                         "2 WriteField B000002 Last name=Lovelace",
                                                                         "2 SaveRecord B000002",
                                                                         "1 EndReadRecord A000001",
                                                                         "2 BeginReadRecord B000002",
                                                                         "2 ReadField B000002 First name",
                                                                         "2 ReadField B000002 Last name",
                                                                         "2 EndReadRecord B000002",
                                                                         "1 GetTranslatorCaps",
                                                                         "1 GetModifiedDate A000001",
                                                                         "2 GetModifiedDate B000002",
                                                                         "2 EndUpdate",
                                                                         "1 CanWrite silently",
                                                                         "1 BeginUpdate",
                                                                         "2 GetTranslatorCaps",
                                                                         "1 GetTranslatorCaps",
                                                                         "2 BeginReadRecord B000001",
                                                                         "1 BeginAddRecord",
                                                                         "1 WriteField A000002 First name=Alan",
                                                                         "1 WriteField A000002 Last name=Turing",
                                                                         "1 SaveRecord A000002",
                                                                         "2 EndReadRecord B000001",
                                                                         "1 BeginReadRecord A000002",
                                                                         "1 ReadField A000002 First name",
                                                                         "1 ReadField A000002 Last name",
                                                                         "1 EndReadRecord A000002",
                                                                         "2 GetTranslatorCaps",
                                                                         "2 GetModifiedDate B000001",
                                                                         "1 GetModifiedDate A000002",
                                                                         "1 EndUpdate",
                                                                         "1 Cleanup",
                                                                         "2 Cleanup"}));
}

TEST_F(RunStory, ALaterRunAsksReadsAndWritesInThisOrder)
{
    EXPECT_EQ(s.sync(), S_OK);
    deleteOneAndChangeTheOther();
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.log().lines, ElementsAreArray(std::vector<std::string>{"1 Initialize",
                                                                         "1 SetAllowImage yes",
                                                                         "1 LoadDynamicFields 3000",
                                                                         "2 Initialize",
                                                                         "2 SetAllowImage yes",
                                                                         "2 LoadDynamicFields 3000",
                                                                         "1 GetSyncParams",
                                                                         "2 GetSyncParams",
                                                                         "1 GetRecordCount",
                                                                         "2 FindRecord B000002",
                                                                         "1 FindRecord A000001",
                                                                         "2 FindRecord B000001",
                                                                         "1 FindRecord A000002",
                                                                         "1 GetModifiedDate A000002",
                                                                         "1 GetRecordID",
                                                                         "2 GetRecordCount",
                                                                         "1 FindRecord A000001",
                                                                         "2 FindRecord B000002",
                                                                         "2 GetModifiedDate B000002",
                                                                         "1 FindRecord A000002",
                                                                         "2 FindRecord B000001",
                                                                         "2 GetModifiedDate B000001",
                                                                         "2 BeginReadRecord B000001",
                                                                         "2 ReadField B000001 First name",
                                                                         "2 EndReadRecord B000001",
                                                                         "2 GetRecordID",
                                                                         "2 GetRecordID",
                                                                         "2 BeginReadRecord B000001",
                                                                         "2 ReadField B000001 First name",
                                                                         "2 ReadField B000001 Last name",
                                                                         "2 EndReadRecord B000001",
                                                                         "2 CanWrite silently",
                                                                         "2 BeginUpdate",
                                                                         "2 BeginReadRecord B000002",
                                                                         "2 ReadField B000002 First name",
                                                                         "2 ReadField B000002 Last name",
                                                                         "2 EndReadRecord B000002",
                                                                         "2 DeleteRecord B000002",
                                                                         "2 EndUpdate",
                                                                         "1 CanWrite silently",
                                                                         "1 BeginUpdate",
                                                                         "2 BeginReadRecord B000001",
                                                                         "2 ReadField B000001 First name",
                                                                         "2 ReadField B000001 Last name",
                                                                         "2 EndReadRecord B000001",
                                                                         "2 GetTranslatorCaps",
                                                                         "1 GetTranslatorCaps",
                                                                         "2 BeginReadRecord B000001",
                                                                         "1 BeginEditRecord A000002",
                                                                         "1 WriteField A000002 First name=A",
                                                                         "2 ReadField B000001 Last name",
                                                                         "1 SaveRecord A000002",
                                                                         "2 EndReadRecord B000001",
                                                                         "1 BeginReadRecord A000002",
                                                                         "1 ReadField A000002 First name",
                                                                         "1 EndReadRecord A000002",
                                                                         "2 GetTranslatorCaps",
                                                                         "2 GetModifiedDate B000001",
                                                                         "1 GetModifiedDate A000002",
                                                                         "1 EndUpdate",
                                                                         "1 Cleanup",
                                                                         "2 Cleanup"}));
}

TEST_F(RunStory, TheLogTellsTheSteps)
{
    EXPECT_THAT(logOfARun(), EndsWith(R"(
~
Start synchronizing contacts.
~
First: store of A
Second: store of B
Two-way synchronization
First time synchronization
First has 1 records
Second has 1 records
~
No conflicts detected
~
No duplicates found
~
No conflicts detected
Copying started at TIME
~
	CREATED in Second: Ada Lovelace
~
	CREATED in First: Alan Turing
Copying ended at TIME
~
End synchronizing contacts.
~
Synchronization ended at TIME
)"));
    deleteOneAndChangeTheOther();
    EXPECT_EQ(logOfARun(), R"(~
Start synchronizing contacts.
~
First: store of A
Second: store of B
Two-way synchronization
First has 1 records
Second has 2 records
No conflicts detected
No duplicates found
Copying started at TIME
~
	DELETED in Second: Ada Lovelace
~
	UPDATED in First: A Turing
Copying ended at TIME
~
End synchronizing contacts.
~
Synchronization ended at TIME
)");
    s.setOption(soSyncType, stImportToTrans1);
    EXPECT_EQ(logOfARun(), R"(~
Start synchronizing contacts.
~
First: store of A
Second: store of B
One-way synchronization from Second to First
Second has 1 records
No conflicts detected
No duplicates found
Copying started at TIME
Copying ended at TIME
~
End synchronizing contacts.
~
Synchronization ended at TIME
)") << "no batch, so no line before it";
}
