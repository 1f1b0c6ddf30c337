// The driver: which maps run, what makes a run start over, and what is left of a failure.
#include "People.h"
#include "SyncScenario.h"

#include <gmock/gmock.h>

namespace {

using mbtest::FakeValues;
using mbtest::person;
using mbtest::SyncScenario;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

constexpr HRESULT runAgain = static_cast<HRESULT>(0x80040212), rebuildFields = static_cast<HRESULT>(0x80040213),
                  silentStop = static_cast<HRESULT>(0x80040211), saveFailed = static_cast<HRESULT>(0x8004020D);

VARIANT_BOOL lastStatus(SyncScenario& s)
{
    VARIANT_BOOL good = VARIANT_TRUE;
    (void)s.maps()->GetLastSyncStatus(s.map(), &good);
    return good;
}

} // namespace

TEST(Run, NoMapsAtAllIsSuccess)
{
    SyncScenario s;
    EXPECT_EQ(s.syncAll(), S_OK);
    EXPECT_THAT(s.log().lines, IsEmpty());
}

TEST(Run, AFailureOnTheSecondOfThreeMapsLeavesTheThirdNotRun)
{
    SyncScenario s;
    s.makeMap();
    s.addMap();
    s.addMap();
    s.log().failOn("1 Initialize", 2, E_FAIL);
    EXPECT_EQ(s.syncAll(), E_FAIL);
    EXPECT_EQ(s.log().count("1 Initialize"), 2);
}

TEST(Run, ATranslatorThatAsksForItIsRunAgainFromAnEmptyHistory)
{
    SyncScenario s;
    s.one().add(person(u"Ada", u"Lovelace"));
    for (int n = 1; n <= 5; ++n) s.log().failOn("1 Initialize", n, runAgain);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.log().count("1 Initialize"), 6) << "there is no bound to the repeats";
    EXPECT_THAT(s.two().records, SizeIs(1));
    s.expectInStep();
}

TEST(Run, ARunThatATranslatorAsksForAgainForgetsWhatTheMapKnew)
{
    for (const HRESULT code : {runAgain, rebuildFields}) {
        SyncScenario s;
        s.one().add(person(u"Ada", u"Lovelace"));
        ASSERT_EQ(s.sync(), S_OK);
        s.log().failOn("1 Initialize", 2, code);
        EXPECT_EQ(s.sync(), S_OK);
        EXPECT_THAT(s.lastLog(), HasSubstr("First time synchronization"));
        EXPECT_THAT(s.lastLog(), HasSubstr("MATCHED: Ada Lovelace")) << "it is found again as a duplicate";
        EXPECT_THAT(s.one().records, SizeIs(1));
        EXPECT_THAT(s.two().records, SizeIs(1));
        s.expectInStep();
    }
}

TEST(Run, ATranslatorMayAskForTheFieldMapToBeMadeAnew)
{
    SyncScenario s;
    s.makeMap();
    s.one().fields.push_back({ftOther, u"Other"});
    s.two().fields.push_back({ftOther, u"Other"});
    s.one().add({{ftFirstName, u"Ada"}, {ftOther, u"x"}});
    s.log().failOn("2 Initialize", 1, rebuildFields);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.two().get(s.two().order.at(0), ftOther), u"x");
}

TEST(Run, ASilentStopEndsTheRunAndLeavesTheStatusAsItWas)
{
    SyncScenario s;
    EXPECT_EQ(s.sync(), S_OK);
    s.log().failOn("1 Initialize", 2, silentStop);
    EXPECT_EQ(s.sync(), silentStop);
    EXPECT_EQ(lastStatus(s), VARIANT_TRUE);
}

TEST(Run, CategoriesOnOneSideOnlyMakeNoCategoryPassAndNoStartedLine)
{
    SyncScenario s;
    s.one().options.categories = true;
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.log().starting("1 InitializeCategories"), IsEmpty());
    EXPECT_THAT(s.logText(), Not(HasSubstr("Synchronization started")));
    EXPECT_THAT(s.logText(), HasSubstr("Synchronization ended"));
}

