#include "People.h"
#include "SyncScenario.h"

#include <gmock/gmock.h>

namespace {

using mbtest::FakeValues;
using mbtest::person;
using mbtest::SyncScenario;
using testing::HasSubstr;
using testing::Not;

// Two sides in step with some people on them.
class TwoWaySync : public testing::Test {
protected:
    TwoWaySync()
    {
        ada = s.one().add({{ftFirstName, u"Ada"}, {ftLastName, u"Lovelace"}, {ftCity1, u"London"}, {ftPhone, u"1"}});
        alan = s.two().add({{ftFirstName, u"Alan"}, {ftLastName, u"Turing"}, {ftCity1, u"Wilmslow"}});
        EXPECT_EQ(s.sync(), S_OK);
        ada2 = s.two().order.back();
        alan1 = s.one().order.back();
    }
    SyncScenario s;
    std::u16string ada, ada2, alan, alan1;
};

} // namespace

TEST_F(TwoWaySync, AChangeOnOneSideReachesTheOther)
{
    s.one().set(ada, ftCity1, u"Paris");
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.two().get(ada2, ftCity1), u"Paris");
    s.expectInStep();
}

TEST_F(TwoWaySync, OnlyTheFieldsThatDifferAreWritten)
{
    s.two().set(ada2, ftCity1, u"Rome");
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.log().starting("1 WriteField"), (std::vector<std::string>{"1 WriteField A000001 City=Rome"}));
    s.expectInStep();
}

TEST_F(TwoWaySync, BothSidesMayChangeDifferentContacts)
{
    s.one().set(ada, ftPhone, u"2");
    s.two().set(alan, ftNotes, u"Enigma");
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.two().get(ada2, ftPhone), u"2");
    EXPECT_EQ(s.one().get(alan1, ftNotes), u"Enigma");
    s.expectInStep();
}

TEST_F(TwoWaySync, ADeletionOnOneSideIsMadeOnTheOther)
{
    s.one().remove(ada);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_FALSE(s.two().has(ada2));
    EXPECT_TRUE(s.two().has(alan));
    s.expectInStep();
}

TEST_F(TwoWaySync, AnEmptyValueOnAChangeClearsTheTargetsField)
{
    s.one().set(ada, ftPhone, u"");
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.log().starting("2 WriteField"), (std::vector<std::string>{"2 WriteField B000002 Phone="}));
    EXPECT_EQ(s.two().get(ada2, ftPhone), u"");
    s.expectInStep();
}

TEST_F(TwoWaySync, ANewerDateWithTheSameValuesIsNoChangeAndIsNotReadAgain)
{
    s.one().touch(ada);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.writes(), std::vector<std::string>());
    EXPECT_FALSE(s.log().starting("1 ReadField " + std::string("A000001")).empty());
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.log().starting("1 ReadField"), std::vector<std::string>());
}

TEST_F(TwoWaySync, ADateThatWentBackwardsIsNoChangeThoughAFieldChanged)
{
    s.one().records.at(ada).values[ftCity1] = u"Paris";
    s.one().records.at(ada).modified -= 1000.0;
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.writes(), std::vector<std::string>());
}

TEST_F(TwoWaySync, AValueThatDiffersInCaseOrOuterBlanksIsNoChange)
{
    s.one().set(ada, ftCity1, u"  LONDON ");
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.writes(), std::vector<std::string>());
}

TEST_F(TwoWaySync, ARecordGoneOnBothSidesIsUnlinkedAndMakesNoTask)
{
    s.one().remove(ada);
    s.two().remove(ada2);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.writes(), std::vector<std::string>());
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.log().starting("1 FindRecord A000001"), std::vector<std::string>()) << "the history has forgotten it";
}

TEST_F(TwoWaySync, WithNoTasksSideTwoGetsABatchAndSideOneNone)
{
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.log().starting("2 BeginUpdate").size(), 1u);
    EXPECT_EQ(s.log().starting("2 EndUpdate").size(), 1u);
    EXPECT_EQ(s.log().starting("1 BeginUpdate").size(), 0u);
    EXPECT_EQ(s.log().starting("1 EndUpdate").size(), 0u);
    com::Bstr database1, database2;
    EXPECT_EQ(s.maps()->GetLastSyncDatabase(s.map(), database1.put(), database2.put()), S_OK);
    EXPECT_EQ(database1.view(), u"store of A");
    EXPECT_EQ(database2.view(), u"store of B");
}

TEST_F(TwoWaySync, AStoreWithoutDatesIsComparedFieldByField)
{
    s.one().options.dates = false;
    s.one().records.at(ada).values[ftCity1] = u"Paris";
    EXPECT_EQ(s.sync(), S_OK) << "the dates of the history are known, the present ones are not";
    EXPECT_EQ(s.two().get(ada2, ftCity1), u"Paris");
    s.one().records.at(ada).values[ftCity1] = u"Oslo";
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.two().get(ada2, ftCity1), u"Oslo");
}

