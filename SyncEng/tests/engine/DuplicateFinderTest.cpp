#include "People.h"
#include "SyncScenario.h"
#include "TestImages.h"
#include "WithoutDocuments.h"

#include <gmock/gmock.h>

namespace {

using mbtest::ada;
using mbtest::FakeField;
using mbtest::FakeValues;
using mbtest::SyncScenario;
using mbtest::WithoutDocuments;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

constexpr char asking[] = "Checking for possible duplicates by translator 2.";

// Translator 2 knows its duplicates itself.
class DuplicateFinder : public testing::Test {
protected:
    DuplicateFinder() { s.two().options.duplicates = true; }
    void expectNothingLost(std::size_t one, std::size_t two)
    {
        EXPECT_THAT(s.one().records, SizeIs(one));
        EXPECT_THAT(s.two().records, SizeIs(two));
        s.expectInStep();
    }
    SyncScenario s;
};

} // namespace

TEST(Duplicates, ATranslatorThatCannotFindThemIsNotAskedAndTheEngineSearches)
{
    SyncScenario s;
    s.one().add(ada());
    s.two().add(ada());
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.logText(), Not(HasSubstr(asking)));
    EXPECT_THAT(s.sink().labels, Not(Contains(u"Checking for possible duplicates by translator 2.")));
    EXPECT_THAT(s.logText(), HasSubstr("MATCHED: Ada Lovelace"));
}

TEST_F(DuplicateFinder, IsAskedForEachNewRecordBetweenItsBeginAndItsEnd)
{
    const auto id = s.one().add(ada());
    s.one().add({{ftLastName, u"Babbage"}});
    s.two().options.duplicateOf[id] = s.two().add(ada());
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.logText(), HasSubstr(asking));
    EXPECT_THAT(s.log().starting("2 BeginFindDuplicate"), SizeIs(1));
    EXPECT_THAT(s.log().starting("2 FindDuplicate"), SizeIs(2));
    EXPECT_THAT(s.log().starting("2 EndFindDuplicate"), SizeIs(1));
    EXPECT_THAT(s.logText(), HasSubstr("MATCHED: Ada Lovelace"));
    expectNothingLost(2, 2);
}

TEST_F(DuplicateFinder, APairThatDiffersIsAConflictAndTheEngineDoesNotPairItAgain)
{
    const auto id = s.one().add(ada(u"Countess"));
    s.two().options.duplicateOf[id] = s.two().add(ada(u"Mathematician"));
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.logText(), HasSubstr("\tPOSSIBLE DUPLICATE: Ada Lovelace"));
    EXPECT_THAT(s.logText(), HasSubstr("\tCONFLICT: Ada Lovelace"));
    expectNothingLost(2, 2);
}

TEST_F(DuplicateFinder, FieldsOfOneTypeAreComparedByTheValueThatIsKeptForTheType)
{
    s.one().fields.push_back({ftTitle, u"Second title", 0, 0, dtString, 1});
    s.two().fields.push_back({ftHobby, u"Hobby"});
    const FakeField& second = s.one().fields.back();
    s.makeMap(); // the second title goes with the title
    GUID fieldMap{};
    ASSERT_EQ(s.maps()->GetFieldMap(s.map(), &fieldMap), S_OK);
    ASSERT_EQ(s.create<IFieldMap>(__uuidof(FieldMap))->AddMapEntry(fieldMap, s.one().guidOf(ftTitle), s.two().guidOf(ftHobby)), S_OK);

    const auto id = s.one().add({{ftLastName, u"Lovelace"}, {ftTitle, u"Chess"}, {second.key(), u"Countess"}});
    s.two().options.duplicateOf[id] = s.two().add({{ftLastName, u"Lovelace"}, {ftTitle, u"Countess"}, {ftHobby, u"Chess"}});
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.logText(), HasSubstr("POSSIBLE DUPLICATE")) << "the title that was read last stands for both";
}

