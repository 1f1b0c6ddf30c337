#include "engine/FailureReport.h"
#include "foundation/Log.h"
#include "foundation/SilentMode.h"
#include "FrontEndFake.h"
#include "host.h"
#include "registry.h"
#include "ShownMessages.h"
#include "store/CSyncHistory.h"
#include "SyncScenario.h"
#include "text.h"

#include <gmock/gmock.h>

namespace {

using mbtest::SyncScenario;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr HRESULT engineCode(unsigned low) { return static_cast<HRESULT>(0x80040000u | low); }

// A contact to write, and a target that fails to begin.
class FailureReport : public testing::Test {
protected:
    FailureReport() { s.one().add({{ftLastName, u"Lovelace"}}); }
    // A run with a user, and what it showed.
    std::string show(HRESULT failure)
    {
        s.makeMap();
        s.log().failOn("2 BeginUpdate", s.log().count("2 BeginUpdate") + 1, failure);
        mbtest::FrontEndFake user;
        user.byDefault = mb::idOk; // to the summary
        const auto synchronizer = s.create<ISynchronizer>(__uuidof(Synchronizer));
        EXPECT_EQ(synchronizer->Initialize(nullptr, VARIANT_FALSE), S_OK);
        const mbtest::ShownMessages shown;
        EXPECT_EQ(synchronizer->Synchronize(s.map(), VARIANT_FALSE), failure);
        return shown.text();
    }
    bool lastRunWasGood()
    {
        VARIANT_BOOL good = VARIANT_FALSE;
        EXPECT_EQ(s.maps()->GetLastSyncStatus(s.map(), &good), S_OK);
        return good != VARIANT_FALSE;
    }
    SyncScenario s;
};

} // namespace

TEST_F(FailureReport, ATextWithACodeHasTheCodeInBracketsBehindIt)
{
    s.two().options.errorCode = 42;
    s.two().options.errorMessage1 = u"The store is locked.";
    EXPECT_THAT(show(engineCode(0x204)), HasSubstr("The store is locked. (42)"));
}

TEST_F(FailureReport, TwoTextsHaveAnEmptyLineBetweenThem)
{
    s.two().options.errorMessage1 = u"The store is locked.";
    s.two().options.errorMessage2 = u"Close the other program.";
    (void)show(engineCode(0x204));
    EXPECT_THAT(s.logText(), HasSubstr("The store is locked.\n\nClose the other program."));
}

TEST_F(FailureReport, WithoutATextTheMessageOfTheCodeNamesTheTranslator)
{
    const std::pair<unsigned, const char*> table[] = {
        {0x201, "An error occurred while initializing Second"},
        {0x202, "An error occurred while opening the Second file"},
        {0x203, "An error occurred while closing the Second file"},
        {0x204, "An error occurred while saving the Second file"},
        {0x205, "An error occurred while reading the configuration for Second"},
        {0x206, "An error occurred while writing the configuration for Second"},
        {0x207, "An error occurred while finding a contact in Second"},
        {0x208, "An error occurred while reading a contact from Second"},
        {0x209, "An error occurred while reading contact information from Second"},
        {0x20A, "An error occurred while adding a contact to Second"},
        {0x20B, "An error occurred while editing a contact in Second"},
        {0x20C, "An error occurred while writing contact information to Second"},
        {0x20D, "An error occurred while saving a contact in Second"},
        {0x20E, "An error occurred while deleting a contact in Second"},
        {0x20F, "An error occurred while updating information in Second"},
        {0x210, "An error occurred while updating information in Second"},
        {0x218, "An error occurred while initializing Second"},
    };
    s.two().options.errorCode = 7;
    for (const auto& [low, text] : table) EXPECT_THAT(show(engineCode(low)), HasSubstr(std::string(text) + " (7)")) << low;
}

TEST_F(FailureReport, ACodeOfTheSystemsHasTheSystemsTextAndNoNumber)
{
    s.two().options.errorCode = 7;
    const std::string shown = show(E_OUTOFMEMORY);
    EXPECT_THAT(shown, Not(IsEmpty()));
    EXPECT_THAT(shown, Not(HasSubstr("(7)")));
}

