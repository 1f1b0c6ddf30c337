// What a contact is called in the log: its first and last name, from the values that were read already or from the store.
#include "People.h"
#include "SyncScenario.h"

#include <gmock/gmock.h>
#include <regex>

namespace {

using mbtest::FakeField;
using mbtest::FakeStore;
using mbtest::person;
using mbtest::SyncScenario;
using testing::ElementsAre;
using testing::SizeIs;

class NamesInTheLog : public testing::Test {
protected:
    // What stands behind the text in each line of the last run's log that begins with it.
    std::vector<std::string> named(const std::string& text)
    {
        const std::string log = s.lastLog();
        const std::regex line("\t" + text + ": ([^\r]*)\r\n");
        std::vector<std::string> names;
        for (std::sregex_iterator at(log.begin(), log.end(), line), end; at != end; ++at) names.push_back((*at)[1]);
        return names;
    }
    // Another field of a type that the store has already, listed behind it.
    static LONG addSecond(FakeStore& store, LONG type)
    {
        const LONG key = store.addDynamicField(u"Second of type " + std::u16string(1, static_cast<char16_t>(u'0' + type)));
        store.fields.back().type = type;
        return key;
    }
    void addFourOnSideOne()
    {
        s.one().add(person(u"Ada", u"Lovelace"));
        s.one().add({{ftLastName, u"Lovelace"}, {ftTitle, u"Countess"}});
        s.one().add({{ftFirstName, u"Ada"}, {ftTitle, u"Countess"}});
        s.one().add({{ftCompany, u"Analytical Engines"}});
    }
    SyncScenario s;
};

} // namespace

TEST_F(NamesInTheLog, AreReadFromTheStoreWhereNothingWasReadYet)
{
    addFourOnSideOne();
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(named("CREATED in Second"), ElementsAre("Ada Lovelace", "Lovelace", "Ada ", "")) << "a company is no name";
}

TEST_F(NamesInTheLog, AreTakenFromTheValuesThatTheSearchForDuplicatesRead)
{
    addFourOnSideOne();
    s.two().add(person(u"Grace", u"Hopper"));
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(named("CREATED in Second"), ElementsAre("Ada Lovelace", "Lovelace", "Ada ", ""));
    EXPECT_THAT(named("CREATED in First"), ElementsAre("Grace Hopper"));
    EXPECT_THAT(s.log().starting("1 ReadField A000001 First name"), SizeIs(1)) << "for the search";
    EXPECT_THAT(s.log().starting("1 BeginReadRecord A000001"), SizeIs(2)) << "for the search, and for the write";
}

// What the map leaves out is not among the values, and is read from the store.
TEST_F(NamesInTheLog, AreReadFromTheStoreWhereTheValuesLackOneOfThem)
{
    for (const LONG mapped : {ftFirstName, ftLastName}) {
        SCOPED_TRACE(mapped == ftFirstName ? "without the last name" : "without the first name");
        ASSERT_EQ(s.create<IFieldMap>(__uuidof(FieldMap))->DeleteMap(s.fieldMapId()), S_OK);
        s.mapFields(mapped, mapped);
        s.mapFields(ftTitle, ftTitle);
        for (FakeStore* store : {&s.one(), &s.two()})
            while (!store->order.empty()) store->remove(std::u16string(store->order.back()));
        s.one().add({{ftFirstName, u"Ada"}, {ftLastName, u"Lovelace"}, {ftTitle, u"Countess"}});
        s.two().add({{ftFirstName, u"Alan"}, {ftLastName, u"Turing"}, {ftTitle, u"Doctor"}});
        ASSERT_EQ(s.resync(), S_OK);
        EXPECT_THAT(named("CREATED in Second"), ElementsAre("Ada Lovelace"));
        EXPECT_THAT(named("CREATED in First"), ElementsAre("Alan Turing"));
    }
}