TEST_F(DuplicateFinder, ARecordThatIsNotListedGetsATaskOfItsOwn)
{
    // Known to the store, yet left out of its listing.
    const auto id = s.one().add(ada());
    const auto hidden = s.two().add(ada());
    s.two().add({{ftLastName, u"Babbage"}});
    std::erase(s.two().order, hidden);
    s.two().options.duplicateOf[id] = hidden;
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.logText(), HasSubstr("MATCHED: Ada Lovelace"));
    EXPECT_THAT(s.log().starting("2 BeginEditRecord"), ElementsAre("2 BeginEditRecord " + std::string(hidden.begin(), hidden.end())));
}

TEST_F(DuplicateFinder, AnInventedRecordIsNone)
{
    const auto id = s.one().add(ada());
    s.two().add({{ftLastName, u"Babbage"}});
    s.two().options.duplicateOf[id] = u"no such record";
    EXPECT_EQ(s.sync(), S_OK);
    expectNothingLost(2, 2);
}

TEST_F(DuplicateFinder, ARecordNamedTwiceIsPairedOnce)
{
    const auto first = s.one().add(ada());
    const auto second = s.one().add(ada());
    const auto partner = s.two().add(ada());
    s.two().options.duplicateOf[first] = s.two().options.duplicateOf[second] = partner;
    EXPECT_EQ(s.sync(), S_OK);
    expectNothingLost(2, 2);
}

TEST_F(DuplicateFinder, ASearchThatCannotBeginIsEndedAndTheEngineSearches)
{
    s.one().add(ada());
    s.two().add(ada());
    s.log().failOn("2 BeginFindDuplicate", 1, E_FAIL);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.log().starting("2 FindDuplicate"), IsEmpty());
    EXPECT_THAT(s.log().starting("2 EndFindDuplicate"), SizeIs(1));
    expectNothingLost(1, 1);
}

// A cancel at the end of the search cannot end the run at once: the next call on that store does, or the end of the stages.
TEST_F(DuplicateFinder, ACancelAtTheEndOfItsSearchCountsAlsoWhereTheOtherStoreFailsBeforeItIsNoticed)
{
    const auto id = s.one().add(ada());
    ASSERT_EQ(s.sync(), S_OK);
    s.one().set(id, ftCity1, u"Paris");
    s.two().set(s.two().order.back(), ftCity1, u"Rome");
    s.log().failNext("2 EndFindDuplicate", E_ABORT);
    const int reads = s.log().count("1 BeginReadRecord");
    s.log().failOn("1 BeginReadRecord", reads + 2, E_OUTOFMEMORY); // as the two changes are compared
    EXPECT_EQ(s.sync(), E_ABORT);
    EXPECT_EQ(s.log().count("1 BeginReadRecord"), reads + 2) << "the failure came after the cancel";
}

TEST_F(DuplicateFinder, AQuestionThatFailsMidwayLeavesThatRecordNew)
{
    s.one().add({{ftLastName, u"Babbage"}});
    const auto id = s.one().add(ada());
    s.two().options.duplicateOf[id] = s.two().add(ada(u"Mathematician"));
    s.log().failOn("2 FindDuplicate", 1, E_FAIL);
    EXPECT_EQ(s.sync(), S_OK);
    expectNothingLost(3, 3);
}

TEST_F(DuplicateFinder, InOneDirectionItIsNotAsked)
{
    s.setOption(soSyncType, stExportFromTrans1);
    const auto id = s.one().add(ada());
    s.two().options.duplicateOf[id] = s.two().add(ada());
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.log().starting("2 BeginFindDuplicate"), IsEmpty());
    EXPECT_THAT(s.one().records, SizeIs(1));
    EXPECT_THAT(s.two().records, SizeIs(2));
}

TEST_F(DuplicateFinder, ACancelledWalkIsEndedAndNothingIsWritten)
{
    s.one().add(ada());
    s.one().add({{ftLastName, u"Babbage"}});
    s.two().add(ada());
    s.makeMap();
    s.sink().cancelAtLabel = u"Checking for possible duplicates by translator 2.";
    EXPECT_EQ(s.sync(), E_ABORT);
    EXPECT_THAT(s.log().starting("2 FindDuplicate"), SizeIs(1)) << "the first report was answered with a cancel";
    EXPECT_THAT(s.log().starting("2 EndFindDuplicate"), SizeIs(1));
    EXPECT_THAT(s.writes(), IsEmpty());
}