TEST_F(FailureReport, ACodeNextToTheEnginesOwnHasTheSystemsTextAndNoNumber)
{
    s.two().options.errorCode = 7;
    for (const unsigned low : {0x200u, 0x219u}) {
        s.two().options.errorMessage1.clear();
        EXPECT_EQ(show(engineCode(low)), platform::utf8(platform::systemMessage(engineCode(low))) + "\n");
        s.two().options.errorMessage1 = u"The store is locked.";
        EXPECT_EQ(show(engineCode(low)), "The store is locked.\n");
    }
}

TEST_F(FailureReport, ASilentRunShowsNoBoxAndWritesTheTextToTheLog)
{
    s.makeMap();
    s.two().options.errorMessage1 = u"The store is locked.";
    s.log().failOn("2 BeginUpdate", 1, engineCode(0x204));
    const mbtest::ShownMessages shown;
    EXPECT_EQ(s.sync(), engineCode(0x204));
    EXPECT_EQ(shown.text(), "");
    EXPECT_THAT(s.logText(), HasSubstr("The store is locked."));
    EXPECT_EQ(s.lastError().first, u"The store is locked.");
    EXPECT_FALSE(lastRunWasGood());
}

TEST_F(FailureReport, TheScheduleStopShowsNoBoxAndLeavesTheSchedule)
{
    constexpr char16_t path[] = u"Software\\Zorel\\Mirabook\\MBSyncCfg";
    ASSERT_TRUE(platform::createKeyPath(platform::Root::CurrentUser, path));
    auto key = platform::RegistryKey::open(platform::Root::CurrentUser, path);
    ASSERT_TRUE(key);
    key->setNumber(u"AutoSyncEnabled", 1);
    key->setNumber(u"AutoSyncSchedule", 5);
    EXPECT_EQ(show(engineCode(0x214)), "");
    EXPECT_EQ(key->number(u"AutoSyncEnabled"), 1u);
    EXPECT_EQ(key->number(u"AutoSyncSchedule"), 5u);
    EXPECT_FALSE(lastRunWasGood());
}

TEST_F(FailureReport, TheSilentCodesShowNothing)
{
    for (const unsigned low : {0x211u, 0x215u, 0x216u}) EXPECT_EQ(show(engineCode(low)), "") << low;
}

TEST_F(FailureReport, ASilentStopAndACancelLeaveTheLastStatusAsItWas)
{
    EXPECT_EQ(s.sync(), S_OK);
    for (const HRESULT code : {engineCode(0x211), E_ABORT}) {
        s.one().set(s.one().order.at(0), ftCity1, code == E_ABORT ? u"a" : u"b");
        s.log().failOn("2 BeginUpdate", s.log().count("2 BeginUpdate") + 1, code);
        EXPECT_EQ(s.sync(), code);
        EXPECT_TRUE(lastRunWasGood());
    }
}

TEST_F(FailureReport, TheFailingSideIsAskedFirstAndTheOtherOneOnlyIfItTellsNothing)
{
    s.one().options.errorMessage1 = u"of one";
    s.two().options.errorMessage1 = u"of two";
    EXPECT_THAT(show(engineCode(0x204)), HasSubstr("of two"));
    s.two().options.errorMessage1.clear();
    EXPECT_THAT(show(engineCode(0x204)), HasSubstr("of one"));
    s.two().options.errorMessage1 = u"of two";
    s.two().add({{ftLastName, u"Hopper"}});
    s.log().failOn("1 SaveRecord", 1, engineCode(0x20D));
    EXPECT_EQ(s.sync(), engineCode(0x20D));
    EXPECT_EQ(s.lastError().first, u"of one") << "side 1 failed, and side 2 has something to tell too";
}

TEST_F(FailureReport, WithNoErrorTheHostGetsAnEmptyCodeAndTwoEmptyTexts)
{
    const auto synchronizer = s.create<ISynchronizer>(__uuidof(Synchronizer));
    com::Variant code;
    com::Bstr first, second;
    EXPECT_EQ(synchronizer->GetLastError(code.put(), first.put(), second.put()), S_OK);
    EXPECT_EQ(code.vt, VT_EMPTY);
    EXPECT_TRUE(first.empty());
    EXPECT_TRUE(second.empty());
}