TEST_F(TwoWaySync, AStoreWithoutBatchesSynchronisesNormally)
{
    s.two().options.batches = false;
    s.one().set(ada, ftCity1, u"Paris");
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.two().get(ada2, ftCity1), u"Paris");
}

TEST_F(TwoWaySync, AnIdentifierThatChangesOnSaveIsFollowed)
{
    s.two().options.newIdOnSave = true;
    s.one().set(ada, ftCity1, u"Paris");
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_FALSE(s.two().has(ada2));
    s.two().options.newIdOnSave = false;
    s.expectInStep();
    s.one().set(ada, ftCity1, u"Oslo");
    EXPECT_EQ(s.sync(), S_OK);
    s.expectInStep();
    EXPECT_EQ(s.two().records.size(), 2u);
}

TEST_F(TwoWaySync, AnIdentifierThatChangesOnSaveIsFollowedOnSideOneToo)
{
    s.one().options.newIdOnSave = true;
    s.two().set(ada2, ftCity1, u"Paris");
    EXPECT_EQ(s.sync(), S_OK);
    s.one().options.newIdOnSave = false;
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_TRUE(s.two().has(ada2)) << "the old identifier's absence is no deletion";
    s.expectInStep();
    EXPECT_EQ(s.one().records.size(), 2u);
}

TEST_F(TwoWaySync, AStoreThatRewritesValuesDoesNotSeemChanged)
{
    s.two().options.rewrite = [](LONG type, const std::u16string& text) { return type == ftPhone ? u"+" + text : text; };
    s.one().set(ada, ftPhone, u"44");
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.two().get(ada2, ftPhone), u"+44");
    s.two().touch(ada2);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.one().get(ada, ftPhone), u"44") << "the rewritten value is what the target was given";
}

TEST_F(TwoWaySync, IdentifiersThatAStoreChangedByItselfAreFollowed)
{
    s.two().options.updater = true;
    auto node = s.two().records.extract(ada2);
    node.key() = u"B999999";
    s.two().records.insert(std::move(node));
    std::ranges::replace(s.two().order, ada2, std::u16string(u"B999999"));
    s.two().options.changedIds[ada2] = u"B999999";
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.writes(), std::vector<std::string>());
    EXPECT_EQ(s.log().starting("2 SaveUpdatedRecordIds").size(), 1u);
    EXPECT_EQ(s.log().starting("2 InitializeWithProgress").size(), 1u) << "it takes the place of Initialize";
    s.expectInStep();
}

TEST_F(TwoWaySync, ReSynchronizeRunsFromAnEmptyHistory)
{
    s.setOption(soSyncType, stExportFromTrans1);
    EXPECT_EQ(s.resync(), S_OK);
    EXPECT_EQ(s.log().starting("2 BeginAddRecord").size(), 2u) << "every record of side 1 is new";
}

TEST_F(TwoWaySync, AOneWayMapNeitherScansNorWritesTheOtherSide)
{
    s.setOption(soSyncType, stExportFromTrans1);
    s.one().set(ada, ftCity1, u"Paris");
    s.two().set(alan, ftCity1, u"Rome");
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.two().get(ada2, ftCity1), u"Paris");
    EXPECT_EQ(s.one().get(alan1, ftCity1), u"Wilmslow");
    EXPECT_EQ(s.log().starting("1 BeginUpdate"), std::vector<std::string>());
    EXPECT_EQ(s.log().starting("2 GetRecordCount"), std::vector<std::string>());
    s.setOption(soSyncType, stImportToTrans1);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.one().get(alan1, ftCity1), u"Rome");
    EXPECT_EQ(s.log().starting("2 BeginUpdate"), std::vector<std::string>());
}

TEST_F(TwoWaySync, OneStoreOnBothSidesEndsAtOnceWithoutALogLine)
{
    s.two().options.database = u"STORE of a";
    const std::string before = s.logText();
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.log().starting("1 GetRecordCount"), std::vector<std::string>());
    const std::string added = s.logText().substr(before.size());
    EXPECT_THAT(added, Not(HasSubstr("Start synchronizing contacts.")));
}

TEST_F(TwoWaySync, AnExchangedDatabaseBeginsAnew)
{
    s.setOption(soSyncType, stExportFromTrans1);
    s.one().options.database = u"another store";
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.logText(), HasSubstr("Database has been changed since previous synchronization"));
    EXPECT_EQ(s.log().starting("2 BeginAddRecord").size(), 2u);
}

TEST_F(TwoWaySync, UnverifiedRecordsGetNoTaskButAreCounted)
{
    s.setOption(soSyncVerified, 1);
    const auto id = s.one().add(person(u"Grace", u"Hopper"));
    s.one().records.at(id).verified = false;
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.two().records.size(), 2u);
    EXPECT_THAT(s.logText(), HasSubstr("First has 3 records"));
    EXPECT_THAT(s.logText(), HasSubstr("\tNOT VERIFIED: Grace Hopper (First, Second)\r\n"));
    s.one().records.at(id).verified = true;
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.two().records.size(), 3u) << "it comes up at each run until it is verified";
}

