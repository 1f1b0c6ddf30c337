// Runs with details that fail at each call, that lose their history after it, and random runs: no line is lost, none comes back, and both
// sides end with the merge.
#include "DetailsLines.h"
#include "SyncScenario.h"

#include <gmock/gmock.h>

namespace {

using mbtest::FakeStore;
using mbtest::FakeValues;
using mbtest::linesOf;
using mbtest::SyncScenario;

void keepFewFields(SyncScenario& s)
{
    for (FakeStore* store : {&s.one(), &s.two()}) {
        store->fields = {{ftFirstName, u"First"}, {ftLastName, u"Last"}, {ftCity1, u"City"}};
        store->addDetailsField();
    }
}

// Contacts in step, then edits of lines and fields on both sides.
class StoryOfDetails {
public:
    StoryOfDetails()
    {
        keepFewFields(s);
        s.setOption(soConflictResolution, croTrans1Wins); // a field that a killed run wrote is in conflict
        for (const char16_t* last : {u"edited twice", u"with a field", u"beside a field", u"untouched"})
            ids_[last] = s.one().add(contact(last, u"X-A:1\nX-B:1\nX-C:1"));
        EXPECT_EQ(s.sync(), S_OK);
        s.one().set(ids_[u"edited twice"], ftDetails, u"X-A:2\nX-B:1\nX-C:1");
        s.two().set(partner(u"edited twice"), ftDetails, u"X-A:1\nX-B:1\nX-D:1");
        s.one().set(ids_[u"with a field"], ftCity1, u"Paris");
        s.two().set(partner(u"with a field"), ftDetails, u"X-A:1\nX-C:1");
        s.one().set(ids_[u"beside a field"], ftDetails, u"X-B:1\nX-C:1");
        s.two().set(partner(u"beside a field"), ftCity1, u"Rome");
        s.one().add(contact(u"new on one", u"X-A:1"));
        s.two().add(contact(u"new on two", u"item1.X-A:1\nitem1.X-B:2"));
        s.one().add(contact(u"entered twice", u"X-A:1\nX-B:1"));
        s.two().add(contact(u"entered twice", u"X-B:1\nX-C:1"));
    }
    // The lines of each contact, and its town.
    static std::multiset<std::string> told(const FakeStore& store)
    {
        std::multiset<std::string> all;
        for (const auto& [id, record] : store.records) {
            std::u16string line = store.get(id, ftLastName) + u", " + store.get(id, ftCity1);
            for (const std::u16string& each : linesOf(store.get(id, ftDetails))) line += u"; " + each;
            all.emplace(line.begin(), line.end());
        }
        return all;
    }
    static std::multiset<std::string> merged()
    {
        return {"beside a field, Rome; X-B:1; X-C:1",        "edited twice, old; X-A:2; X-B:1; X-D:1",
                "entered twice, old; X-A:1; X-B:1; X-C:1",   "new on one, old; X-A:1",
                "new on two, old; item1.X-A:1; item1.X-B:2", "untouched, old; X-A:1; X-B:1; X-C:1",
                "with a field, Paris; X-A:1; X-C:1"};
    }
    void expectHappyEnd()
    {
        EXPECT_EQ(s.sync(), S_OK) << "the next run";
        EXPECT_EQ(s.sync(), S_OK) << "a contact that could not be read may wait for one run";
        EXPECT_EQ(told(s.one()), merged());
        EXPECT_EQ(told(s.two()), merged());
        EXPECT_EQ(s.sync(), S_OK);
        EXPECT_EQ(s.writes(), std::vector<std::string>()) << "the run after that has nothing to do";
    }
    SyncScenario s;

private:
    static FakeValues contact(const char16_t* last, const char16_t* details)
    {
        return {{ftFirstName, u"F"}, {ftLastName, last}, {ftCity1, u"old"}, {ftDetails, details}};
    }
    std::u16string partner(const std::u16string& last)
    {
        for (const auto& [id, record] : s.two().records)
            if (s.two().get(id, ftLastName) == last) return id;
        ADD_FAILURE() << "no partner";
        return {};
    }
    std::map<std::u16string, std::u16string> ids_;
};

constexpr HRESULT thrown = 1;

class DetailsSweep : public testing::TestWithParam<const char*> {
protected:
    // False if the run made fewer than n calls. `killed`: the history of before the run is what the next run finds.
    static bool failCall(const std::string& method, int n, HRESULT way, bool killed)
    {
        StoryOfDetails story;
        SyncScenario& s = story.s;
        const std::string before = s.folder.read(s.historyFile());
        const int call = s.log().count(method) + n;
        if (way == thrown)
            s.log().throwOn(method, call);
        else
            s.log().failOn(method, call, way);
        (void)s.sync();
        if (!s.log().failed()) return false;
        if (killed) s.folder.write(s.historyFile().string(), before);
        story.expectHappyEnd();
        return true;
    }
};

} // namespace