TEST_F(FailureReport, TheHostMayReadTheCodeAndBothTextsAgain)
{
    s.two().options.errorCode = 42;
    s.two().options.errorMessage1 = u"The store is locked.";
    s.two().options.errorMessage2 = u"Close the other program.";
    s.makeMap();
    s.log().failOn("2 BeginUpdate", 1, engineCode(0x204));
    ASSERT_EQ(s.sync(), engineCode(0x204));
    for (int time = 1; time <= 2; ++time) {
        SCOPED_TRACE(time);
        EXPECT_EQ(s.lastCode().vt, VT_I4);
        EXPECT_EQ(s.lastCode().lVal, 42);
        EXPECT_EQ(s.lastError().first, u"The store is locked.");
        EXPECT_EQ(s.lastError().second, u"Close the other program.");
    }
}

TEST_F(FailureReport, AFailureThatNoTranslatorTellsOfBearsTheNameOfTheWhole)
{
    EXPECT_THAT(show(engineCode(0x204)), HasSubstr("An error occurred while saving the Mirabook Synchronization file"));
}

TEST_F(FailureReport, ACodeOfZeroAndNoTextIsNoErrorAndLeavesNoCode)
{
    s.one().options.errorCode = 0;
    s.two().options.errorCode = 0x10000; // zero in the 16 bits that are looked at
    s.makeMap();
    s.log().failOn("2 BeginUpdate", 1, engineCode(0x204));
    EXPECT_EQ(s.sync(), engineCode(0x204));
    EXPECT_EQ(s.lastCode().vt, VT_EMPTY);
    EXPECT_THAT(s.logText(), HasSubstr("An error occurred while saving the Mirabook Synchronization file\r\n"));
}

TEST_F(FailureReport, ATranslatorWithNoErrorLeavesNothingOfTheFormerOne)
{
    s.two().options.errorMessage1 = u"The store is locked.";
    s.two().options.errorMessage2 = u"Close the other program.";
    s.two().options.errorCode = 42;
    (void)show(engineCode(0x204));
    s.makeMap();
    s.log().failOn("2 BeginUpdate", s.log().count("2 BeginUpdate") + 1, engineCode(0x204));
    EXPECT_EQ(s.sync(), engineCode(0x204));
    s.two().options.info = false;
    s.log().failOn("2 BeginUpdate", s.log().count("2 BeginUpdate") + 1, engineCode(0x204));
    EXPECT_EQ(s.sync(), engineCode(0x204));
    EXPECT_EQ(s.lastError().first, u"");
    EXPECT_EQ(s.lastError().second, u"");
    EXPECT_EQ(s.lastCode().vt, VT_EMPTY);
}

TEST_F(FailureReport, AnErrorIsKeptWithItsCodeAndBothTextsThroughALaterSuccess)
{
    s.two().options.errorMessage1 = u"The store is locked.";
    s.two().options.errorMessage2 = u"Close the other program.";
    s.two().options.errorCode = 42;
    s.makeMap();
    s.log().failOn("2 BeginUpdate", 1, engineCode(0x204));
    EXPECT_EQ(s.sync(), engineCode(0x204));
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.lastError(), std::pair(std::u16string(u"The store is locked."), std::u16string(u"Close the other program.")));
    EXPECT_EQ(s.lastCode().lVal, 42);
}

TEST_F(FailureReport, ATranslatorThatFailedInAnEarlierRunIsNotBlamedForALaterOne)
{
    s.one().options.errorMessage1 = u"of one";
    s.two().options.errorMessage1 = u"of two";
    s.makeMap();
    s.log().failOn("1 GetRecordCount", 1, engineCode(0x207));
    EXPECT_EQ(s.sync(), engineCode(0x207));
    EXPECT_EQ(s.lastError().first, u"of one");
    s.log().failOn("2 BeginUpdate", 1, engineCode(0x204));
    EXPECT_EQ(s.sync(), engineCode(0x204));
    EXPECT_EQ(s.lastError().first, u"of two");
}