TEST_F(TwoWaySync, UnverifiedRecordsOfSideTwoAreToldWithTheSidesInTheSameOrder)
{
    s.setOption(soSyncVerified, 1);
    const auto id = s.two().add(person(u"Grace", u"Hopper"));
    s.two().records.at(id).verified = false;
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.logText(), HasSubstr("\tNOT VERIFIED: Grace Hopper (First, Second)\r\n"));
}

TEST_F(TwoWaySync, AStatusThatChangedAloneIsNoChange)
{
    for (auto* store : {&s.one(), &s.two()}) store->fields.push_back({ftRecordStatus, u"Status"});
    GUID fieldMapId{};
    EXPECT_EQ(s.maps()->GetFieldMap(s.map(), &fieldMapId), S_OK);
    EXPECT_EQ(s.create<IFieldMap>(__uuidof(FieldMap))->CreateDefaultMap(fieldMapId), S_OK);
    s.one().set(ada, ftRecordStatus, u"2");
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.writes(), std::vector<std::string>());
}

TEST_F(TwoWaySync, AChangedValueTravelsAsItWasReadWithItsOuterBlanks)
{
    s.one().set(ada, ftCity1, u" Paris ");
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.two().get(ada2, ftCity1), u" Paris ");
}

TEST_F(TwoWaySync, TheProgressTellsEachStageAndReachesTheEnd)
{
    s.one().set(ada, ftCity1, u"Paris");
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.sink().labels, testing::ElementsAre(u"Analyzing synchronization history.", u"Loading synchronization history.",
                                                      u"Loading synchronization tasks."));
    EXPECT_DOUBLE_EQ(s.sink().lastPercent, 100.0);
}

TEST(HostCards, AChangeOfOnePartOfTheNameWritesTheOtherPartsBackAndLeavesTheAddressAlone)
{
    constexpr GUID host{0xC8679015, 0x906F, 0x4A0A, {0x87, 0x77, 0xFA, 0xD9, 0x45, 0xB2, 0xDD, 0xB6}};
    SyncScenario s(host);
    const auto id = s.one().add({{ftFirstName, u"Ada"}, {ftMiddleName, u"King"}, {ftLastName, u"Byron"}, {ftCity1, u"London"}});
    EXPECT_EQ(s.sync(), S_OK);
    s.two().set(s.two().order.back(), ftLastName, u"Lovelace");
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.log().starting("1 WriteField"),
                testing::ElementsAre("1 WriteField A000001 Last name=Lovelace", "1 WriteField A000001 First name=Ada",
                                     "1 WriteField A000001 Middle name=King"));
    EXPECT_EQ(s.one().get(id, ftCity1), u"London");
    s.expectInStep();
}

TEST(HostCards, EachNameAndAddressIsWrittenBackWhole)
{
    constexpr GUID host{0xC8679015, 0x906F, 0x4A0A, {0x87, 0x77, 0xFA, 0xD9, 0x45, 0xB2, 0xDD, 0xB6}};
    const std::vector<std::vector<LONG>> units = {{ftNamePrefix, ftFirstName, ftMiddleName, ftLastName, ftNameSuffix},
                                                  {ftStreet1, ftCity1, ftState1, ftZipCode1, ftCountry1},
                                                  {ftStreet2, ftCity2, ftState2, ftZipCode2, ftCountry2}};
    SyncScenario s(host);
    FakeValues card{{ftTitle, u"Countess"}};
    for (mbtest::FakeStore* store : {&s.one(), &s.two()}) store->fields = {{ftTitle, u"Title"}};
    for (const auto& unit : units)
        for (const LONG type : unit) {
            const std::string name = "Field" + std::to_string(type) + ".";
            for (mbtest::FakeStore* store : {&s.one(), &s.two()}) store->fields.push_back({type, std::u16string(name.begin(), name.end())});
            card[type] = u"old";
        }
    s.one().add(card);
    ASSERT_EQ(s.sync(), S_OK);
    for (const auto& unit : units)
        for (const LONG changed : unit) {
            s.two().set(s.two().order.at(0), changed, u"new" + std::u16string(static_cast<std::size_t>(changed), u'!'));
            ASSERT_EQ(s.sync(), S_OK);
            const std::vector<std::string> written = s.log().starting("1 WriteField A000001 ");
            EXPECT_EQ(written.size(), unit.size()) << changed;
            for (const LONG type : unit)
                EXPECT_THAT(written, testing::Contains(HasSubstr("Field" + std::to_string(type) + "."))) << "after a change of " << changed;
        }
    s.expectInStep();
}