TEST(Run, CategoriesOnBothSidesAreBroughtIntoStepBeforeTheContacts)
{
    SyncScenario s;
    s.one().options.categories = s.two().options.categories = true;
    s.one().addCategory(u"Friends");
    s.two().addCategory(u"Work");
    s.one().add(person(u"Ada", u"Lovelace"));
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.one().categories, SizeIs(2));
    EXPECT_THAT(s.two().categories, SizeIs(2));
    EXPECT_THAT(s.two().records, SizeIs(1));
    EXPECT_THAT(s.logText(), HasSubstr("Start synchronizing category list."));
    EXPECT_THAT(s.logText(), HasSubstr("Synchronization started"));
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.writes(), IsEmpty());
}

TEST(Run, AUserWhoCancelsDuringTheCategoryPassHasNoContactPass)
{
    SyncScenario s;
    s.one().options.categories = s.two().options.categories = true;
    s.one().addCategory(u"Friends");
    s.sink().cancelAt = 1;
    EXPECT_EQ(s.sync(), E_ABORT);
    EXPECT_THAT(s.log().starting("1 Initialize"), SizeIs(1)) << "that of the categories alone";
}

TEST(Run, ACancelWhileWritingKeepsWhatWasWrittenAndTheNextRunGoesOn)
{
    SyncScenario s;
    for (int i = 0; i < 5; ++i) s.one().add(person(u"Ada", u"Lovelace"));
    s.makeMap();
    EXPECT_EQ(s.sync(), S_OK);
    for (int i = 0; i < 5; ++i) s.one().add(person(u"Grace", u"Hopper"));
    s.sink().writes = 0;
    s.sink().cancelAtWrite = 2;
    EXPECT_EQ(s.sync(), E_ABORT);
    EXPECT_THAT(s.logText(), HasSubstr("Synchronization was cancelled by the user"));
    EXPECT_THAT(s.log().starting("2 EndUpdate"), SizeIs(1)) << "a cancelled side is complete";
    EXPECT_THAT(s.two().records, SizeIs(7));
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.two().records, SizeIs(10));
    s.expectInStep();
}

TEST(Run, AFailedSaveEndsTheSideWithoutEndUpdateAndTheNextRunCompletes)
{
    SyncScenario s;
    for (int i = 0; i < 4; ++i) s.one().add(person(u"Ada", u"Lovelace"));
    s.two().options.errorMessage1 = u"The disk is full.";
    s.two().options.errorCode = 28;
    s.log().failOn("2 SaveRecord", 3, saveFailed);
    EXPECT_EQ(s.sync(), saveFailed);
    EXPECT_THAT(s.log().starting("2 EndUpdate"), IsEmpty());
    EXPECT_THAT(s.log().starting("2 Cleanup"), SizeIs(1));
    EXPECT_EQ(lastStatus(s), VARIANT_FALSE);
    EXPECT_EQ(s.lastError().first, u"The disk is full.");
    EXPECT_EQ(s.lastError().first, u"The disk is full.") << "the error may be read again";
    EXPECT_THAT(s.logText(), HasSubstr("The disk is full. (28)"));
    EXPECT_THAT(s.two().records, SizeIs(2));
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.two().records, SizeIs(4)) << "nothing is doubled";
    s.expectInStep();
}

TEST(Run, AFailedDeleteEndsTheSideWithoutEndUpdate)
{
    SyncScenario s;
    const auto ada = s.one().add(person(u"Ada", u"Lovelace"));
    EXPECT_EQ(s.sync(), S_OK);
    s.one().remove(ada);
    s.log().failOn("2 DeleteRecord", 1, static_cast<HRESULT>(0x8004020E));
    EXPECT_EQ(s.sync(), static_cast<HRESULT>(0x8004020E));
    EXPECT_THAT(s.log().starting("2 EndUpdate"), IsEmpty());
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.two().records, IsEmpty());
}

TEST(Run, ABatchThatCannotBeClosedIsForgottenByTheHistory)
{
    SyncScenario s;
    s.one().add(person(u"Ada", u"Lovelace"));
    EXPECT_EQ(s.sync(), S_OK);
    const auto grace = s.one().add(person(u"Grace", u"Hopper"));
    s.log().failOn("2 EndUpdate", 2, E_FAIL);
    EXPECT_EQ(s.sync(), E_FAIL);
    s.two().remove(s.two().order.back()); // the batch is lost with all it held
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_TRUE(s.one().has(grace)) << "what was never kept on side 2 was not deleted there";
    EXPECT_THAT(s.two().records, SizeIs(2));
    s.expectInStep();
}