TEST_F(DuplicateFinder, APairThatDiffersInAPictureAloneIsLinked)
{
    for (mbtest::FakeStore* store : {&s.one(), &s.two()}) store->addImageFields();
    FakeValues one = ada(), two = ada();
    one[ftImage1] = mbtest::makePicture(20, 10);
    one[ftImage2] = mbtest::makePicture(30, 20);
    two[ftImage1] = mbtest::makePicture(40, 30);
    const auto id = s.one().add(one);
    s.two().options.duplicateOf[id] = s.two().add(two);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.lastLog(), HasSubstr("MATCHED: Ada Lovelace"));
    EXPECT_THAT(s.lastLog(), Not(HasSubstr("POSSIBLE DUPLICATE")));
    EXPECT_THAT(s.log().starting("2 WriteField"), IsEmpty());
    EXPECT_THAT(s.log().starting("1 WriteField"), IsEmpty());
    EXPECT_THAT(s.one().records, SizeIs(1));
    EXPECT_THAT(s.two().records, SizeIs(1));
}

TEST(Duplicates, WithoutDocumentsTheSearchIsMadeInMemory)
{
    SyncScenario s;
    s.one().add(ada());
    s.two().add(ada());
    s.one().add({{ftLastName, u"Babbage"}, {ftFirstName, u"Charles"}, {ftTitle, u"x"}});
    s.two().add({{ftLastName, u"Babbage"}, {ftFirstName, u"Charles"}, {ftTitle, u"y"}});
    {
        const WithoutDocuments broken;
        EXPECT_EQ(s.sync(), S_OK);
    }
    EXPECT_THAT(s.sink().labels, Contains(u"Checking for possible duplicates by Sync Engine."));
    EXPECT_THAT(s.sink().labels, Not(Contains(u"Searching for exact duplicates.")));
    EXPECT_THAT(s.logText(), HasSubstr("MATCHED: Ada Lovelace"));
    EXPECT_THAT(s.logText(), HasSubstr("CONFLICT: Charles Babbage"));
    EXPECT_THAT(s.one().records, SizeIs(3));
    EXPECT_THAT(s.two().records, SizeIs(3));
    s.expectInStep();
}

TEST(Duplicates, AFinderCannotTakeThePartnerOfALinkedRecordThatDidNotChange)
{
    SyncScenario s;
    s.two().options.duplicates = true;
    s.one().add(ada());
    ASSERT_EQ(s.sync(), S_OK);
    const auto linked = s.two().order.front();
    const auto made = s.one().add(ada());
    s.two().add(mbtest::person(u"Grace", u"Hopper")); // so that there is something to search for
    s.two().options.duplicateOf[made] = linked;
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.one().records, SizeIs(3));
    EXPECT_THAT(s.two().records, SizeIs(3)) << "the new contact was copied";
    s.expectInStep();
}

TEST(Duplicates, ALastNameWithAQuoteIsFoundByTheRuleInMemory)
{
    SyncScenario s;
    s.one().add({{ftLastName, u"O\"Hara"}, {ftFirstName, u"Ann"}, {ftTitle, u"x"}});
    s.two().add({{ftLastName, u"O\"Hara"}, {ftFirstName, u"Ann"}, {ftTitle, u"y"}});
    const WithoutDocuments broken;
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.logText(), HasSubstr("CONFLICT: Ann O\"Hara"));
}

TEST(Duplicates, ARecordThatCannotBeReadWaitsWithItsPossiblePartnersInMemory)
{
    SyncScenario s;
    s.one().add(ada());
    s.two().add(ada());
    s.one().add({{ftLastName, u"Babbage"}});
    const WithoutDocuments broken;
    s.log().failOn("1 BeginReadRecord", 1, E_FAIL);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.one().records, SizeIs(2));
    EXPECT_THAT(s.two().records, SizeIs(2)) << "the other new contact was copied";
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.one().records, SizeIs(2)) << "the contact of both sides was found once it could be read";
    s.expectInStep();
}

