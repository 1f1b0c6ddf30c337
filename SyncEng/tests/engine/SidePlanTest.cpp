#include "engine/SidePlan.h"

#include <gmock/gmock.h>

namespace mb {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

class SidePlanTest : public testing::Test {
protected:
    RecordTask& add(Side side, const std::u16string& id, TaskKind kind, std::optional<std::u16string> mapped = {})
    {
        RecordTask& task = TaskAt(pass.side(side).tasks, id);
        task.Kind = kind;
        task.MappedId = std::move(mapped);
        return task;
    }
    static std::vector<std::pair<std::u16string, PlannedKind>> kinds(const PlanItems& items)
    {
        std::vector<std::pair<std::u16string, PlannedKind>> found;
        for (const PlanItem& item : items) found.emplace_back(item.recordId(), item.kind);
        return found;
    }
    RunState run;
    PerSide<StoreClient> stores;
    PipelinePass pass{.run = run, .sides = {PassSide(stores.one), PassSide(stores.two)}};
};

} // namespace

TEST_F(SidePlanTest, CopiesGoToTheOtherSideAndDeletionsStay)
{
    add(Side::One, u"a", TaskNew);
    add(Side::One, u"b", TaskChange, u"B");
    add(Side::One, u"c", TaskMatched, u"C");
    add(Side::One, u"d", TaskDelete);
    add(Side::Two, u"E", TaskDelete);
    add(Side::Two, u"F", TaskNew);
    const PerSide<SidePlan> plans = MakePlans(pass);
    EXPECT_THAT(kinds(plans.two.copies), ElementsAre(Pair(u"a", PlannedNew), Pair(u"b", PlannedChange), Pair(u"c", PlannedMatch)));
    EXPECT_THAT(kinds(plans.two.deletions), ElementsAre(Pair(u"E", PlannedDelete)));
    EXPECT_THAT(kinds(plans.one.copies), ElementsAre(Pair(u"F", PlannedNew)));
    EXPECT_THAT(kinds(plans.one.deletions), ElementsAre(Pair(u"d", PlannedDelete)));
    EXPECT_EQ(plans.two.planned, 4u);
    EXPECT_EQ(plans.one.planned, 2u);
    EXPECT_THAT(pass.side(Side::One).tasks, IsEmpty());
    EXPECT_THAT(pass.side(Side::Two).tasks, IsEmpty());
}

TEST_F(SidePlanTest, APartnerDecidesWhetherARecordIsUpdatedOrCreated)
{
    add(Side::One, u"changed", TaskChange, u"X");
    add(Side::One, u"duplicate", TaskNew, u"Y");
    add(Side::One, u"new", TaskNew);
    add(Side::One, u"parted", TaskChange); // a conflict kept both contacts
    const PlanItems items = MakePlans(pass).two.copies;
    EXPECT_THAT(kinds(items), ElementsAre(Pair(u"changed", PlannedChange), Pair(u"duplicate", PlannedChange), Pair(u"new", PlannedNew),
                                          Pair(u"parted", PlannedNew)));
    EXPECT_EQ(items[0].targetId, u"X");
    EXPECT_EQ(items[2].targetId, std::nullopt);
}

TEST_F(SidePlanTest, AnItemTakesOverWhatTheTaskHolds)
{
    RecordTask& task = add(Side::Two, u"b", TaskChange, u"a");
    task.Changes = std::make_unique<FieldValueMap>();
    (*task.Changes)[ftCity1] = u"Paris";
    task.Values = std::make_unique<RecordValues>();
    task.Values->set(ftFirstName, u"Ada");
    task.conflict = croMerge;
    task.FieldMapRemapped = true;
    const PlanItems items = MakePlans(pass).one.copies;
    ASSERT_EQ(items.size(), 1u);
    const PlanItem& item = items.front();
    EXPECT_EQ(item.sourceId, u"b");
    EXPECT_EQ((*item.Changes)[ftCity1], u"Paris");
    EXPECT_EQ(item.Values->find(ftFirstName), u"Ada");
    EXPECT_EQ(item.conflict, croMerge);
    EXPECT_TRUE(item.FieldMapRemapped);
}

TEST_F(SidePlanTest, CountsEachItemThatIsWritten)
{
    add(Side::One, u"a", TaskNew);
    add(Side::One, u"b", TaskNew);
    add(Side::One, u"c", TaskNew);
    add(Side::One, u"d", TaskChange, u"D");
    add(Side::One, u"e", TaskChange, u"E");
    add(Side::One, u"f", TaskMatched, u"F");
    add(Side::Two, u"G", TaskDelete);
    add(Side::Two, u"H", TaskDelete).alreadyGone = true;
    const PerSide<SidePlan> plans = MakePlans(pass);
    const PlannedCounts counts = plans.two.counts();
    EXPECT_EQ(counts.additions, 3);
    EXPECT_EQ(counts.changes, 2);
    EXPECT_EQ(counts.deletions, 1);
    EXPECT_THAT(kinds(plans.two.deletions), ElementsAre(Pair(u"G", PlannedDelete), Pair(u"H", PlannedGone)));
    EXPECT_EQ(plans.two.size(), 8u) << "a link and a record that is gone are done too";
    EXPECT_TRUE(plans.one.empty());
}

TEST_F(SidePlanTest, KnowsWhatTheDeletionsAreComparedWith)
{
    pass.side(Side::One).historyList.resize(3);
    pass.side(Side::One).recordCount = 7;
    pass.send[Side::Two] = false;
    const PerSide<SidePlan> plans = MakePlans(pass);
    EXPECT_EQ(plans.one.linkedRecords, 3);
    EXPECT_EQ(plans.two.linkedRecords, 0);
    EXPECT_EQ(plans.two.sourceRecords, 7);
    EXPECT_EQ(plans.one.sourceRecords, -1);
    EXPECT_FALSE(plans.one.written);
    EXPECT_TRUE(plans.two.written);
}

TEST_F(SidePlanTest, FindsTheItemOfExactlyThatRecord)
{
    for (const char16_t* id : {u"B", u"a", u"c"}) add(Side::One, id, TaskNew);
    add(Side::Two, u"z", TaskDelete);
    PerSide<SidePlan> plans = MakePlans(pass);
    for (const char16_t* id : {u"B", u"a", u"c"}) {
        ASSERT_TRUE(FindItem(plans.two.copies, id));
        EXPECT_EQ(FindItem(plans.two.copies, id)->sourceId, id);
    }
    EXPECT_FALSE(FindItem(plans.two.copies, u"b"));
    EXPECT_FALSE(FindItem(plans.two.copies, u"d"));
    EXPECT_EQ(FindItem(plans.two.deletions, u"z")->targetId, u"z");
}

} // namespace mb