TEST(Run, ATranslatorThatThrowsIsAFailureLikeAnyOther)
{
    SyncScenario s;
    s.one().add(person(u"Ada", u"Lovelace"));
    s.log().throwOn("2 SaveRecord", 1);
    EXPECT_EQ(s.sync(), E_UNEXPECTED);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.two().records, SizeIs(1));
}

TEST(Run, AStoreThatMayNotBeWrittenFailsTheRunBeforeItsBatch)
{
    SyncScenario s;
    s.two().options.userAccess = true;
    s.two().options.canWrite = false;
    s.one().add(person(u"Ada", u"Lovelace"));
    EXPECT_EQ(s.sync(), E_FAIL);
    EXPECT_THAT(s.log().starting("2 BeginUpdate"), IsEmpty());
}

TEST(Run, AnEmptyFieldMapDoesNothingButTheLogsHeaderAndFooter)
{
    SyncScenario s;
    s.one().fields = {{ftFirstName, u"First name"}};
    s.two().fields = {{ftCompany, u"Company"}};
    s.one().add({{ftFirstName, u"Ada"}});
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.log().starting("1 GetRecordCount"), IsEmpty());
    EXPECT_THAT(s.logText(), HasSubstr("Start synchronizing contacts."));
    EXPECT_THAT(s.logText(), HasSubstr("End synchronizing contacts."));
    EXPECT_THAT(s.logText(), Not(HasSubstr("Copying")));
}

TEST(Run, ATranslatorWithoutFieldsIsNoInterface)
{
    SyncScenario s;
    s.makeMap();
    s.two().options.field = false;
    EXPECT_EQ(s.sync(), E_NOINTERFACE);
}

TEST(Run, AMissingPluginFailsWithASentenceThatNamesIt)
{
    SyncScenario s;
    constexpr GUID nobody{0x12345678, 0, 0, {1, 2, 3, 4, 5, 6, 7, 8}};
    s.makeMap();
    const GUID map = com::newGuid();
    EXPECT_NE(s.maps()->CreateEx(map, mbtest::fakeClass1, nobody), S_OK);
    EXPECT_TRUE(FAILED(s.syncMap(map)));
    EXPECT_THAT(s.logText(), HasSubstr("occurred while loading module {12345678"));
}

TEST(Run, AnErrorFreeSynchronizerTellsNone)
{
    SyncScenario s;
    EXPECT_EQ(s.lastError().first, u"");
    EXPECT_EQ(s.lastError().second, u"");
}

TEST(Run, AHistoryThatLostOneHalfOfAPairIsHealed)
{
    SyncScenario s;
    s.setOption(soSyncType, stExportFromTrans1);
    s.one().add(person(u"Ada", u"Lovelace"));
    EXPECT_EQ(s.sync(), S_OK);
    const auto path = s.folder.data() / std::filesystem::path(com::guidText(s.map()) + u".xml");
    std::string text = s.folder.read(path);
    const std::string type = "<ST>Trans2</ST><SN>QjAwMDAwMQ==</SN>"; // the record B000001
    const std::size_t at = text.find(type);
    ASSERT_NE(at, std::string::npos);
    const std::size_t start = text.rfind("<Sc>", at), end = text.find("</Sc>", at) + 5;
    text.erase(start, end - start);
    s.folder.write(std::filesystem::relative(path, s.folder.path()).string(), text);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.log().starting("2 BeginAddRecord"), SizeIs(1)) << "without its half the other is forgotten too";
}

TEST(Run, ADamagedHistoryIsKeptBesideAndTheRunBeginsAnew)
{
    SyncScenario s;
    s.setOption(soSyncType, stExportFromTrans1);
    s.one().add(person(u"Ada", u"Lovelace"));
    EXPECT_EQ(s.sync(), S_OK);
    const auto path = s.folder.data() / std::filesystem::path(com::guidText(s.map()) + u".xml");
    s.folder.write(std::filesystem::relative(path, s.folder.path()).string(), "<Scs><Sc>");
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.folder.read(path.string() + ".damaged"), "<Scs><Sc>");
    EXPECT_THAT(s.logText(), HasSubstr("First time synchronization"));
}