TEST(Duplicates, TwoContactsOfWhichNothingCouldBeReadAreNotOneInMemory)
{
    SyncScenario s;
    s.one().add(ada());
    s.two().add({{ftLastName, u"Babbage"}});
    s.makeMap();
    for (int n = 1; n <= 30; ++n) s.log().failOn("ReadField", n, E_FAIL);
    const WithoutDocuments broken;
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.one().records, SizeIs(1)) << "both wait";
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.one().records, SizeIs(2));
    EXPECT_EQ(SyncScenario::contents(s.one()), SyncScenario::contents(s.two()));
}

// An image field that goes with a text of side 2: side 1 has nothing to give, so its record sends nothing and receives all.
TEST(Duplicates, AContactThatOnlySideTwoCanAddToIsNotSentThereInMemory)
{
    SyncScenario s;
    s.one().fields.push_back({ftImage1, u"Picture"});
    s.two().fields.push_back({ftCustom1, u"Custom"});
    s.mapFields(ftImage1, ftCustom1);
    FakeValues two = ada();
    two[ftCustom1] = u"told by side 2";
    const auto id1 = s.one().add(ada());
    s.two().add(two);
    {
        const WithoutDocuments broken;
        EXPECT_EQ(s.sync(), S_OK);
    }
    EXPECT_THAT(s.log().starting("2 SaveRecord"), IsEmpty());
    EXPECT_THAT(s.log().starting("1 BeginEditRecord"), ElementsAre("1 BeginEditRecord " + std::string(id1.begin(), id1.end())));
    EXPECT_EQ(s.one().get(id1, ftImage1), u"told by side 2");
    EXPECT_THAT(s.one().records, SizeIs(1));
    EXPECT_THAT(s.two().records, SizeIs(1));
}

TEST(Duplicates, ACategoryPassInMemoryHasALabelOfItsOwn)
{
    SyncScenario s;
    for (mbtest::FakeStore* store : {&s.one(), &s.two()}) {
        store->options.categories = true;
        store->addCategory(u"Friends");
    }
    const WithoutDocuments broken;
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.sink().labels, Contains(u"Checking for possible duplicates by Sync Engine (categories)."));
    EXPECT_THAT(s.sink().labels, Not(Contains(u"Checking for possible duplicates by Sync Engine.")));
    EXPECT_THAT(s.one().categories, SizeIs(1));
    EXPECT_THAT(s.two().categories, SizeIs(1));
}

TEST(Duplicates, NoResultInMemoryIsToldTheSameWay)
{
    SyncScenario s;
    s.one().add(ada());
    s.two().add({{ftLastName, u"Babbage"}});
    const WithoutDocuments broken;
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.logText(), HasSubstr("No duplicates found"));
}

TEST(Duplicates, OddIdentifiersLoseNoRecord)
{
    const std::u16string odd[] = {
        u"it's \"quoted\"", u"[brackets] and <tags> & more", u"line\r\nend", std::u16string(10'000, u'x'), u"'", u"\"", u"a=b]"};
    SyncScenario s;
    for (auto* store : {&s.one(), &s.two()})
        store->options.makeId = [&odd, suffix = store == &s.one() ? u"" : u" two"](int n) {
            const std::size_t i = static_cast<std::size_t>(n - 1);
            return i < std::size(odd) ? odd[i] + suffix : suffix + std::u16string(static_cast<std::size_t>(n), u'y');
        };
    for (std::size_t i = 0; i < std::size(odd); ++i) {
        FakeValues values = ada();
        values[ftFirstName] = u"Number " + std::u16string(i + 1, u'i');
        s.one().add(values);
        if (i % 2 == 0) s.two().add(values);
    }
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.one().records, SizeIs(std::size(odd)));
    EXPECT_THAT(s.two().records, SizeIs(std::size(odd)));
    s.expectInStep();
}

TEST(Duplicates, IdentifiersThatDifferInCaseAloneAreOneRecordToTheEngine)
{
    SyncScenario s;
    s.one().add(u"abc", ada());
    s.one().add(u"ABC", {{ftLastName, u"Babbage"}});
    s.two().add({{ftLastName, u"Hopper"}});
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_TRUE(s.one().has(u"abc"));
    EXPECT_TRUE(s.one().has(u"ABC"));
    EXPECT_THAT(s.one().records, SizeIs(3)) << "both stay where they are, and the other side's contact came";
}
