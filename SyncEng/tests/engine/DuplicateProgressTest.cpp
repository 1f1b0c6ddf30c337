// What a user sees of the search for duplicates: its labels, how far each one gets, and how it is cancelled.
#include "People.h"
#include "SyncScenario.h"
#include "WithoutDocuments.h"

#include <gmock/gmock.h>

namespace {

using mbtest::ada;
using mbtest::FakeStore;
using mbtest::FakeValues;
using mbtest::person;
using mbtest::SyncScenario;
using testing::AllOf;
using testing::Contains;
using testing::DoubleNear;
using testing::Each;
using testing::ElementsAre;
using testing::Gt;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Le;
using testing::Lt;
using testing::Not;
using testing::Pointwise;
using testing::SizeIs;

constexpr char16_t preparing[] = u"Preparing to search for duplicates.", exact[] = u"Searching for exact duplicates.",
                   conflicting[] = u"Searching for conflicting duplicates.",
                   inMemory[] = u"Checking for possible duplicates by Sync Engine.";
constexpr double tolerance = 1e-9;

class DuplicateProgress : public testing::Test {
protected:
    // A contact on both sides that no other one resembles, with another title on each where it is to be a conflict.
    void addPair(const char16_t* lastName, bool sameContent)
    {
        for (FakeStore* store : {&s.one(), &s.two()}) {
            FakeValues values = person(u"F", lastName);
            values[ftTitle] = sameContent || store == &s.one() ? u"Countess" : u"Mathematician";
            store->add(std::move(values));
        }
    }
    void addNamelessPair()
    {
        for (FakeStore* store : {&s.one(), &s.two()}) store->add({{ftCompany, u"Analytical Engines"}});
    }
    void addStrangers()
    {
        s.one().add(person(u"Grace", u"Hopper"));
        s.two().add(person(u"Alan", u"Turing"));
    }
    std::vector<double> percentsOf(const std::u16string& label) { return s.sink().percentsOf(label); }
    // The labels of the search alone, in order.
    std::vector<std::u16string> labelsOfSearch()
    {
        std::vector<std::u16string> labels = s.sink().labels;
        std::erase_if(labels, [](const std::u16string& label) { return label.find(u"duplicates") == label.npos; });
        return labels;
    }
    void expectToRiseTo100(const std::u16string& label)
    {
        const std::vector<double> percents = percentsOf(label);
        ASSERT_FALSE(percents.empty());
        EXPECT_TRUE(std::ranges::is_sorted(percents)) << testing::PrintToString(percents);
        EXPECT_THAT(percents, Each(Le(100.0 + tolerance)));
        EXPECT_NEAR(percents.back(), 100.0, tolerance);
    }
    SyncScenario s;
};

auto closeTo(const std::vector<double>& percents) { return Pointwise(DoubleNear(tolerance), percents); }

} // namespace

TEST_F(DuplicateProgress, ThePassesHaveTheirLabelsInOrderAndEachReaches100)
{
    addNamelessPair();
    addPair(u"Lovelace", true);
    addPair(u"Babbage", true);
    addStrangers();
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(labelsOfSearch(), ElementsAre(preparing, exact, conflicting));
    for (const char16_t* label : {preparing, exact, conflicting}) expectToRiseTo100(label);
    EXPECT_THAT(percentsOf(conflicting), Contains(AllOf(Gt(1.0), Lt(99.0)))) << "each pair that is found is a step";
    EXPECT_THAT(s.lastLog(), HasSubstr("MATCHED: F Lovelace"));
}

TEST_F(DuplicateProgress, ConflictingContactsThatTheRuleAloneFindsReach100Too)
{
    addPair(u"Lovelace", false);
    addPair(u"Babbage", false);
    addStrangers();
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(labelsOfSearch(), ElementsAre(preparing, exact, conflicting));
    expectToRiseTo100(conflicting);
    EXPECT_THAT(percentsOf(conflicting), Contains(AllOf(Gt(1.0), Lt(99.0))));
    EXPECT_THAT(s.lastLog(), HasSubstr("CONFLICT: F Lovelace"));
}

// Both rounds share one label, so their steps add up to 100 and no more.
TEST_F(DuplicateProgress, WhereBothRoundsFindContactsTheyReach100TogetherAndNeverPassIt)
{
    addPair(u"Lovelace", true);
    addPair(u"Babbage", false);
    addPair(u"Hopper", false);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.lastLog(), HasSubstr("MATCHED: F Lovelace"));
    EXPECT_THAT(s.lastLog(), HasSubstr("CONFLICT: F Babbage"));
    EXPECT_THAT(labelsOfSearch(), ElementsAre(preparing, exact, conflicting));
    expectToRiseTo100(conflicting);
}