TEST_F(FailureReport, ATranslatorThatHadTheMapRunAgainIsNotBlamedForThatRun)
{
    s.makeMap();
    s.log().failOn("1 Initialize", 1, engineCode(0x212));
    s.log().failOn("2 BeginUpdate", 1, engineCode(0x204));
    EXPECT_EQ(s.sync(), engineCode(0x204));
    EXPECT_THAT(s.logText(), HasSubstr("An error occurred while saving the Mirabook Synchronization file\r\n"));
}

TEST(FailureOfATransfer, IsNotBlamedOnTheTranslatorThatHadItRunAgain)
{
    constexpr GUID host{0xC8679015, 0x906F, 0x4A0A, {0x87, 0x77, 0xFA, 0xD9, 0x45, 0xB2, 0xDD, 0xB6}};
    SyncScenario s(host);
    s.log().failOn("1 Initialize", 1, engineCode(0x212));
    s.log().failOn("2 BeginUpdate", 1, engineCode(0x204));
    const auto synchronizer = s.create<ISynchronizer>(__uuidof(Synchronizer));
    EXPECT_EQ(synchronizer->Initialize(nullptr, VARIANT_FALSE), S_OK);
    const com::Bstr target(com::guidText(mbtest::fakeClass2)), none(u"");
    EXPECT_EQ(synchronizer->Transfer(target.get(), none.get(), none.get(), nullptr, VARIANT_FALSE), engineCode(0x204));
    EXPECT_THAT(s.logText(), HasSubstr("An error occurred while saving the Mirabook Synchronization file\r\n"));
}

// ---- The report alone ----------------------------------------------------------------------------------------------------

namespace {

// A report in a silent run; what was shown.
std::string reportSilently(const mb::RunState& run, HRESULT failure)
{
    mb::SilentMode = VARIANT_TRUE;
    const mbtest::ShownMessages shown;
    mb::ReportFailure(run, failure);
    mb::SilentMode = VARIANT_FALSE;
    return shown.text();
}

} // namespace

TEST_F(FailureReport, TheNumberIsShownOfACodeThatIsAWholeNumber)
{
    const auto reported = [&](VARTYPE type, auto fill) {
        mb::RunState run;
        run.error.LastErrorMessage1 = u"Kind " + std::u16string(1, static_cast<char16_t>(u'A' + type)) + u".";
        run.error.LastErrorCode.vt = type;
        fill(static_cast<VARIANT&>(run.error.LastErrorCode));
        EXPECT_EQ(reportSilently(run, engineCode(0x204)), "");
        const std::string log = s.logText();
        return log.substr(log.rfind("Kind "));
    };
    EXPECT_THAT(reported(VT_I1, [](VARIANT& code) { code.cVal = -3; }), HasSubstr(". (-3)"));
    EXPECT_THAT(reported(VT_I2, [](VARIANT& code) { code.iVal = -300; }), HasSubstr(". (-300)"));
    EXPECT_THAT(reported(VT_I4, [](VARIANT& code) { code.lVal = -70000; }), HasSubstr(". (-70000)"));
    EXPECT_THAT(reported(VT_INT, [](VARIANT& code) { code.intVal = 70001; }), HasSubstr(". (70001)"));
    EXPECT_THAT(reported(VT_UI1, [](VARIANT& code) { code.bVal = 200; }), HasSubstr(". (200)"));
    EXPECT_THAT(reported(VT_UI2, [](VARIANT& code) { code.uiVal = 60000; }), HasSubstr(". (60000)"));
    EXPECT_THAT(reported(VT_UI4, [](VARIANT& code) { code.ulVal = 70002; }), HasSubstr(". (70002)"));
    EXPECT_THAT(reported(VT_UINT, [](VARIANT& code) { code.uintVal = 70003; }), HasSubstr(". (70003)"));
    EXPECT_THAT(reported(VT_R8, [](VARIANT& code) { code.dblVal = 7.0; }), Not(HasSubstr("(")));
    EXPECT_THAT(reported(VT_BOOL, [](VARIANT& code) { code.boolVal = VARIANT_TRUE; }), Not(HasSubstr("(")));
    EXPECT_THAT(reported(VT_EMPTY, [](VARIANT&) {}), Not(HasSubstr("(")));
}

