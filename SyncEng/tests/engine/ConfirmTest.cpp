// What a run asks before it writes, and what it tells its host: through the real dialogs, with a user who acts as the test says.
#include "dialogs/CConfirmationDlg.h"
#include "dialogs/CConflictDlg.h"
#include "FrontEndFake.h"
#include "SyncScenario.h"
#include "TextMatchers.h"

namespace {

using mb::Dialog;
using mbtest::Holds;
using mbtest::SyncScenario;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class ConfirmTest : public testing::Test {
protected:
    HRESULT syncAsking(ISyncEvents* sink = nullptr, bool silent = false)
    {
        s.makeMap();
        s.log().clear();
        const auto synchronizer = s.create<ISynchronizer>(__uuidof(Synchronizer));
        com::Ptr<IConnectionPoint> point;
        DWORD cookie = 0;
        if (sink) {
            com::check(synchronizer.as<IConnectionPointContainer>()->FindConnectionPoint(__uuidof(ISyncEvents), point.put()));
            com::check(point->Advise(sink, &cookie));
        }
        com::check(synchronizer->Initialize(nullptr, VARIANT_FALSE));
        const HRESULT hr = synchronizer->Synchronize(s.map(), silent ? VARIANT_TRUE : VARIANT_FALSE);
        if (point) (void)point->Unadvise(cookie);
        return hr;
    }
    // The bytes of everything that the engine keeps of the map.
    std::string history() const { return s.folder.read(s.folder.data() / (std::filesystem::path(com::guidText(s.map())) += ".xml")); }
    // In step before, with an addition for the first store, and a change and a deletion for the second one since.
    void addChangeAndDelete()
    {
        const auto gone = s.one().add({{ftFirstName, u"Old"}, {ftLastName, u"Contact"}});
        const auto changed = s.one().add({{ftFirstName, u"Ada"}, {ftLastName, u"Lovelace"}, {ftCity1, u"London"}});
        ASSERT_EQ(s.sync(), S_OK);
        s.one().remove(gone);
        s.one().set(changed, ftCity1, u"Paris");
        s.two().add({{ftFirstName, u"Grace"}, {ftLastName, u"Hopper"}});
    }
    SyncScenario s;
    mbtest::FrontEndFake user;
};

// A host that wants to know what a run is about to write, and answers as the test says.
class ReviewFake final : public com::Object<ISyncEvents, ISyncReview> {
public:
    explicit ReviewFake(IUnknown* outer) noexcept : Object(outer) {}
    std::vector<std::string> plans;
    std::vector<std::u16string> contacts, fields;
    std::u16string summary;
    bool details = false;
    HRESULT onPlan = S_OK, answer = S_OK;
    HRESULT STDMETHODCALLTYPE OnProgress(_SyncProgress, DOUBLE) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE OnProgress2(BSTR, DOUBLE) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE OnPlan(_TransIds side, LONG records, LONG additions, LONG changes, LONG deletions,
                                     VARIANT_BOOL* pDetails) override
    {
        std::string plan = std::to_string(side) + ":";
        for (const LONG number : {records, additions, changes, deletions}) plan += " " + std::to_string(number);
        plans.push_back(plan);
        *pDetails = details ? VARIANT_TRUE : VARIANT_FALSE;
        return onPlan;
    }
    HRESULT STDMETHODCALLTYPE OnPlannedContact(_TransIds side, BSTR action, BSTR first, BSTR last, BSTR) override
    {
        contacts.push_back((side == idTrans1 ? u"1 " : u"2 ") + com::textOf(action) + u" " + com::textOf(first) + u" " + com::textOf(last));
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE OnPlannedField(BSTR name, BSTR current, BSTR value) override
    {
        fields.push_back(com::textOf(name) + u": " + com::textOf(current) + u" > " + com::textOf(value));
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE OnPlanEnd(BSTR text) override
    {
        summary = com::textOf(text);
        return answer;
    }
};

} // namespace

TEST_F(ConfirmTest, OkWrites)
{
    s.one().add({{ftLastName, u"Lovelace"}});
    user.press(mb::idOk);
    EXPECT_EQ(syncAsking(), S_OK);
    EXPECT_THAT(user.captions, ElementsAre(u"Confirm Changes"));
    s.expectInStep();
}

TEST_F(ConfirmTest, CancelEndsBeforeAnyWrite)
{
    s.one().add({{ftLastName, u"Lovelace"}});
    ASSERT_EQ(s.sync(), S_OK);
    s.one().add({{ftLastName, u"Hopper"}});
    const std::string before = history();
    EXPECT_EQ(syncAsking(), E_ABORT);
    EXPECT_THAT(user.captions, ElementsAre(u"Confirm Changes"));
    EXPECT_THAT(s.writes(), IsEmpty());
    EXPECT_EQ(s.log().starting("2 BeginUpdate").size() + s.log().starting("1 BeginUpdate").size(), 0u);
    EXPECT_EQ(history(), before) << "no stamp";
}

TEST_F(ConfirmTest, TheHostIsToldOfDetailsLineByLine)
{
    s.one().addDetailsField();
    s.two().addDetailsField();
    const auto id = s.one().add({{ftLastName, u"Lovelace"}, {ftCity1, u"London"}, {ftDetails, u"NOTE:a\nTZ:1"}});
    ASSERT_EQ(s.sync(), S_OK);
    s.one().set(id, ftDetails, u"NOTE:b\nTZ:1");
    s.one().set(id, ftCity1, u"Paris");
    const auto host = com::make<ReviewFake>();
    host->details = true;
    ASSERT_EQ(syncAsking(host.get()), E_ABORT);
    EXPECT_THAT(host->fields, ElementsAre(u"City: London > Paris", u"NOTE: -NOTE:a > ", u"NOTE:  > +NOTE:b"));
}

TEST_F(ConfirmTest, AFileInDetailsIsShownInWords)
{
    for (mbtest::FakeStore* store : {&s.one(), &s.two()}) {
        store->addDetailsField();
        store->options.hashesFiles = true;
    }
    s.one().add({{ftLastName, u"Lovelace"}, {ftDetails, u"SOUND:data:audio/ogg;base64,AAAA"}});
    ASSERT_EQ(s.sync(), S_OK);
    s.one().set(s.one().order.back(), ftDetails, u"KEY:data:application/pgp-keys;base64,AAAAAAAA");
    const auto host = com::make<ReviewFake>();
    host->details = true;
    ASSERT_EQ(syncAsking(host.get()), E_ABORT);
    EXPECT_THAT(host->fields,
                ElementsAre(u"SOUND: -SOUND: OGG sound, 3 bytes > ", u"KEY:  > +KEY: file of type application/pgp-keys, 6 bytes"));
}

TEST_F(ConfirmTest, WithNothingToDoNothingIsAsked)
{
    EXPECT_EQ(syncAsking(), S_OK);
    EXPECT_THAT(user.captions, IsEmpty());
}

TEST_F(ConfirmTest, ASilentRunAsksNothing)
{
    s.one().add({{ftLastName, u"Lovelace"}});
    EXPECT_EQ(syncAsking(nullptr, true), S_OK);
    EXPECT_THAT(user.captions, IsEmpty());
    EXPECT_THAT(s.two().records, SizeIs(1));
}

TEST_F(ConfirmTest, WithAllConfirmationsOffNothingIsAsked)
{
    for (const _SyncOptions option : {soConfirmAdds, soConfirmUpdates, soConfirmDeletes}) s.setOption(option, 0);
    s.one().add({{ftLastName, u"Lovelace"}});
    EXPECT_EQ(syncAsking(), S_OK);
    EXPECT_THAT(user.captions, IsEmpty());
    EXPECT_THAT(s.two().records, SizeIs(1));
}

TEST_F(ConfirmTest, ReSyncStartsOverFromAnEmptyHistoryAndAsksAgain)
{
    s.one().add({{ftFirstName, u"Ada"}, {ftLastName, u"Lovelace"}});
    ASSERT_EQ(s.sync(), S_OK);
    s.one().add({{ftFirstName, u"Grace"}, {ftLastName, u"Hopper"}});
    user.press(mb::idReSync);
    user.press(mb::idOk);
    EXPECT_EQ(syncAsking(), S_OK);
    EXPECT_EQ(user.captions.size(), 2u);
    EXPECT_THAT(s.two().records, SizeIs(2)) << "the known contact is found again";
    s.expectInStep();
}

TEST_F(ConfirmTest, WhatTheAnalysisLearnedStaysKnownAfterACancel)
{
    const auto ada = s.one().add({{ftFirstName, u"Ada"}, {ftLastName, u"Lovelace"}});
    const auto grace = s.one().add({{ftFirstName, u"Grace"}, {ftLastName, u"Hopper"}});
    ASSERT_EQ(s.sync(), S_OK);
    s.one().touch(ada);
    s.one().remove(grace);
    s.two().remove(std::u16string(s.two().order.back()));
    s.one().add({{ftLastName, u"Turing"}});
    EXPECT_EQ(syncAsking(), E_ABORT);
    EXPECT_THAT(s.log().starting("1 ReadField " + std::string(ada.begin(), ada.end())), testing::Not(IsEmpty()));
    EXPECT_EQ(syncAsking(), E_ABORT);
    EXPECT_THAT(s.log().starting("1 ReadField " + std::string(ada.begin(), ada.end())), IsEmpty()) << "its new date is known";
    EXPECT_THAT(s.log().starting("1 FindRecord " + std::string(grace.begin(), grace.end())), IsEmpty()) << "the pair is forgotten";
}

TEST_F(ConfirmTest, AChangeAgainstADeletionIsNoDeletionInThePlanAndInTheLog)
{
    s.setOption(soDelConflictResolution, croTrans1Wins);
    const auto ada = s.one().add({{ftFirstName, u"Ada"}, {ftLastName, u"Lovelace"}, {ftCity1, u"London"}});
    ASSERT_EQ(s.sync(), S_OK);
    s.one().set(ada, ftCity1, u"Paris");
    s.two().remove(std::u16string(s.two().order.back()));
    const auto review = com::make<ReviewFake>();
    review->details = true;
    review->answer = S_FALSE;
    const std::size_t before = s.logText().size();
    EXPECT_EQ(syncAsking(review.get()), S_OK);
    EXPECT_THAT(review->plans, ElementsAre("1: 1 0 0 0", "2: 0 1 0 0"));
    EXPECT_THAT(review->contacts, SizeIs(1));
    EXPECT_THAT(s.logText().substr(before), testing::Not(testing::HasSubstr("eleted")));
    EXPECT_THAT(s.log().starting("2 DeleteRecord"), IsEmpty());
    EXPECT_EQ(s.two().get(s.two().order.back(), ftCity1), u"Paris");
    s.expectInStep();
}

TEST_F(ConfirmTest, ReSyncIsNotOfferedWhereThereIsNoHistory)
{
    s.one().add({{ftLastName, u"Lovelace"}});
    user.script.emplace_back([](Dialog& dialog) { EXPECT_FALSE(dialog.model().find(mb::idReSync)->enabled); });
    EXPECT_EQ(syncAsking(), E_ABORT);
}

TEST_F(ConfirmTest, RecordsThatAreNotVerifiedAloneAreShownToo)
{
    s.setOption(soSyncVerified, 1);
    s.one().records.at(s.one().add({{ftLastName, u"Lovelace"}})).verified = false;
    user.byDefault = mb::idOk;
    EXPECT_EQ(syncAsking(), S_OK);
    EXPECT_THAT(user.captions, testing::SizeIs(1));
}

TEST_F(ConfirmTest, TheSummaryCountsWhatComesToEachSide)
{
    const auto gone = s.one().add({{ftFirstName, u"Old"}, {ftLastName, u"Contact"}});
    const auto changed = s.one().add({{ftFirstName, u"Ada"}, {ftLastName, u"Lovelace"}});
    ASSERT_EQ(s.sync(), S_OK);
    s.one().remove(gone);
    s.one().set(changed, ftCity1, u"Paris");
    s.two().add({{ftFirstName, u"Grace"}, {ftLastName, u"Hopper"}});
    user.script.emplace_back([](Dialog& dialog) {
        const std::u16string text = dialog.model().find(mb::CConfirmationDlg::idSummary)->text;
        EXPECT_THAT(text, Holds(u"The following changes from Second will be applied to First:\r\n\t1 Addition\r\n\r\n\r\n"));
        EXPECT_THAT(text, Holds(u"The following changes from First will be applied to Second:\r\n\t1 Change\r\n\t1 Deletion\r\n"));
        dialog.press(mb::idOk);
    });
    EXPECT_EQ(syncAsking(), S_OK);
    s.expectInStep();
}

TEST_F(ConfirmTest, AConflictIsSettledInItsDialogBeforeTheSummaryIsShown)
{
    const auto id1 = s.one().add({{ftFirstName, u"Ada"}, {ftLastName, u"Lovelace"}, {ftCity1, u"London"}});
    ASSERT_EQ(s.sync(), S_OK);
    const std::u16string id2 = s.two().order.at(0);
    s.one().set(id1, ftCity1, u"Paris");
    s.two().set(id2, ftCity1, u"Rome");
    user.script.emplace_back([](Dialog& dialog) {
        dialog.choose(mb::CConflictDlg::idTrans2Wins);
        dialog.press(mb::idOk);
    });
    user.press(mb::idOk);
    EXPECT_EQ(syncAsking(), S_OK);
    EXPECT_THAT(user.captions, ElementsAre(u"Resolve Conflicting Changes", u"Confirm Changes"));
    EXPECT_EQ(s.one().get(id1, ftCity1), u"Rome");
    s.expectInStep();
}

TEST_F(ConfirmTest, ClosingAConflictWritesNothing)
{
    const auto id1 = s.one().add({{ftFirstName, u"Ada"}, {ftLastName, u"Lovelace"}, {ftCity1, u"London"}});
    ASSERT_EQ(s.sync(), S_OK);
    s.one().set(id1, ftCity1, u"Paris");
    s.two().remove(s.two().order.at(0));
    const std::string before = history();
    EXPECT_EQ(syncAsking(), E_ABORT);
    EXPECT_THAT(user.captions, ElementsAre(u"Resolve Contact's Change and Deletion"));
    EXPECT_THAT(s.writes(), IsEmpty());
    EXPECT_EQ(history(), before);
}

TEST_F(ConfirmTest, AHostIsToldWhatComesToEachSideAlsoInASilentRun)
{
    addChangeAndDelete();
    const auto host = com::make<ReviewFake>();
    EXPECT_EQ(syncAsking(host.get(), true), S_OK);
    EXPECT_THAT(host->plans, ElementsAre("1: 1 1 0 0", "2: 3 0 1 1"));
    EXPECT_EQ(host->summary, u"") << "nobody asked for details";
    EXPECT_THAT(host->contacts, IsEmpty());
    s.expectInStep();
}

TEST_F(ConfirmTest, AHostMayLookAtEverythingAndLetNothingBeWritten)
{
    addChangeAndDelete();
    const std::string before = history();
    const auto one = SyncScenario::contents(s.one()), two = SyncScenario::contents(s.two());
    const auto host = com::make<ReviewFake>();
    host->details = true;
    host->answer = E_ABORT;
    EXPECT_EQ(syncAsking(host.get(), true), E_ABORT);
    EXPECT_THAT(host->contacts, ElementsAre(u"1 Add Grace Hopper", u"2 Change Ada Lovelace", u"2 Delete Old Contact"));
    EXPECT_THAT(host->fields, ElementsAre(u"City: London > Paris"));
    EXPECT_THAT(host->summary, Holds(u"\t1 Deletion\r\n"));
    EXPECT_THAT(s.writes(), IsEmpty());
    EXPECT_EQ(history(), before);
    EXPECT_EQ(SyncScenario::contents(s.one()), one);
    EXPECT_EQ(SyncScenario::contents(s.two()), two);
}

TEST_F(ConfirmTest, AHostMayAnswerInTheUsersPlaceOrRefuse)
{
    s.one().add({{ftFirstName, u"Ada"}, {ftLastName, u"Lovelace"}});
    const auto host = com::make<ReviewFake>();
    host->onPlan = E_ABORT;
    EXPECT_EQ(syncAsking(host.get()), E_ABORT);
    EXPECT_THAT(s.two().records, IsEmpty());
    host->onPlan = S_OK;
    host->answer = S_FALSE;
    EXPECT_EQ(syncAsking(host.get()), S_OK);
    EXPECT_THAT(user.captions, IsEmpty());
    EXPECT_THAT(s.two().records, SizeIs(1));
}

TEST_F(ConfirmTest, WithOneDirectionOnlyThatSideIsPlanned)
{
    s.setOption(soSyncType, stExportFromTrans1);
    s.one().add({{ftFirstName, u"Ada"}, {ftLastName, u"Lovelace"}});
    s.two().add({{ftFirstName, u"Grace"}, {ftLastName, u"Hopper"}});
    const auto host = com::make<ReviewFake>();
    EXPECT_EQ(syncAsking(host.get(), true), S_OK);
    EXPECT_THAT(host->plans, ElementsAre("1: 1 0 0 0", "2: 1 1 0 0"));
}

TEST_F(ConfirmTest, ADeletionOnASideThatIsNotWrittenIsNotToldToTheHost)
{
    const auto ada = s.one().add({{ftFirstName, u"Ada"}, {ftLastName, u"Lovelace"}});
    ASSERT_EQ(s.sync(), S_OK);
    s.setOption(soSyncType, stExportFromTrans1);
    s.setOption(soDelConflictResolution, croTrans2Wins);
    s.one().set(ada, ftCity1, u"Paris");
    s.two().remove(std::u16string(s.two().order.back()));
    const auto host = com::make<ReviewFake>();
    EXPECT_EQ(syncAsking(host.get(), true), S_OK);
    EXPECT_THAT(host->plans, ElementsAre("1: 1 0 0 0", "2: 0 0 0 0"));
    EXPECT_THAT(s.one().records, SizeIs(1));
}

TEST_F(ConfirmTest, ALookAtThePlanGoesOnFromCategoriesToContacts)
{
    for (mbtest::FakeStore* store : {&s.one(), &s.two()}) store->options.categories = true;
    s.one().addCategory(u"Friends");
    s.one().add({{ftFirstName, u"Ada"}, {ftLastName, u"Lovelace"}});
    const auto host = com::make<ReviewFake>();
    host->details = true;
    host->answer = E_ABORT;
    EXPECT_EQ(syncAsking(host.get(), true), E_ABORT);
    EXPECT_THAT(host->contacts, ElementsAre(u"2 Add  Friends", u"2 Add Ada Lovelace"));
    EXPECT_THAT(s.writes(), IsEmpty());
}
