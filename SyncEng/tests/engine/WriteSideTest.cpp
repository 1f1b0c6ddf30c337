// The progress of a run that writes, and what a run leaves behind that the user cancels while it deletes records.
#include "People.h"
#include "SyncScenario.h"

#include <gmock/gmock.h>

namespace {

using mbtest::FakeStore;
using mbtest::person;
using mbtest::SyncScenario;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

// Three contacts in step, all of which one side has deleted since; the engine deletes them on the side of the parameter.
class CancelledDeletion : public testing::TestWithParam<_TransIds> {
protected:
    CancelledDeletion()
    {
        for (const char16_t* last : {u"Hopper", u"Lovelace", u"Noether"}) s.one().add(person(u"F", last));
        EXPECT_EQ(s.sync(), S_OK);
        FakeStore& emptied = onTwo() ? s.one() : s.two();
        for (const std::u16string& id : std::vector(emptied.order)) emptied.remove(id);
    }
    [[nodiscard]] static bool onTwo() { return GetParam() == idTrans2; }
    FakeStore& target() { return onTwo() ? s.two() : s.one(); }
    [[nodiscard]] std::string call(const char* method) const { return (onTwo() ? "2 " : "1 ") + std::string(method); }
    // The run deletes this many records and is then cancelled by the progress sink.
    void cancelAfter(int deletions)
    {
        // Writing to side 2 also reports progress for each of the three deletions that wait on side 1.
        s.sink().cancelAtWrite = deletions + (onTwo() ? 0 : 3);
        s.sink().writes = 0;
        EXPECT_EQ(s.sync(), E_ABORT);
    }
    SyncScenario s;
};

std::string sideName(const testing::TestParamInfo<_TransIds>& info) { return info.param == idTrans1 ? "OnSideOne" : "OnSideTwo"; }

} // namespace

TEST_P(CancelledDeletion, KeepsTheRecordsThatWereNotReachedAndForgetsTheOthers)
{
    const std::u16string last = target().order.back();
    cancelAfter(2);
    EXPECT_THAT(s.log().starting(call("DeleteRecord")), SizeIs(2));
    EXPECT_THAT(target().order, ElementsAre(last));
    EXPECT_THAT(s.rememberedRecords(GetParam()), ElementsAre(last));
    EXPECT_THAT(s.rememberedRecords(onTwo() ? idTrans1 : idTrans2), SizeIs(1)) << "both halves of a link go";
}

TEST_P(CancelledDeletion, ClosesTheBatchAndStampsTheSide)
{
    // The name in another case is the same database. The stamp writes the new spelling.
    target().options.database = onTwo() ? u"STORE of b" : u"STORE of a";
    cancelAfter(1);
    EXPECT_THAT(s.log().starting(call("EndUpdate")), SizeIs(1));
    com::Bstr database1, database2;
    EXPECT_EQ(s.maps()->GetLastSyncDatabase(s.map(), database1.put(), database2.put()), S_OK);
    EXPECT_EQ((onTwo() ? database2 : database1).view(), target().options.database);
    VARIANT_BOOL good = VARIANT_FALSE;
    EXPECT_EQ(s.maps()->GetLastSyncStatus(s.map(), &good), S_OK);
    EXPECT_EQ(good, VARIANT_TRUE);
}

TEST_P(CancelledDeletion, IsFinishedByTheNextRun)
{
    cancelAfter(2);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.log().starting(call("DeleteRecord")), SizeIs(1));
    EXPECT_THAT(target().records, IsEmpty());
    s.expectInStep();
}

INSTANTIATE_TEST_SUITE_P(Sides, CancelledDeletion, testing::Values(idTrans1, idTrans2), sideName);

// Side 1 has five known records: the first, third and fifth lost their partners, the second and fourth changed. A cancel at the n-th report
// shows how much was written before it.
TEST(ProgressOfWriting, IsToldForWaitingDeletionsAtTheirPlaceInTheOrder)
{
    for (const auto& [report, updates] : {std::pair(1, 0), {2, 1}, {3, 1}, {4, 2}, {5, 2}}) {
        SyncScenario s;
        for (const char16_t* last : {u"a", u"b", u"c", u"d", u"e"}) s.one().add(person(u"F", last));
        ASSERT_EQ(s.sync(), S_OK);
        const std::vector<std::u16string> ones = s.one().order, twos = s.two().order;
        for (const std::size_t i : {0u, 2u, 4u}) s.two().remove(twos[i]);
        for (const std::size_t i : {1u, 3u}) s.one().set(ones[i], ftCity1, u"Paris");
        s.sink().cancelAtWrite = report;
        s.sink().writes = 0;
        EXPECT_EQ(s.sync(), E_ABORT);
        EXPECT_THAT(s.log().starting("2 SaveRecord"), SizeIs(updates)) << "cancelled at report " << report;
        EXPECT_EQ(s.sink().lastPercent, updates * 20.0) << "two changes and three deletions";
        EXPECT_THAT(s.log().starting("1 DeleteRecord"), IsEmpty());
    }
}