TEST(Run, TheOptionsOfOneMapAreNotThoseOfTheNext)
{
    SyncScenario s;
    s.setOption(soSyncType, stImportToTrans1);
    s.addMap(); // nothing is set for it
    s.one().add(person(u"Ada", u"Lovelace"));
    EXPECT_EQ(s.syncAll(), S_OK);
    EXPECT_THAT(s.two().records, SizeIs(1)) << "the second map goes both ways";
}

TEST(Run, AFailedRunOverAnExchangedStoreLeavesNoHistoryThatDeletesByIt)
{
    SyncScenario s;
    for (const char16_t* last : {u"Lovelace", u"Hopper", u"Turing"}) s.one().add(person(u"F", last));
    EXPECT_EQ(s.sync(), S_OK);
    s.two().options.database = u"another store";
    for (const std::u16string& id : std::vector(s.two().order)) s.two().remove(id);
    s.two().add(u"X1", person(u"F", u"Noether"));
    s.log().failOn("2 GetRecordCount", s.log().count("2 GetRecordCount") + 1, E_FAIL);
    EXPECT_EQ(s.sync(), E_FAIL);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.one().records, SizeIs(4));
    EXPECT_THAT(s.two().records, SizeIs(4));
}

TEST(Run, AnExchangedStoreCostsNoContactInThisRunOrTheNext)
{
    for (const bool ofTwo : {false, true}) {
        SyncScenario s;
        mbtest::FakeStore &kept = ofTwo ? s.one() : s.two(), &exchanged = ofTwo ? s.two() : s.one();
        for (const char16_t* last : {u"Lovelace", u"Hopper", u"Turing"}) kept.add(person(u"F", last));
        EXPECT_EQ(s.sync(), S_OK);
        exchanged.options.database = u"another store";
        for (const std::u16string& id : std::vector(exchanged.order)) exchanged.remove(id);
        exchanged.add(u"X1", person(u"F", u"Noether"));
        exchanged.add(u"X2", person(u"F", u"Germain"));
        for (int run = 1; run <= 2; ++run) {
            EXPECT_EQ(s.sync(), S_OK);
            EXPECT_THAT(s.log().starting("1 DeleteRecord"), IsEmpty()) << run;
            EXPECT_THAT(s.log().starting("2 DeleteRecord"), IsEmpty()) << run;
            EXPECT_THAT(kept.records, SizeIs(5)) << run;
            EXPECT_THAT(exchanged.records, SizeIs(5)) << run;
        }
        EXPECT_THAT(s.rememberedRecords(idTrans1), SizeIs(5)) << "nothing of the former store is left in the history";
        EXPECT_THAT(s.rememberedRecords(idTrans2), SizeIs(5));
        s.expectInStep();
    }
}

TEST(Run, AHistoryThatCannotBeOpenedEndsTheRunBeforeAnyStoreIsLookedAt)
{
    SyncScenario s;
    s.one().add(person(u"Ada", u"Lovelace"));
    EXPECT_EQ(s.sync(), S_OK);
    std::filesystem::remove(s.historyFile());
    std::filesystem::create_directories(s.historyFile() / "inside");
    s.one().remove(s.one().order.front());
    EXPECT_TRUE(FAILED(s.sync()));
    EXPECT_THAT(s.log().lines, IsEmpty());
    EXPECT_TRUE(std::filesystem::is_directory(s.historyFile() / "inside"));
    EXPECT_THAT(s.two().records, SizeIs(1));
}

TEST(Run, ATranslatorWithFieldsAndNothingElseIsSynchronised)
{
    SyncScenario s;
    for (mbtest::FakeStore* store : {&s.one(), &s.two()}) {
        mbtest::FakeOptions& o = store->options;
        o.info = o.infoEx = o.updater = o.categories = o.dynamicFields = o.validator = o.images = o.userAccess = o.setUp = false;
        o.matcher = o.verifier = o.duplicates = o.test = false;
    }
    s.one().add(person(u"Ada", u"Lovelace"));
    s.two().add(person(u"Grace", u"Hopper"));
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.one().records, SizeIs(2));
    s.expectInStep();
}
