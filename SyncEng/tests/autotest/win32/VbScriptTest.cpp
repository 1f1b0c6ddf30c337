// VBScript scripts, run by SyncAutoTest through the Script Control.
#include "NamedClass.h"
#include "ScriptFixture.h"

namespace mbtest {
namespace {

// A base class, so that it is constructed before the fixture redirects the registry.
struct NamedTestObject {
    NamedClass named{u"MBSync.SyncAutoTest.1", __uuidof(SyncAutoTest)};
};

class VbScriptTest : NamedTestObject, public ScriptFixture {
protected:
    VbScriptTest() : ScriptFixture("script.vbs") {}
    // Wraps the code in a procedure Main in which `auto` is a SyncAutoTest object. The code begins at line 3.
    static std::string inMain(const std::string& code)
    {
        return "Sub Main()\r\nDim auto: Set auto = CreateObject(\"MBSync.SyncAutoTest.1\")\r\n" + code + "\r\nEnd Sub";
    }
};

} // namespace

TEST_F(VbScriptTest, TheFirstSyncExampleIsGreen)
{
    ASSERT_TRUE(std::filesystem::exists(example("first-sync.vbs")));
    EXPECT_EQ(runFile(example("first-sync.vbs")), S_OK) << message;
    EXPECT_EQ(scenario.log().violations, std::vector<std::string>());
    EXPECT_EQ(mapCount(), 0);
    EXPECT_TRUE(scenario.one().records.empty());
    EXPECT_TRUE(scenario.two().records.empty());
    EXPECT_GE(scenario.log().count("BeginAddRecord"), 6) << "two records and two of a conflict were added on both sides";
}

TEST_F(VbScriptTest, TheFirstSyncExampleRefusesStoresThatAreNotEmpty)
{
    scenario.two().add(u"mine", {{ftFirstName, u"Own"}});
    EXPECT_TRUE(FAILED(runFile(example("first-sync.vbs"))));
    EXPECT_NE(message.find("This example wants two empty stores."), std::string::npos) << message;
    EXPECT_TRUE(scenario.two().has(u"mine"));
    EXPECT_TRUE(scenario.one().records.empty());
    EXPECT_EQ(mapCount(), 0);
}

TEST_F(VbScriptTest, TheFirstSyncExampleReportsAFailureAndCleansUp)
{
    failNext("2 SaveRecord", E_FAIL);
    EXPECT_TRUE(FAILED(runFile(example("first-sync.vbs"))));
    EXPECT_NE(message.find("first-sync.vbs:"), std::string::npos) << message;
    EXPECT_EQ(mapCount(), 0);
    EXPECT_TRUE(scenario.one().records.empty());
    EXPECT_TRUE(scenario.two().records.empty());
}

TEST_F(VbScriptTest, ASecondRunTestsReusesTheScriptControlWithTheFirstScriptStillLoaded)
{
    ASSERT_EQ(run("Dim counter\r\nSub Helper()\r\ncounter = counter + 1\r\nEnd Sub\r\nSub Main()\r\nHelper\r\nEnd Sub", "first.vbs"), S_OK)
        << message;
    ASSERT_EQ(run("Sub Main()\r\nHelper\r\nIf counter <> 2 Then Err.Raise 5\r\nEnd Sub", "second.vbs"), S_OK) << message;
    EXPECT_EQ(run("counter = 1", "third.vbs"), S_OK) << "the Main of the second script is still loaded: " << message;
    EXPECT_TRUE(FAILED(run("Sub Helper()\r\nErr.Raise 5\r\nEnd Sub\r\nSub Main()\r\nHelper\r\nEnd Sub", "fourth.vbs")));
    EXPECT_EQ(message, said(2, "Invalid procedure call or argument", "fourth.vbs"));
}

TEST_F(VbScriptTest, AScriptReadsWhatTheLastRunDid)
{
    scenario.one().add({{ftFirstName, u"Ada"}, {ftLastName, u"Lovelace"}});
    EXPECT_EQ(run(inMain("Dim map, count, report, how, code, text, created, item, name, side\r\n"
                         "auto.AddTrMap \"Notebook\", \"vCard\", map\r\n"
                         "auto.Synchronize map, False, True\r\n"
                         "auto.GetReportCount count\r\n"
                         "auto.GetReport 0, report\r\n"
                         "report.GetEnd how, code, text\r\n"
                         "report.GetCount 2, 2, 1, created\r\n"
                         "report.GetItem 0, item\r\n"
                         "item.GetName name\r\n"
                         "item.GetSide side\r\n"
                         "If count <> 1 Or how <> 1 Or created <> 1 Then Err.Raise 5\r\n"
                         "If name <> \"Ada Lovelace\" Or side <> 2 Then Err.Raise 6")),
              S_OK)
        << message;
}

TEST_F(VbScriptTest, EachObjectHasItsOwnScriptControl)
{
    ASSERT_EQ(run("Sub Main()\r\nEnd Sub"), S_OK);
    autoTest = scenario.create<ISyncAutoTest>(__uuidof(SyncAutoTest));
    EXPECT_EQ(run(""), DISP_E_UNKNOWNNAME);
}

TEST_F(VbScriptTest, ASyntaxErrorIsReportedWithFileAndLine)
{
    EXPECT_TRUE(FAILED(run("Sub Main()\r\n  Dim x = = 3\r\nEnd Sub")));
    EXPECT_EQ(message, said(2, "Microsoft VBScript compilation error"));
}

TEST_F(VbScriptTest, ScriptsWithoutMainAndEmptyScriptsAreReported)
{
    for (const char* script : {"", "\r\n\r\n", "Sub Mine()\r\nEnd Sub"}) {
        EXPECT_EQ(run(script), DISP_E_UNKNOWNNAME) << script;
        EXPECT_EQ(message, said("The script has no procedure Main.")) << script;
    }
}

TEST_F(VbScriptTest, EveryErrorIsReportedWithFileAndLine)
{
    EXPECT_EQ(run("Sub Main()\r\n\r\n  Err.Raise vbObjectError + 1, \"me\", \"stop here\"\r\nEnd Sub"), static_cast<HRESULT>(0x80040001));
    EXPECT_EQ(message, said(3, "stop here"));
    EXPECT_TRUE(FAILED(run("Option Explicit\r\nSub Main()\r\n  Helper\r\nEnd Sub\r\nSub Helper()\r\n  Err.Raise 13\r\nEnd Sub")));
    EXPECT_EQ(message, said(6, "Type mismatch"));
    EXPECT_TRUE(FAILED(run("Err.Raise 6")));
    EXPECT_EQ(message, said(1, "Overflow")) << "the error happens while the script is loaded";
}

TEST_F(VbScriptTest, AFailureLeavesNothingBehindForTheNextScript)
{
    ASSERT_TRUE(FAILED(run("Sub Main()\r\n  Err.Raise 11\r\nEnd Sub")));
    autoTest = scenario.create<ISyncAutoTest>(__uuidof(SyncAutoTest));
    ASSERT_TRUE(FAILED(run("\r\nErr.Raise 11")));
    EXPECT_EQ(run(""), DISP_E_UNKNOWNNAME);
    EXPECT_EQ(message, said("The script has no procedure Main.")) << "the line of the former script's error is not repeated";
    EXPECT_EQ(run("Sub Main()\r\nEnd Sub"), S_OK);
    EXPECT_EQ(message, "");
}

TEST_F(VbScriptTest, AMissingClassIsReported)
{
    EXPECT_TRUE(FAILED(run("Sub Main()\r\n  CreateObject \"No.Such.Class\"\r\nEnd Sub")));
    EXPECT_EQ(message, said(2, "ActiveX component can't create object"));
}

// VBScript replaces some of the system's codes by its own numbers; the other codes stay unchanged.
TEST_F(VbScriptTest, TheCodesOfMethodsReachTheScript)
{
    constexpr auto invalidCall = static_cast<HRESULT>(0x800A0005), noObject = static_cast<HRESULT>(0x800A01AD),
                   otherClass = static_cast<HRESULT>(0x800A01AE);
    const std::string map = "\"" + platform::utf8(makeMap()) + "\"";
    const std::pair<std::string, HRESULT> cases[] = {
        {"auto.BeginUpdate " + map + ", 3, x", invalidCall}, {"auto.GetRecordCount Nothing, x", E_POINTER},
        {"auto.AddTrMap \"vCard\", \"Ledger\", x", E_FAIL},  {"auto.Synchronize \"{no map}\", False, True", noObject},
        {"auto.DecryptHistoryFile \"a\", \"b\"", E_FAIL},    {"auto.GetRecordCount auto, x", otherClass},
    };
    for (const auto& [code, expected] : cases) {
        EXPECT_EQ(run(inMain("Dim x\r\n" + code)), expected) << code;
        EXPECT_TRUE(message.starts_with(said(4, ""))) << message;
    }
}

TEST_F(VbScriptTest, WrongCallsAreReportedInWords)
{
    for (const char* code : {"auto.NoSuchMethod", "auto.AddTrMap \"vCard\"", "auto.Synchronize \"\", \"perhaps\", True"}) {
        EXPECT_TRUE(FAILED(run(inMain(code)))) << code;
        EXPECT_TRUE(message.starts_with(said(3, ""))) << message;
        EXPECT_GT(message.size(), said(3, "").size() + 4) << message;
    }
}

TEST_F(VbScriptTest, AVariableReceivesOutValuesEvenAfterAFailure)
{
    EXPECT_EQ(run(inMain(R"(
        Dim map, side, found, count
        found = "untouched": count = "untouched"
        auto.AddTrMap "Notebook", "vCard", map
        If Len(map) <> 38 Then Err.Raise vbObjectError + 1, "", "no map: " & map
        auto.BeginUpdate map, 1, side
        On Error Resume Next
        auto.FindRecord side, "absent", found
        If Err.Number = 0 Then found = "no failure"
        On Error GoTo 0
        If VarType(found) <> vbBoolean Then Err.Raise vbObjectError + 2, "", "found: " & found
        If found Then Err.Raise vbObjectError + 3, "", "it is there"
        auto.GetRecordCount side, count
        If count <> 0 Then Err.Raise vbObjectError + 4, "", "count: " & count
        auto.EndUpdate side, False
        auto.DeleteTrMap map)")),
              S_OK)
        << message;
    EXPECT_EQ(mapCount(), 0);
}

TEST_F(VbScriptTest, AScriptReleasesEveryObject)
{
    const LONG alive = com::moduleLocks;
    ASSERT_EQ(run("Dim auto, map, side\r\nSub Main()\r\nSet auto = CreateObject(\"MBSync.SyncAutoTest.1\")\r\n"
                  "auto.AddTrMap \"Notebook\", \"vCard\", map\r\nauto.BeginUpdate map, 1, side\r\nEnd Sub"),
              S_OK)
        << message;
    EXPECT_GT(com::moduleLocks, alive) << "the script's variables are still loaded";
    autoTest.reset();
    EXPECT_EQ(com::moduleLocks, alive - 1);
}

TEST_F(VbScriptTest, ANestedScriptRunsSeparately)
{
    scenario.folder.write("inner.vbs", "Sub Main()\r\nErr.Raise vbObjectError + 9, \"\", \"inner trouble\"\r\nEnd Sub");
    const std::string inner = (scenario.folder.path() / "inner.vbs").string();
    EXPECT_EQ(run(inMain("auto.RunTests \"" + inner + "\"")), static_cast<HRESULT>(0x80040009));
    EXPECT_EQ(message, said(3, inner + ":2: inner trouble"));
}

} // namespace mbtest