TEST_F(DuplicateProgress, ACategoryPassGoesTheSameWayUnderItsOwnLabels)
{
    for (FakeStore* store : {&s.one(), &s.two()}) {
        store->options.categories = true;
        store->addCategory(u"Friends");
    }
    s.one().addCategory(u"Work");
    s.two().addCategory(u"Club");
    EXPECT_EQ(s.sync(), S_OK);
    const char16_t* const labels[] = {u"Preparing to search for duplicates (categories).", u"Searching for exact duplicates (categories).",
                                      u"Searching for conflicting duplicates (categories)."};
    EXPECT_THAT(labelsOfSearch(), ElementsAre(labels[0], labels[1], labels[2]));
    for (const char16_t* label : labels) expectToRiseTo100(label);
}

// The first pass goes by all records of side 1, the second by the tasks of side 2.
TEST_F(DuplicateProgress, TheFirstPassesTakeAStepForEachRecordWhetherItTakesPartOrNot)
{
    s.one().add(ada());
    s.one().add(person(u"Known", u"One"));
    ASSERT_EQ(s.sync(), S_OK);
    s.one().set(s.one().order.at(0), ftCity1, u"Paris");
    addStrangers();
    s.one().add(person(u"Emmy", u"Noether"));
    s.two().add(person(u"Emmy", u"Noether"));
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(percentsOf(preparing), closeTo({25, 50, 75, 100})) << "two of the four are known";
    EXPECT_THAT(percentsOf(exact), closeTo({50, 100}));
}

TEST_F(DuplicateProgress, ARecordThatSideOneCannotListTakesItsStepAllTheSame)
{
    addStrangers();
    s.one().add(person(u"Emmy", u"Noether"));
    s.makeMap();
    s.log().failOn("1 GetRecordID", 3, E_FAIL); // the scan asked for both
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(percentsOf(preparing), closeTo({50, 100}));
}

TEST_F(DuplicateProgress, WhereAllWereExactThereIsNoSearchForConflictingOnes)
{
    addNamelessPair();
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(labelsOfSearch(), ElementsAre(preparing, exact));
}

TEST_F(DuplicateProgress, WithNothingFoundTheSearchForConflictingOnesStaysAtTheStartAndEndsAt100)
{
    addStrangers();
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(percentsOf(conflicting), closeTo({0, 0, 100})) << "one report for each round, and the end";
}

TEST_F(DuplicateProgress, InMemoryEachRecordOfSideTwoThatCouldBeReadTakesAStep)
{
    addStrangers();
    addPair(u"Lovelace", true);
    s.makeMap();
    {
        const mbtest::WithoutDocuments broken;
        EXPECT_EQ(s.sync(), S_OK);
    }
    EXPECT_THAT(labelsOfSearch(), ElementsAre(inMemory));
    EXPECT_THAT(percentsOf(inMemory), closeTo({50, 100}));
}

TEST_F(DuplicateProgress, InMemoryARecordOfSideTwoThatCannotBeReadTakesNone)
{
    addStrangers();
    addPair(u"Lovelace", true);
    s.makeMap();
    s.log().failOn("2 BeginReadRecord", 1, E_FAIL);
    {
        const mbtest::WithoutDocuments broken;
        EXPECT_EQ(s.sync(), S_OK);
    }
    EXPECT_THAT(percentsOf(inMemory), closeTo({50}));
}

TEST_F(DuplicateProgress, ACancelUnderAnyLabelEndsTheSearchBeforeConflictsAreLookedForAgain)
{
    addPair(u"Lovelace", true);
    addPair(u"Babbage", false);
    s.makeMap();
    for (const char16_t* label : {preparing, exact, conflicting}) {
        s.sink().cancelAtLabel = label;
        EXPECT_EQ(s.sync(), E_ABORT);
        EXPECT_EQ(s.sink().labels.back(), label);
        EXPECT_THAT(percentsOf(label), SizeIs(1)) << "it is not reported on";
        EXPECT_THAT(s.lastLog(), HasSubstr("Synchronization was cancelled by the user"));
        EXPECT_THAT(s.lastLog(), Not(HasSubstr("CONFLICT")));
        EXPECT_THAT(s.writes(), IsEmpty());
    }
    const mbtest::WithoutDocuments broken;
    s.sink().cancelAtLabel = inMemory;
    EXPECT_EQ(s.sync(), E_ABORT);
    EXPECT_EQ(s.sink().labels.back(), inMemory);
    EXPECT_THAT(s.writes(), IsEmpty());
}