TEST_F(FailureReport, TheTextIsALineOfTheFailures)
{
    mb::RunState run;
    for (const DWORD level : {mb::logProgress | mb::logHostText, mb::logFailures}) {
        run.error.LastErrorMessage1 = level == mb::logFailures ? u"100%s heard" : u"not heard";
        mb::LogLevelMask = level;
        (void)reportSilently(run, engineCode(0x204));
    }
    mb::LogLevelMask = mb::logProgress | mb::logFailures | mb::logHostText;
    EXPECT_THAT(s.logText(), HasSubstr("100%s heard"));
    EXPECT_THAT(s.logText(), Not(HasSubstr("not heard")));
}

TEST_F(FailureReport, AStopOfTheScheduleWouldBeShownEvenInASilentRunAndSwitchTheScheduleOff)
{
    constexpr char16_t path[] = u"Software\\Zorel\\Mirabook\\MBSyncCfg";
    ASSERT_TRUE(platform::createKeyPath(platform::Root::CurrentUser, path));
    auto key = platform::RegistryKey::open(platform::Root::CurrentUser, path);
    ASSERT_TRUE(key && key->setNumber(u"AutoSyncEnabled", 1) && key->setNumber(u"AutoSyncSchedule", 5));
    mb::RunState run;
    run.error.LastErrorMessage1 = u"Log on first.";
    EXPECT_THAT(reportSilently(run, engineCode(0x214)), HasSubstr("Log on first."));
    EXPECT_EQ(key->number(u"AutoSyncEnabled"), 0u);
    EXPECT_EQ(key->number(u"AutoSyncSchedule"), 0u);
}

// ---- What is missing -----------------------------------------------------------------------------------------------------

namespace {

constexpr GUID goldMine{0x2C0C63AE, 0x10AA, 0x4867, {0x92, 0xA5, 0x65, 0x7D, 0xBB, 0x18, 0x2E, 0x97}};
constexpr GUID outlook{0x3D52B2B7, 0x74EB, 0x4DDA, {0x8E, 0x54, 0x56, 0x6B, 0x13, 0x61, 0x66, 0x5C}};

} // namespace

TEST_F(FailureReport, AMissingTranslatorIsNamedInASentenceThatReplacesTheResult)
{
    const std::tuple<GUID, GUID, std::u16string> rows[] = {{mbtest::fakeClass1, outlook, u"Outlook"}, {goldMine, outlook, u"GoldMine"}};
    for (const auto& [id1, id2, name] : rows) {
        const GUID map = com::newGuid();
        (void)s.maps()->CreateEx(map, id1, id2);
        EXPECT_EQ(s.syncMap(map), engineCode(0x218));
        EXPECT_EQ(s.lastError().first,
                  u"Error initializing " + name + u". \r\nPlease verify that " + name + u" is installed and properly configured.");
        VARIANT_BOOL good = VARIANT_TRUE;
        EXPECT_EQ(s.maps()->GetLastSyncStatus(map, &good), S_OK);
        EXPECT_EQ(good, VARIANT_FALSE);
        DATE time = 0;
        EXPECT_EQ(s.maps()->GetLastSyncTime(map, &time), S_OK);
        EXPECT_GT(time, 0.0);
    }
}

TEST_F(FailureReport, AMissingTranslatorMarksBothSidesAsFailedNow)
{
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.maps()->SetLastSyncTime(s.map(), 1.0), S_OK);
    s.two().options.installed = false;
    EXPECT_EQ(s.sync(), engineCode(0x218));
    mb::CSyncHistory history(nullptr);
    ASSERT_EQ(history.Open(s.map()), S_OK);
    for (const char16_t* side : {u"Trans1", u"Trans2"}) {
        LONG status = 7;
        EXPECT_EQ(history.GetLastSyncStatus(side, status), S_OK);
        EXPECT_EQ(status, 0);
        DATE time = 0.0;
        EXPECT_EQ(history.GetLastSyncTime(side, time), S_OK);
        EXPECT_GT(time, 45000.0);
    }
}

