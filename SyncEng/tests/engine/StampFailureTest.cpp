// A record that was written, and whose history entry cannot be written. The history here was never opened, so it refuses every change.
#include "engine/HistoryLinks.h"
#include "engine/WriteSide.h"
#include "People.h"
#include "SyncScenario.h"

#include <gmock/gmock.h>

namespace {

using namespace mb;
using mbtest::person;
using testing::HasSubstr;
using testing::SizeIs;

com::Ptr<ITranslator> fakeOf(const GUID& clsid)
{
    com::Ptr<ITranslator> translator;
    com::check(com::createInstance(clsid, translator));
    com::check(translator->Initialize(nullptr, nullptr, VARIANT_FALSE));
    return translator;
}

class FailedStamp : public testing::Test {
protected:
    FailedStamp()
    {
        run.history = MapHistory(closed);
        run.side(Side::Two).name = u"Second";
        ada = s.one().add(person(u"Ada", u"Lovelace"));
        grace = s.one().add(person(u"Grace", u"Hopper"));
    }
    mbtest::SyncScenario s;
    CSyncHistory closed{nullptr};
    RunState run;
    PerSide<StoreClient> stores{StoreClient(fakeOf(mbtest::fakeClass1)), StoreClient(fakeOf(mbtest::fakeClass2))};
    PipelinePass pass{.run = run, .sides = {PassSide(stores.one), PassSide(stores.two)}};
    std::u16string ada, grace;
};

} // namespace

TEST_F(FailedStamp, EndsTheRun)
{
    EXPECT_EQ(resultOf([&] { StampHistoryPair(pass, Side::One, ada, u"B1", false); }), E_FAIL);
}

TEST_F(FailedStamp, EndsTheWritingAfterTheRecordWasReported)
{
    for (const std::u16string& id : {ada, grace}) TaskAt(pass.side(Side::One).tasks, id).Kind = TaskNew;
    PerSide<SidePlan> plans = MakePlans(pass);
    EXPECT_EQ(resultOf([&] { WriteSide(pass, plans, Side::Two); }), E_FAIL);
    EXPECT_THAT(plans.two.copies, SizeIs(2)) << "what was not linked is not done";
    EXPECT_THAT(s.log().starting("2 SaveRecord"), SizeIs(1)) << "the other record is not written";
    EXPECT_THAT(s.logText(), HasSubstr("CREATED in Second: Ada Lovelace"));
    EXPECT_THAT(s.logText(), Not(HasSubstr("Hopper")));
}
