// What a run tells its host of itself, event by event, as data: through ISyncReport on the host's sink.
#include "foundation/Log.h"
#include "FrontEndFake.h"
#include "People.h"
#include "SyncScenario.h"
#include "text.h"

#include <gmock/gmock.h>

namespace {

using mbtest::person;
using mbtest::SyncScenario;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

std::string textOf(const com::Bstr& text) { return platform::utf8(text.view()); }

// One event as a line: pass, side, action, name, and what else the event has to tell.
std::string lineOf(ISyncReportItem* item)
{
    static constexpr const char* passes[] = {"", "categories", "contacts"};
    static constexpr const char* actions[] = {"", "created", "updated", "deleted", "linked", "conflict", "failed", "left out", "noted"};
    LONG pass = 0, side = 0, action = 0, count = 0, conflict = 0, code = 0;
    com::Bstr name, id, partner, text;
    EXPECT_EQ(item->GetPass(&pass), S_OK);
    EXPECT_EQ(item->GetSide(&side), S_OK);
    EXPECT_EQ(item->GetAction(&action), S_OK);
    EXPECT_EQ(item->GetRecordId(id.put()), S_OK);
    EXPECT_EQ(item->GetPartnerId(partner.put()), S_OK);
    EXPECT_EQ(item->GetName(name.put()), S_OK);
    EXPECT_EQ(item->GetFieldCount(&count), S_OK);
    EXPECT_EQ(item->GetConflict(&conflict), S_OK);
    EXPECT_EQ(item->GetFailure(&code, text.put()), S_OK);
    std::string line = std::string(passes[pass]) + " " + std::to_string(side) + " " + actions[action] + " " + textOf(name) + " [" +
                       textOf(id) + " " + textOf(partner) + "]";
    for (LONG i = 0; i < count; ++i) {
        LONG type = 0;
        com::Bstr field;
        EXPECT_EQ(item->GetField(i, &type, field.put()), S_OK);
        line += " " + textOf(field) + "=" + std::to_string(type);
    }
    LONG type = 0;
    com::Bstr none;
    EXPECT_EQ(item->GetField(count, &type, none.put()), E_INVALIDARG);
    if (conflict != 0) line += " conflict " + std::to_string(conflict);
    if (code != 0) line += " code " + std::to_string(static_cast<unsigned>(code) & 0xFFFFu);
    return text.empty() ? line : line + " " + textOf(text);
}

class ReportSink final : public com::Object<ISyncEvents, ISyncReport, ISyncReview> {
public:
    explicit ReportSink(IUnknown* outer) noexcept : Object(outer) {}
    std::vector<std::string> lines;
    std::vector<std::string> runs; // "begin" and "end" with the kind of the end
    com::Ptr<ISyncRunReport> last;
    int cancelAtWrite = 0, writes = 0;
    HRESULT onPlan = S_OK;
    HRESULT STDMETHODCALLTYPE OnProgress(_SyncProgress, DOUBLE) override { return ++writes == cancelAtWrite ? E_ABORT : S_OK; }
    HRESULT STDMETHODCALLTYPE OnProgress2(BSTR, DOUBLE) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE OnPlan(_TransIds, LONG, LONG, LONG, LONG, VARIANT_BOOL* pDetails) override
    {
        *pDetails = VARIANT_FALSE;
        return onPlan;
    }
    HRESULT STDMETHODCALLTYPE OnPlannedContact(_TransIds, BSTR, BSTR, BSTR, BSTR) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE OnPlannedField(BSTR, BSTR, BSTR) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE OnPlanEnd(BSTR) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE OnRunBegin(ISyncRunReport* pReport) override
    {
        LONG count = -1;
        EXPECT_EQ(pReport->GetItemCount(&count), S_OK);
        EXPECT_EQ(count, 0);
        runs.emplace_back("begin");
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE OnPassBegin(_SyncPass pass) override
    {
        runs.emplace_back(pass == passCategories ? "categories" : "contacts");
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE OnItem(ISyncReportItem* pItem) override
    {
        lines.push_back(lineOf(pItem));
        return E_ABORT; // a report cannot stop a run
    }
    HRESULT STDMETHODCALLTYPE OnRunEnd(ISyncRunReport* pReport) override
    {
        LONG end = 0, code = 0;
        com::Bstr text;
        EXPECT_EQ(pReport->GetEnd(&end, &code, text.put()), S_OK);
        runs.push_back("end " + std::to_string(end) + (text.empty() ? "" : " " + textOf(text)));
        last = com::Ptr<ISyncRunReport>(pReport);
        return S_OK;
    }
    [[nodiscard]] LONG count(_SyncPass pass, _TransIds side, _ReportAction action) const
    {
        LONG found = -1;
        EXPECT_EQ(last->GetCount(pass, side, action, &found), S_OK);
        return found;
    }
};

class RunReport : public testing::Test {
protected:
    HRESULT sync(bool again = false, bool silent = true)
    {
        s.makeMap();
        sink->lines.clear();
        sink->runs.clear();
        sink->writes = 0;
        const auto synchronizer = s.create<ISynchronizer>(__uuidof(Synchronizer));
        com::Ptr<IConnectionPoint> point;
        DWORD cookie = 0;
        com::check(synchronizer.as<IConnectionPointContainer>()->FindConnectionPoint(__uuidof(ISyncEvents), point.put()));
        com::check(point->Advise(static_cast<ISyncEvents*>(sink.get()), &cookie));
        com::check(synchronizer->Initialize(nullptr, VARIANT_FALSE));
        const VARIANT_BOOL asksNothing = silent ? VARIANT_TRUE : VARIANT_FALSE;
        const HRESULT hr = again ? synchronizer.as<IReSynchronizer>()->ReSynchronize(s.map(), asksNothing)
                                 : synchronizer->Synchronize(s.map(), asksNothing);
        (void)point->Unadvise(cookie);
        return hr;
    }
    SyncScenario s;
    mbtest::FrontEndFake user; // says no
    com::Ptr<ReportSink> sink = com::make<ReportSink>();
};

} // namespace

TEST_F(RunReport, EachRecordIsToldWithItsSideActionIdentifiersAndName)
{
    const auto ada = s.one().add(person(u"Ada", u"Lovelace"));
    const auto old = s.two().add(person(u"Old", u"Contact"));
    ASSERT_EQ(sync(), S_OK);
    EXPECT_THAT(sink->lines,
                ElementsAre("contacts 2 created Ada Lovelace [B000002 A000001]", "contacts 1 created Old Contact [A000002 B000001]"));
    EXPECT_THAT(sink->runs, ElementsAre("begin", "contacts", "end 1"));

    s.one().set(ada, ftCity1, u"London");
    s.one().set(ada, ftPhone, u"1");
    s.two().remove(old);
    s.one().add(person(u"Bo", u"Same"));
    s.two().add(person(u"Bo", u"Same"));
    ASSERT_EQ(sync(), S_OK);
    EXPECT_THAT(sink->lines, ElementsAre("contacts 2 updated Ada Lovelace [B000002 A000001] City=9 Phone=20",
                                         "contacts 1 linked Bo Same [A000003 B000003]", "contacts 1 deleted Old Contact [A000002 ]"));
    EXPECT_EQ(sink->count(passContacts, idTrans2, raUpdated), 1);
    EXPECT_EQ(sink->count(passContacts, idTrans1, raDeleted), 1);
    EXPECT_EQ(sink->count(passContacts, idTrans1, raLinked), 1);
    EXPECT_EQ(sink->count(passContacts, idTrans2, raDeleted), 0);
    EXPECT_EQ(sink->count(passCategories, idTrans2, raUpdated), 0);
}

TEST_F(RunReport, AConflictIsToldWithHowItWasSettledAndSoIsWhatItWrote)
{
    const auto ada = s.one().add({{ftFirstName, u"Ada"}, {ftLastName, u"Lovelace"}, {ftCity1, u"London"}});
    ASSERT_EQ(sync(), S_OK);
    s.setOption(soConflictResolution, croTrans2Wins);
    s.one().set(ada, ftCity1, u"Paris");
    s.two().set(s.two().order.front(), ftCity1, u"Rome");
    ASSERT_EQ(sync(), S_OK);
    EXPECT_THAT(sink->lines, ElementsAre("contacts 1 conflict Ada Lovelace [A000001 B000001] conflict 5",
                                         "contacts 1 updated Ada Lovelace [A000001 B000001] City=9 conflict 5"));
}

TEST_F(RunReport, AMergeThatNobodyMadeIsToldAsNone)
{
    const auto ada = s.one().add({{ftFirstName, u"Ada"}, {ftLastName, u"Lovelace"}, {ftCity1, u"London"}});
    ASSERT_EQ(sync(), S_OK);
    s.setOption(soConflictResolution, croMerge);
    s.one().set(ada, ftCity1, u"Paris");
    s.two().set(s.two().order.front(), ftCity1, u"Rome");
    ASSERT_EQ(sync(), S_OK);
    EXPECT_THAT(sink->lines, ElementsAre("contacts 1 conflict Ada Lovelace [A000001 B000001] conflict 3"));
    EXPECT_THAT(s.lastLog(), HasSubstr("SETTLED: both stay as they are"));
    EXPECT_THAT(s.lastLog(), Not(HasSubstr("merged")));
}

TEST_F(RunReport, TheTwoPassesAreToldApart)
{
    s.one().options.categories = s.two().options.categories = true;
    s.one().addCategory(u"Friends");
    s.two().add(person(u"Ada", u"Lovelace"));
    ASSERT_EQ(sync(), S_OK);
    ASSERT_EQ(sink->lines.size(), 2u);
    EXPECT_THAT(sink->lines[0], HasSubstr("categories 2 created Friends"));
    EXPECT_THAT(sink->lines[1], HasSubstr("contacts 1 created Ada Lovelace"));
    EXPECT_THAT(sink->runs, ElementsAre("begin", "categories", "contacts", "end 1")) << "both passes are one run";
    EXPECT_EQ(sink->count(passCategories, idTrans2, raCreated), 1);
}

TEST_F(RunReport, AFailureIsToldWithItsRecordCodeAndText)
{
    s.one().add(person(u"Ada", u"Lovelace"));
    s.two().options.errorMessage1 = u"The disk is full.";
    s.log().failOn("2 SaveRecord", 1, static_cast<HRESULT>(0x8004020D));
    EXPECT_EQ(sync(), static_cast<HRESULT>(0x8004020D));
    EXPECT_THAT(sink->lines, ElementsAre("contacts 2 failed Ada Lovelace [ A000001] code 525 The disk is full."));
    EXPECT_THAT(sink->runs, ElementsAre("begin", "contacts", "end 5 The disk is full."));
}

TEST_F(RunReport, ACancelledRunTellsWhatItWroteBefore)
{
    s.one().add(person(u"Ada", u"Lovelace"));
    s.one().add(person(u"Grace", u"Hopper"));
    sink->cancelAtWrite = 1;
    EXPECT_EQ(sync(), E_ABORT);
    EXPECT_EQ(sink->lines.size(), 1u);
    EXPECT_THAT(sink->runs, ElementsAre("begin", "contacts", "end 2"));
    EXPECT_THAT(s.lastLog(), HasSubstr("Synchronization was cancelled by the user"));
}

TEST_F(RunReport, ARunThatItsHostStopsIsNoCancelOfTheUsers)
{
    s.one().add(person(u"Ada", u"Lovelace"));
    sink->onPlan = E_ABORT;
    EXPECT_EQ(sync(), E_ABORT);
    EXPECT_THAT(sink->runs, ElementsAre("begin", "contacts", "end 3"));
    EXPECT_THAT(s.logText(), Not(HasSubstr("cancelled by the user")));
    EXPECT_THAT(s.logText(), HasSubstr("The program that started the synchronization stopped it before anything was written"));
}

TEST_F(RunReport, ASummaryThatNobodyCouldBeShownIsNoCancelOfTheUsers)
{
    user.nobody = true;
    s.one().add(person(u"Ada", u"Lovelace"));
    EXPECT_EQ(sync(false, false), E_ABORT);
    EXPECT_THAT(sink->runs, ElementsAre("begin", "contacts", "end 6"));
    EXPECT_THAT(s.logText(), Not(HasSubstr("cancelled by the user")));
    EXPECT_THAT(s.logText(), HasSubstr("A question could not be asked"));
    user.nobody = false;
    EXPECT_EQ(sync(false, false), E_ABORT);
    EXPECT_EQ(sink->runs.back(), "end 2") << "a user who says no";
    EXPECT_THAT(s.lastLog(), HasSubstr("cancelled by the user"));
}

TEST_F(RunReport, AConflictThatNobodyCouldBeAskedAboutIsNoCancelOfTheUsers)
{
    const auto ada = s.one().add({{ftFirstName, u"Ada"}, {ftLastName, u"Lovelace"}, {ftCity1, u"London"}});
    const auto grace = s.one().add({{ftFirstName, u"Grace"}, {ftLastName, u"Hopper"}, {ftCity1, u"London"}});
    ASSERT_EQ(sync(), S_OK);
    user.nobody = true;
    s.one().set(ada, ftCity1, u"Paris");
    s.two().set(s.two().order.front(), ftCity1, u"Rome");
    EXPECT_EQ(sync(false, false), E_ABORT);
    EXPECT_EQ(sink->runs.back(), "end 6");
    s.one().set(ada, ftCity1, u"Rome");
    s.one().remove(grace);
    s.two().set(s.two().order.back(), ftCity1, u"Oslo");
    EXPECT_EQ(sync(false, false), E_ABORT);
    EXPECT_EQ(sink->runs.back(), "end 6") << "changed on one side, deleted on the other";
    EXPECT_THAT(s.logText(), Not(HasSubstr("cancelled by the user")));
    EXPECT_EQ(user.captions.size(), 2u);
}

TEST_F(RunReport, ARefusedRunTellsWhy)
{
    for (const char16_t* last : {u"One", u"Two", u"Three", u"Four"}) s.one().add(person(u"A", last));
    s.makeMap();
    ASSERT_EQ(s.maps()->SetOption(s.map(), soDeletionLimit, com::Variant(LONG{50})), S_OK);
    ASSERT_EQ(sync(), S_OK);
    while (!s.one().order.empty()) s.one().remove(std::u16string(s.one().order.front()));
    EXPECT_EQ(sync(), static_cast<HRESULT>(0x80040240));
    ASSERT_EQ(sink->runs.size(), 3u);
    EXPECT_THAT(sink->runs[2], HasSubstr("end 4 First no longer has 4 of the 4 records"));
    EXPECT_THAT(sink->lines, IsEmpty());
    EXPECT_THAT(s.logText(), Not(HasSubstr("cancelled by the user")));
}

TEST_F(RunReport, ARunThatStartsOverStaysOneRun)
{
    s.one().add(person(u"Ada", u"Lovelace"));
    s.log().failOn("2 GetRecordCount", 1, static_cast<HRESULT>(0x80040212));
    EXPECT_EQ(sync(), S_OK);
    EXPECT_THAT(sink->runs, ElementsAre("begin", "contacts", "contacts", "end 1"));
    LONG items = 0;
    ASSERT_EQ(sink->last->GetItemCount(&items), S_OK);
    EXPECT_EQ(items, 1);
}

TEST_F(RunReport, WhatARunThatStartsOverFoundOutStandsInTheReportOnce)
{
    s.two().options.leavesOut = u"a card, line 3";
    s.log().failOn("2 GetRecordCount", 1, static_cast<HRESULT>(0x80040212));
    ASSERT_EQ(sync(), S_OK);
    EXPECT_EQ(sink->lines.size(), 2u) << "told by each of the two";
    EXPECT_EQ(sink->count(passContacts, idTrans2, raLeftOut), 1);
}

TEST_F(RunReport, TheReportListsWhatWasToldAndBelongsToItsMap)
{
    s.one().add(person(u"Ada", u"Lovelace"));
    ASSERT_EQ(sync(), S_OK);
    com::Ptr<ISyncReportItem> item;
    ASSERT_EQ(sink->last->GetItem(0, item.put()), S_OK);
    EXPECT_EQ(lineOf(item.get()), sink->lines.at(0));
    EXPECT_EQ(sink->last->GetItem(1, item.put()), E_INVALIDARG);
    EXPECT_EQ(sink->last->GetItem(-1, item.put()), E_INVALIDARG);
    com::Bstr map;
    ASSERT_EQ(sink->last->GetMap(map.put()), S_OK);
    EXPECT_EQ(map.text(), com::guidText(s.map()));
}

TEST_F(RunReport, NamesAreToldAlsoWhileTheLogIsSwitchedOff)
{
    const DWORD former = std::exchange(mb::LogLevelMask, 0);
    s.one().add(person(u"Ada", u"Lovelace"));
    const HRESULT hr = sync();
    mb::LogLevelMask = former;
    ASSERT_EQ(hr, S_OK);
    EXPECT_THAT(sink->lines, ElementsAre("contacts 2 created Ada Lovelace [B000001 A000001]"));
}

TEST_F(RunReport, WhatATranslatorLeavesOutIsToldOnceAndLoggedAsItStands)
{
    s.two().options.leavesOut = u"a card of 100%s, line 3";
    s.one().options.categories = s.two().options.categories = true;
    ASSERT_EQ(sync(), S_OK);
    EXPECT_THAT(sink->lines, ElementsAre("categories 2 left out  [ ] a card of 100%s, line 3"));
    EXPECT_THAT(s.logText(), HasSubstr("a card of 100%s, line 3"));
}

TEST_F(RunReport, WhatATranslatorNotesIsNotToldAsLeftOut)
{
    s.two().options.notes = u"a line of 100%s";
    s.one().options.categories = s.two().options.categories = true;
    ASSERT_EQ(sync(), S_OK);
    EXPECT_THAT(sink->lines, ElementsAre("categories 2 noted  [ ] a line of 100%s"));
    EXPECT_THAT(s.logText(), HasSubstr("a line of 100%s"));
}

// ---- Two stores of one kind are told apart --------------------------------------------------------------------------------------------

TEST_F(RunReport, TwoStoresOfOneNameAreNamedWithTheirPlaces)
{
    s.one().options.shortName = s.two().options.shortName = u"vCard";
    s.one().options.database = u"/home/ada/Contacts/";
    s.two().options.database = u"/media/phone/export.vcf";
    s.one().add(person(u"Ada", u"Lovelace"));
    s.two().add(person(u"Grace", u"Hopper"));
    ASSERT_EQ(sync(), S_OK);
    EXPECT_THAT(s.logText(), HasSubstr("CREATED in vCard (export.vcf): Ada Lovelace"));
    EXPECT_THAT(s.logText(), HasSubstr("CREATED in vCard (Contacts): Grace Hopper"));
}

TEST_F(RunReport, StoresOfDifferentNamesKeepThem)
{
    s.one().options.database = u"/home/ada/Contacts";
    s.two().options.database = u"/media/phone/export.vcf";
    s.one().add(person(u"Ada", u"Lovelace"));
    ASSERT_EQ(sync(), S_OK);
    EXPECT_THAT(s.logText(), HasSubstr("CREATED in Second: Ada Lovelace"));
}

TEST_F(RunReport, AFailureNamesTheOneOfTwoStoresOfOneName)
{
    s.one().options.shortName = s.two().options.shortName = u"vCard";
    s.one().options.database = u"/home/ada/Contacts";
    s.two().options.database = u"/home/bob/Contacts";
    s.one().add(person(u"Ada", u"Lovelace"));
    s.log().failOn("2 SaveRecord", 1, static_cast<HRESULT>(0x8004020D));
    EXPECT_EQ(sync(), static_cast<HRESULT>(0x8004020D));
    EXPECT_THAT(sink->runs, ElementsAre("begin", "contacts", "end 5 An error occurred while saving a contact in vCard (bob/Contacts)"));
}
