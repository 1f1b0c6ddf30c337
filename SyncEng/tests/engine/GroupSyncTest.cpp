// Groups of contacts in a run: between two stores that know kinds they travel, and no store gets one as a person.
#include "SyncScenario.h"
#include "TextMatchers.h"

#include <gmock/gmock.h>

namespace {

using mbtest::FakeStore;
using mbtest::FakeValues;
using mbtest::SyncScenario;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::UnorderedElementsAre;

void addKindField(FakeStore& store) { store.fields.push_back({ftKind, u"Kind"}); }

FakeValues group(std::u16string name, std::u16string shown = {})
{
    FakeValues values{{ftLastName, std::move(name)}, {ftKind, u"group"}};
    if (!shown.empty()) values[ftDisplayName] = std::move(shown);
    return values;
}
FakeValues person(std::u16string name) { return {{ftLastName, std::move(name)}, {ftPhone, u"1"}}; }

// What an earlier version, without kinds, made of a store: the record has a kind, and its date did not move.
void becomeGroup(FakeStore& store, const std::u16string& id) { store.records.at(id).values[ftKind] = u"group"; }

std::multiset<std::u16string> names(const FakeStore& store)
{
    std::multiset<std::u16string> all;
    for (const auto& [id, record] : store.records)
        all.insert(store.get(id, ftKind) + (store.get(id, ftKind).empty() ? u"" : u" ") + store.get(id, ftLastName) +
                   store.get(id, ftDisplayName));
    return all;
}

class GroupSync : public testing::Test {
protected:
    void sync()
    {
        ASSERT_EQ(s.sync(), S_OK);
        EXPECT_EQ(s.log().violations, std::vector<std::string>());
    }
    void expectAtRest()
    {
        sync();
        EXPECT_THAT(s.writes(), IsEmpty()) << "a run without an edit writes nothing";
    }
    SyncScenario s;
};

class PairedGroupSync : public GroupSync {
protected:
    PairedGroupSync()
    {
        addKindField(s.one());
        addKindField(s.two());
        for (FakeStore* store : {&s.one(), &s.two()}) store->fields.push_back({ftDisplayName, u"Display name"});
    }
};

// Side 2 has no field for kinds.
class OneSidedGroupSync : public GroupSync {
protected:
    OneSidedGroupSync() { addKindField(s.one()); }
};

// Two stores that were in step before they offered kinds: a group is linked with the person that was made of it.
class LinkedGroupSync : public GroupSync {
protected:
    void begin(bool paired)
    {
        group1 = s.one().add({{ftLastName, u"Choir"}});
        s.one().add(person(u"Ada"));
        sync();
        for (const auto& [id, record] : s.two().records)
            if (s.two().get(id, ftLastName) == u"Choir") copy2 = id;
        addKindField(s.one());
        if (paired) addKindField(s.two());
        if (paired) s.mapFields(ftKind, ftKind);
        becomeGroup(s.one(), group1);
    }
    std::u16string group1, copy2;
};

} // namespace

TEST_F(PairedGroupSync, AGroupTravelsLikeAContact)
{
    const auto id1 = s.one().add(group(u"Choir"));
    sync();
    EXPECT_THAT(names(s.two()), UnorderedElementsAre(u"group Choir"));
    expectAtRest();
    s.one().set(id1, ftLastName, u"Chorus");
    sync();
    EXPECT_THAT(names(s.two()), UnorderedElementsAre(u"group Chorus"));
    s.two().remove(s.two().order.back());
    sync();
    EXPECT_THAT(s.one().records, IsEmpty());
    expectAtRest();
}

TEST_F(PairedGroupSync, AChangedKindIsAnEditOfAField)
{
    const auto id1 = s.one().add(person(u"Choir"));
    sync();
    s.one().set(id1, ftKind, u"group");
    sync();
    EXPECT_THAT(names(s.two()), UnorderedElementsAre(u"group Choir"));
    expectAtRest();
}

TEST_F(PairedGroupSync, AGroupMatchesAGroupAndAPersonAPerson)
{
    for (FakeStore* store : {&s.one(), &s.two()}) {
        store->add(group(u"Choir"));
        store->add({{ftLastName, u"Choir"}});
    }
    s.one().add(group(u"Team"));
    s.two().add({{ftLastName, u"Team"}});
    sync();
    for (const FakeStore* store : {&s.one(), &s.two()})
        EXPECT_THAT(names(*store), UnorderedElementsAre(u"group Choir", u"Choir", u"group Team", u"Team"));
    expectAtRest();
}

TEST_F(PairedGroupSync, AGroupIsTheSameByTheNameThatIsShown)
{
    s.one().add(group(u"", u"Choir"));
    s.one().add(group(u"", u"Team"));
    s.two().add({{ftLastName, u"Choir"}, {ftDisplayName, u"choir"}, {ftKind, u"group"}});
    s.two().add(group(u"", u"Family"));
    sync();
    EXPECT_EQ(s.one().records.size(), 3u) << s.logText();
    EXPECT_EQ(s.two().records.size(), 3u);
    expectAtRest();
}

