// Groups of contacts in a run: between two stores that know kinds they travel, and no store gets one as a person.
#include "DetailsLines.h"
#include "SyncScenario.h"
#include "TextMatchers.h"

#include <gmock/gmock.h>

namespace {

using mbtest::FakeStore;
using mbtest::FakeValues;
using mbtest::Lines;
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

// Two stores that tell the UIDs of their records in details. A new record gets the UID that it is offered.
class MembersSync : public PairedGroupSync {
protected:
    MembersSync()
    {
        for (FakeStore* store : {&s.one(), &s.two()}) store->addDetailsField();
    }
    static FakeValues contact(const std::u16string& name, const std::u16string& uid, const std::u16string& lines = {})
    {
        return {{ftLastName, name}, {ftPhone, u"1"}, {ftDetails, lines + (lines.empty() ? u"" : u"\n") + u"UID:" + uid}};
    }
    static FakeValues members(const std::u16string& name, const std::u16string& uid, const std::u16string& lines)
    {
        return {{ftLastName, name}, {ftKind, u"group"}, {ftDetails, lines + u"\nUID:" + uid}};
    }
    static std::u16string idOf(const FakeStore& store, std::u16string_view name)
    {
        for (const auto& [id, record] : store.records)
            if (store.get(id, ftLastName) == name) return id;
        ADD_FAILURE() << "no record of that name";
        return {};
    }
    // The lines of the record of that name.
    static Lines lines(const FakeStore& store, std::u16string_view name)
    {
        return mbtest::linesOf(store.get(idOf(store, name), ftDetails));
    }
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

TEST_F(MembersSync, AreRewrittenToTheUidsOfTheOtherStore)
{
    s.one().add(contact(u"Ada", u"urn:uuid:a1"));
    s.two().add(contact(u"Ada", u"urn:uuid:a2"));
    // The group is listed first, and refers to a contact that both have, one that is new, and one that is nowhere.
    s.one().add(u"A000", members(u"Choir", u"g", u"MEMBER:urn:uuid:A1\nMEMBER:urn:uuid:b1\nMEMBER:urn:uuid:nobody"));
    s.one().add(contact(u"Bea", u"b1"));
    sync();
    EXPECT_EQ(lines(s.two(), u"Choir"), (Lines{u"MEMBER:urn:uuid:a2", u"MEMBER:urn:uuid:b1", u"MEMBER:urn:uuid:nobody", u"UID:g"}));
    EXPECT_EQ(lines(s.two(), u"Ada"), Lines{u"UID:urn:uuid:a2"}) << "a known record keeps its UID";
    expectAtRest();
    const auto group2 = idOf(s.two(), u"Choir");
    s.two().add(contact(u"Cleo", u"c2"));
    s.two().set(group2, ftDetails, u"MEMBER:urn:uuid:a2\nMEMBER:urn:uuid:c2\nUID:g");
    sync();
    EXPECT_EQ(lines(s.one(), u"Choir"), (Lines{u"MEMBER:urn:uuid:A1", u"MEMBER:urn:uuid:c2", u"UID:g"})) << "the edit came back";
    expectAtRest();
}

TEST_F(MembersSync, NameAContactWhoseNewUidIsKnownOnlyOnceItIsWritten)
{
    s.two().options.rewrite = [](LONG, const std::u16string& text) { return text == u"UID:taken" ? u"UID:other" : text; };
    s.one().add(u"A000", members(u"Choir", u"g", u"MEMBER:taken"));
    s.one().add(u"A001", contact(u"Bea", u"b", u"RELATED:urn:uuid:taken"));
    s.one().add(u"A002", contact(u"Ada", u"taken"));
    sync();
    EXPECT_EQ(lines(s.two(), u"Choir"), (Lines{u"MEMBER:other", u"UID:g"}));
    EXPECT_EQ(lines(s.two(), u"Bea"), (Lines{u"RELATED:urn:uuid:other", u"UID:b"}));
    expectAtRest();
}

TEST_F(MembersSync, OfEqualGroupsWithOtherUidsAreUnited)
{
    for (const bool one : {true, false}) {
        FakeStore& store = one ? s.one() : s.two();
        const std::u16string mark = one ? u"1" : u"2";
        store.add(contact(u"Ada", u"a" + mark));
        store.add(contact(u"Bea", u"b" + mark));
        store.add(members(u"Choir", u"g" + mark, one ? u"MEMBER:a1\nMEMBER:b1" : u"MEMBER:a2"));
    }
    sync();
    EXPECT_EQ(lines(s.one(), u"Choir"), (Lines{u"MEMBER:a1", u"MEMBER:b1", u"UID:g1"}));
    EXPECT_EQ(lines(s.two(), u"Choir"), (Lines{u"MEMBER:a2", u"MEMBER:b2", u"UID:g2"}));
    expectAtRest();
}

TEST_F(MembersSync, WhoseContactIsDeletedStay)
{
    s.one().add(contact(u"Ada", u"a"));
    s.one().add(members(u"Choir", u"g", u"MEMBER:a"));
    sync();
    s.one().remove(idOf(s.one(), u"Ada"));
    sync();
    EXPECT_EQ(s.two().records.size(), 1u);
    for (const FakeStore* store : {&s.one(), &s.two()}) EXPECT_EQ(lines(*store, u"Choir"), (Lines{u"MEMBER:a", u"UID:g"}));
    expectAtRest();
}

TEST_F(MembersSync, UidsAreReadOnlyWhereALineNamesOne)
{
    for (const char16_t* name : {u"Ada", u"Bea", u"Cleo"}) s.one().add(contact(name, name));
    sync();
    const std::u16string bea = idOf(s.one(), u"Bea");
    const auto readsOfBea = [&] { return s.log().starting("1 BeginReadRecord " + std::string(bea.begin(), bea.end())).size(); };
    s.one().set(idOf(s.one(), u"Ada"), ftDetails, u"NOTE:a\nUID:Ada");
    sync();
    EXPECT_EQ(readsOfBea(), 0u);
    s.one().set(idOf(s.one(), u"Ada"), ftDetails, u"NOTE:a\nRELATED:Cleo\nUID:Ada");
    sync();
    EXPECT_EQ(readsOfBea(), 1u);
    expectAtRest();
    EXPECT_EQ(readsOfBea(), 0u);
}

namespace {

constexpr HRESULT thrown = 1;

// A call of a run fails, and later runs complete what it began: members are in the spelling of each store, and nothing is there twice.
class MembersSweep : public testing::TestWithParam<const char*> {
protected:
    struct Story : MembersSync {
        Story()
        {
            s.one().add(contact(u"Ada", u"a1"));
            s.two().add(contact(u"Ada", u"a2"));
            s.one().add(members(u"Old", u"o", u"MEMBER:a1"));
            sync();
            s.one().add(u"A000", members(u"Choir", u"g", u"MEMBER:a1\nMEMBER:b\nMEMBER:c"));
            s.one().add(contact(u"Bea", u"b"));
            s.two().add(contact(u"Cleo", u"c", u"RELATED:a2"));
            s.two().add(contact(u"Dora", u"d"));
            s.two().set(idOf(s.two(), u"Old"), ftDetails, u"MEMBER:a2\nMEMBER:d\nUID:o");
        }
        void TestBody() override {}
        // A new record whose details cannot be read gets them in the next run, and is not offered its UID then.
        static Lines withoutUid(Lines lines)
        {
            std::erase_if(lines, [](const std::u16string& line) { return line.starts_with(u"UID:"); });
            return lines;
        }
        void expectHappyEnd()
        {
            for (int run = 0; run < 2; ++run) EXPECT_EQ(s.sync(), S_OK);
            for (const bool one : {true, false}) {
                const FakeStore& store = one ? s.one() : s.two();
                const std::u16string ada = one ? u"a1" : u"a2";
                EXPECT_THAT(names(store), UnorderedElementsAre(u"Ada", u"Bea", u"Cleo", u"Dora", u"group Choir", u"group Old"));
                EXPECT_EQ(withoutUid(lines(store, u"Choir")), (Lines{u"MEMBER:" + ada, u"MEMBER:b", u"MEMBER:c"}));
                EXPECT_EQ(withoutUid(lines(store, u"Old")), (Lines{u"MEMBER:" + ada, u"MEMBER:d"}));
                EXPECT_EQ(withoutUid(lines(store, u"Cleo")), Lines{u"RELATED:" + ada});
            }
            EXPECT_EQ(s.sync(), S_OK);
            EXPECT_THAT(s.writes(), IsEmpty());
        }
        SyncScenario& scenario() { return s; }
    };
    // False if the run made fewer than n calls.
    static bool failCall(const std::string& method, int n, HRESULT way)
    {
        Story story;
        mbtest::CallLog& log = story.scenario().log();
        const int call = log.count(method) + n;
        if (way == thrown)
            log.throwOn(method, call);
        else
            log.failOn(method, call, way);
        (void)story.scenario().sync();
        if (!log.failed()) return false;
        story.expectHappyEnd();
        return true;
    }
};

} // namespace

TEST_P(MembersSweep, EveryCall)
{
    int calls = 0;
    for (const std::string side : {"1 ", "2 "})
        for (const HRESULT way : {E_FAIL, E_ABORT, thrown}) {
            int n = 1;
            for (bool made = true; made && !HasFailure(); ++n) {
                SCOPED_TRACE(side + GetParam() + ", call " + std::to_string(n) + ", way " + std::to_string(way));
                made = failCall(side + GetParam(), n, way);
            }
            calls += n;
        }
    EXPECT_GT(calls, 12) << "no run makes this call";
}

INSTANTIATE_TEST_SUITE_P(Methods, MembersSweep,
                         testing::Values("BeginReadRecord", "ReadField", "GetModifiedDate", "BeginEditRecord", "BeginAddRecord",
                                         "WriteField", "SaveRecord", "EndUpdate", "GetFieldType"),
                         [](const testing::TestParamInfo<const char*>& method) { return std::string(method.param); });