TEST_F(NamesInTheLog, StandInTheLastFieldOfEachType)
{
    const LONG first = addSecond(s.one(), ftFirstName), last = addSecond(s.one(), ftLastName);
    s.one().add({{ftFirstName, u"former first"}, {ftLastName, u"former last"}, {first, u"Ada"}, {last, u"Lovelace"}});
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(named("CREATED in Second"), ElementsAre("Ada Lovelace"));
}

TEST_F(NamesInTheLog, AreEmptyWhereTheStoreHasNoFieldForOneOfThem)
{
    for (const LONG missing : {ftFirstName, ftLastName}) {
        std::erase_if(s.one().fields, [&](const FakeField& field) { return field.type == missing; });
        s.one().add(person(u"Ada", u"Lovelace"));
        ASSERT_EQ(s.sync(), S_OK);
        EXPECT_THAT(named("CREATED in Second"), ElementsAre("")) << missing;
        s.one().fields.push_back({missing, u"Name"});
    }
}

TEST_F(NamesInTheLog, AreEmptyWhereTheStoreListsNoFields)
{
    s.makeMap();
    s.one().options.fieldList = false;
    s.one().add(person(u"Ada", u"Lovelace"));
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(named("CREATED in Second"), ElementsAre(""));
}

TEST_F(NamesInTheLog, ANameThatCannotBeReadIsEmptyAndTheRunGoesOn)
{
    s.one().add(person(u"Ada", u"Lovelace"));
    s.one().add(person(u"Grace", u"Hopper"));
    s.makeMap();
    s.log().failOn("1 BeginReadRecord", 1, E_FAIL);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(named("CREATED in Second"), ElementsAre("", "Grace Hopper"));
    EXPECT_THAT(s.two().records, SizeIs(2));
}

TEST_F(NamesInTheLog, OfALaterRunAreThoseThatTheContactHasThen)
{
    const auto id1 = s.one().add(person(u"Ada", u"Byron"));
    const auto gone = s.one().add(person(u"Charles", u"Babbage"));
    ASSERT_EQ(s.sync(), S_OK);
    EXPECT_THAT(named("CREATED in Second"), ElementsAre("Ada Byron", "Charles Babbage"));
    s.one().set(id1, ftLastName, u"Lovelace");
    s.one().remove(gone);
    ASSERT_EQ(s.sync(), S_OK);
    EXPECT_THAT(named("UPDATED in Second"), ElementsAre("Ada Lovelace"));
    EXPECT_THAT(named("DELETED in Second"), ElementsAre("Charles Babbage")) << "as the store that loses it has it";
    s.two().set(s.two().order.at(0), ftFirstName, u"Augusta");
    ASSERT_EQ(s.sync(), S_OK);
    EXPECT_THAT(named("UPDATED in First"), ElementsAre("Augusta Lovelace"));
    s.two().remove(std::u16string(s.two().order.at(0)));
    ASSERT_EQ(s.sync(), S_OK);
    EXPECT_THAT(named("DELETED in First"), ElementsAre("Augusta Lovelace"));
}

TEST_F(NamesInTheLog, OfALaterRunStandInTheFieldsThatTheStoreHasThen)
{
    s.one().add(person(u"Ada", u"Lovelace"));
    ASSERT_EQ(s.sync(), S_OK);
    const LONG last = addSecond(s.one(), ftLastName);
    s.one().add({{ftFirstName, u"Grace"}, {ftLastName, u"Murray"}, {last, u"Hopper"}});
    ASSERT_EQ(s.sync(), S_OK);
    EXPECT_THAT(named("CREATED in Second"), ElementsAre("Grace Hopper"));
}

TEST_F(NamesInTheLog, OfAConflictAreThoseOfSideOne)
{
    const auto id1 = s.one().add(person(u"Ada", u"Lovelace"));
    ASSERT_EQ(s.sync(), S_OK);
    s.one().set(id1, ftFirstName, u"Augusta");
    s.two().set(s.two().order.at(0), ftFirstName, u"Byron");
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(named("CONFLICT"), ElementsAre("Augusta Lovelace"));
}