TEST_F(FailureReport, AMissingTranslatorCostsNoContactOnceItIsBack)
{
    s.two().add({{ftLastName, u"Turing"}});
    EXPECT_EQ(s.sync(), S_OK);
    s.two().options.installed = false;
    EXPECT_EQ(s.sync(), engineCode(0x218));
    s.two().options.installed = true;
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.one().records, testing::SizeIs(2));
    EXPECT_THAT(s.two().records, testing::SizeIs(2));
    s.expectInStep();
}

TEST_F(FailureReport, AMissingTranslatorWithoutAShortNameIsCalledByItsLongOne)
{
    s.makeMap();
    s.two().options.installed = false;
    s.two().options.shortName.clear();
    s.two().options.longName = u"The other program";
    EXPECT_EQ(s.sync(), engineCode(0x218));
    EXPECT_EQ(s.lastError().first, u"Error initializing The other program. \r\nPlease verify that The other program is installed and "
                                   u"properly configured.");
}

TEST_F(FailureReport, ATextThatTheOtherTranslatorTellsTakesTheSentencesPlace)
{
    s.makeMap();
    s.one().options.errorMessage1 = u"of one";
    s.two().options.installed = false;
    const HRESULT hr = s.sync();
    EXPECT_TRUE(FAILED(hr));
    EXPECT_NE(hr, engineCode(0x218));
    EXPECT_EQ(s.lastError().first, u"of one");
}

TEST_F(FailureReport, ARunThatEndsBeforeATranslatorIsLoadedBlamesTranslatorTwo)
{
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.syncMap(com::newGuid()), engineCode(0x218)); // the names are those of the run before
    EXPECT_EQ(s.lastError().first, u"Error initializing Second. \r\nPlease verify that Second is installed and properly configured.");
}

TEST_F(FailureReport, AnUnknownMapBlamesTranslatorTwo)
{
    EXPECT_EQ(s.syncMap(com::newGuid()), engineCode(0x218));
    EXPECT_EQ(s.lastError().first, u"Error initializing . \r\nPlease verify that  is installed and properly configured.");
}

TEST_F(FailureReport, AFailedRunRemembersTheDatabasesItFoundOpen)
{
    s.makeMap();
    s.log().failOn("2 BeginUpdate", 1, engineCode(0x204));
    EXPECT_EQ(s.sync(), engineCode(0x204));
    com::Bstr database1, database2;
    EXPECT_EQ(s.maps()->GetLastSyncDatabase(s.map(), database1.put(), database2.put()), S_OK);
    EXPECT_EQ(database1.view(), s.one().options.database);
    EXPECT_EQ(database2.view(), s.two().options.database);
}

TEST_F(FailureReport, ANumberThatTheOtherTranslatorTellsTakesTheSentencesPlace)
{
    const GUID map = com::newGuid();
    (void)s.maps()->CreateEx(map, mbtest::fakeClass1, outlook);
    s.one().options.errorCode = 42;
    EXPECT_EQ(s.syncMap(map), REGDB_E_CLASSNOTREG);
    EXPECT_EQ(s.lastError().first, u"");
    EXPECT_EQ(s.lastCode().lVal, 42);
}

TEST_F(FailureReport, AMissingFirstTranslatorWithAGoodSecondEndsTheRunInSilence)
{
    const GUID map = com::newGuid();
    (void)s.maps()->CreateEx(map, goldMine, mbtest::fakeClass2);
    EXPECT_EQ(s.syncMap(map), S_OK);
    EXPECT_EQ(s.lastError().first, u"");
    EXPECT_THAT(s.log().starting("2 Initialize"), IsEmpty());
    EXPECT_THAT(s.log().starting("2 Cleanup"), testing::SizeIs(1));
}