TEST_F(OneSidedGroupSync, AGroupTakesNoPart)
{
    const auto id1 = s.one().add(group(u"Choir"));
    s.one().add(person(u"Ada"));
    sync();
    EXPECT_THAT(names(s.two()), UnorderedElementsAre(u"Ada"));
    EXPECT_THAT(s.logText(), HasSubstr("First: 1 groups take no part, because groups are not mapped to Second."));
    expectAtRest();
    s.one().set(id1, ftLastName, u"Chorus");
    s.two().add({{ftLastName, u"Chorus"}});
    sync();
    EXPECT_THAT(names(s.one()), UnorderedElementsAre(u"group Chorus", u"Chorus", u"Ada"));
    s.one().remove(id1);
    sync();
    EXPECT_THAT(names(s.two()), UnorderedElementsAre(u"Chorus", u"Ada"));
}

TEST_F(OneSidedGroupSync, AKindThatCannotBeReadWaits)
{
    s.one().add(group(u"Choir"));
    s.one().add(person(u"Ada"));
    s.one().options.unreadable = {ftKind};
    sync();
    EXPECT_THAT(s.two().records, IsEmpty());
    EXPECT_THAT(s.logText(), HasSubstr("could not read the kind"));
    s.one().options.unreadable.clear();
    sync();
    EXPECT_THAT(names(s.two()), UnorderedElementsAre(u"Ada"));
}

TEST_F(PairedGroupSync, WhereTheMapDoesNotPairKindsGroupsOfBothSidesStay)
{
    s.pairFields({{ftLastName, ftLastName}, {ftPhone, ftPhone}});
    s.one().add(group(u"Choir"));
    s.two().add(group(u"Team"));
    s.two().add({{ftLastName, u"Choir"}});
    sync();
    EXPECT_THAT(names(s.one()), UnorderedElementsAre(u"group Choir", u"Choir"));
    EXPECT_THAT(names(s.two()), UnorderedElementsAre(u"group Team", u"Choir"));
    expectAtRest();
}

TEST_F(PairedGroupSync, AGroupWhoseKindIsNoLongerMappedIsNotDeleted)
{
    const auto id1 = s.one().add(group(u"Choir"));
    sync();
    s.pairFields({{ftLastName, ftLastName}, {ftPhone, ftPhone}});
    s.one().remove(id1);
    sync();
    EXPECT_THAT(names(s.two()), UnorderedElementsAre(u"group Choir"));
    EXPECT_THAT(s.one().records, IsEmpty());
    expectAtRest();
}

TEST_F(LinkedGroupSync, IsUnlinkedAndTravelsAsAGroupWhileTheCopyStays)
{
    begin(true);
    sync();
    EXPECT_THAT(names(s.one()), UnorderedElementsAre(u"group Choir", u"Ada"));
    EXPECT_THAT(names(s.two()), UnorderedElementsAre(u"group Choir", u"Choir", u"Ada"));
    EXPECT_THAT(s.logText(), HasSubstr("Second: Choir was copied from a group"));
    expectAtRest();
    EXPECT_THAT(s.lastLog(), Not(HasSubstr("was copied from a group"))) << "told once";
    s.two().set(copy2, ftPhone, u"2");
    expectAtRest();
    s.two().remove(copy2);
    expectAtRest();
    EXPECT_THAT(names(s.one()), UnorderedElementsAre(u"group Choir", u"Ada"));
}

TEST_F(LinkedGroupSync, IsUnlinkedWhereTheOtherStoreHasNoKinds)
{
    begin(false);
    sync();
    EXPECT_THAT(s.writes(), IsEmpty());
    EXPECT_THAT(names(s.two()), UnorderedElementsAre(u"Choir", u"Ada"));
    s.one().set(group1, ftLastName, u"Chorus");
    s.two().set(copy2, ftPhone, u"2");
    expectAtRest();
    s.one().remove(group1);
    expectAtRest();
    EXPECT_THAT(names(s.two()), UnorderedElementsAre(u"Choir", u"Ada"));
}

TEST_F(LinkedGroupSync, WhoseCopyWasDeletedTravelsAsAGroup)
{
    begin(true);
    s.two().remove(copy2);
    sync();
    EXPECT_THAT(names(s.one()), UnorderedElementsAre(u"group Choir", u"Ada"));
    EXPECT_THAT(names(s.two()), UnorderedElementsAre(u"group Choir", u"Ada"));
    expectAtRest();
}

TEST_F(LinkedGroupSync, WhoseCopyWasDeletedStaysWhereTheOtherStoreHasNoKinds)
{
    begin(false);
    s.two().remove(copy2);
    sync();
    EXPECT_THAT(names(s.one()), UnorderedElementsAre(u"group Choir", u"Ada"));
    expectAtRest();
}

TEST_F(LinkedGroupSync, IsLeftForTheNextRunIfItsKindCannotBeRead)
{
    begin(true);
    s.one().options.unreadable = {ftKind};
    (void)s.sync();
    EXPECT_THAT(names(s.two()), UnorderedElementsAre(u"Choir", u"Ada"));
    s.one().options.unreadable.clear();
    sync();
    EXPECT_THAT(names(s.two()), UnorderedElementsAre(u"group Choir", u"Choir", u"Ada"));
    expectAtRest();
}