TEST_P(DetailsSweep, EveryCall)
{
    int calls = 0;
    for (const std::string side : {"1 ", "2 "})
        for (const bool killed : {false, true})
            for (const HRESULT way : {E_FAIL, E_ABORT, thrown}) {
                if (killed && way != E_FAIL) continue;
                int n = 1;
                for (bool made = true; made && !HasFailure(); ++n) {
                    SCOPED_TRACE(side + GetParam() + ", call " + std::to_string(n) + (killed ? ", killed" : "") + ", way " +
                                 std::to_string(way));
                    made = failCall(side + GetParam(), n, way, killed);
                }
                calls += n;
            }
    EXPECT_GT(calls, 16) << "no run makes this call";
}

INSTANTIATE_TEST_SUITE_P(Methods, DetailsSweep,
                         testing::Values("BeginReadRecord", "ReadField", "EndReadRecord", "GetModifiedDate", "BeginUpdate",
                                         "BeginEditRecord", "BeginAddRecord", "WriteField", "SaveRecord", "EndUpdate", "GetFieldType"),
                         [](const testing::TestParamInfo<const char*>& method) { return std::string(method.param); });

TEST(DetailsStory, ARunWithoutAFailureMergesAll)
{
    StoryOfDetails story;
    EXPECT_EQ(story.s.sync(), S_OK);
    EXPECT_EQ(StoryOfDetails::told(story.s.one()), StoryOfDetails::merged());
    story.expectHappyEnd();
}

TEST(RandomDetails, BothSidesHoldTheMergeAndASecondRunIsSilent)
{
    for (unsigned seed = 1; seed <= 60 && !testing::Test::HasFailure(); ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        mbtest::RandomLines random(seed);
        SyncScenario s;
        keepFewFields(s);
        if (seed % 2 == 0) s.one().options.dates = s.two().options.dates = false;
        std::set<std::u16string> one, two, base;
        const std::u16string id1 = s.one().add({{ftLastName, u"Lovelace"}}), id2 = s.two().add({{ftLastName, u"Lovelace"}});
        for (int run = 0; run < 5; ++run) {
            random.edit(one);
            random.edit(two);
            s.two().set(id2, ftDetails, mbtest::joined(two));
            s.one().set(id1, ftDetails, mbtest::joined(one));
            if (run > 0 && random.below(3) == 0) s.one().set(id1, ftCity1, random.number(9));
            s.one().records.at(id1).modified = s.two().records.at(id2).modified = 47000.0 + run; // of equal dates side 1 wins
            base = mbtest::mergeOfSets(one, two, base, mbtest::Winner::One);
            ASSERT_EQ(s.sync(), S_OK);
            ASSERT_EQ(linesOf(s.one().get(id1, ftDetails)), mbtest::Lines(base.begin(), base.end()));
            ASSERT_EQ(linesOf(s.two().get(id2, ftDetails)), mbtest::Lines(base.begin(), base.end()));
            ASSERT_EQ(s.two().get(id2, ftCity1), s.one().get(id1, ftCity1));
            ASSERT_EQ(s.sync(), S_OK);
            ASSERT_EQ(s.writes(), std::vector<std::string>());
            one = two = base;
        }
    }
}
