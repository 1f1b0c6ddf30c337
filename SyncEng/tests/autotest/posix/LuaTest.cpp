// Lua scripts, run by SyncAutoTest.
#include "ScriptFixture.h"

#include <chrono>
#include <thread>

namespace mbtest {
namespace {

class LuaTest : public ScriptFixture {
protected:
    LuaTest() : ScriptFixture("script.lua") {}
    // Wraps the code in a function Main in which `auto` is a SyncAutoTest object.
    static std::string inMain(const std::string& code)
    {
        return "function Main() local auto = CreateObject('MBSync.SyncAutoTest.1')\n" + code + "\nend";
    }
    void expectFailure(const std::string& code, const std::string& text)
    {
        EXPECT_EQ(run(inMain(code)), DISP_E_EXCEPTION) << code;
        EXPECT_EQ(message, said(2, text)) << code;
    }
};

} // namespace

TEST_F(LuaTest, TheFirstSyncExampleIsGreen)
{
    ASSERT_TRUE(std::filesystem::exists(example("first-sync.lua")));
    EXPECT_EQ(runFile(example("first-sync.lua")), S_OK) << message;
    EXPECT_EQ(scenario.log().violations, std::vector<std::string>());
    EXPECT_EQ(mapCount(), 0);
    EXPECT_TRUE(scenario.one().records.empty());
    EXPECT_TRUE(scenario.two().records.empty());
    EXPECT_GE(scenario.log().count("BeginAddRecord"), 6) << "two records and two of a conflict were added on both sides";
}

TEST_F(LuaTest, TheFirstSyncExampleRefusesStoresThatAreNotEmpty)
{
    scenario.two().add(u"mine", {{ftFirstName, u"Own"}});
    EXPECT_EQ(runFile(example("first-sync.lua")), DISP_E_EXCEPTION);
    EXPECT_NE(message.find("two empty stores"), std::string::npos) << message;
    EXPECT_TRUE(scenario.two().has(u"mine"));
    EXPECT_TRUE(scenario.one().records.empty());
    EXPECT_EQ(mapCount(), 0);
}

TEST_F(LuaTest, ASecondRunTestsReusesTheScriptControlWithTheFirstScriptStillLoaded)
{
    ASSERT_EQ(run("counter = 0\nfunction helper() counter = counter + 1 end\nfunction Main() helper() end", "first.lua"), S_OK) << message;
    ASSERT_EQ(run("function Main() helper() if counter ~= 2 then error('counter is '..counter) end end", "second.lua"), S_OK) << message;
    EXPECT_EQ(run("counter = 1", "third.lua"), S_OK) << "the Main of the second script is still loaded: " << message;
    EXPECT_EQ(run("function helper() error('broken') end function Main() helper() end", "fourth.lua"), DISP_E_EXCEPTION);
    EXPECT_EQ(message, said(1, "broken", "fourth.lua"));
}

TEST_F(LuaTest, AScriptReadsWhatTheLastRunDid)
{
    scenario.one().add({{ftFirstName, u"Ada"}, {ftLastName, u"Lovelace"}});
    EXPECT_EQ(run(inMain(R"(
        local map = auto:AddTrMap('Notebook', 'vCard', Out)
        assert(auto:GetReportCount(Out) == 0)
        auto:Synchronize(map, false, true)
        assert(auto:GetReportCount(Out) == 1)
        local report = auto:GetReport(0, Out)
        local how, code, text = report:GetEnd(Out, Out, Out)
        assert(report:GetMap(Out) == map and how == 1 and code == 0 and text == '')
        assert(report:GetCount(2, 2, 1, Out) == 1 and report:GetCount(2, 1, 1, Out) == 0)
        assert(report:GetItemCount(Out) == 1)
        local item = report:GetItem(0, Out)
        assert(item:GetName(Out) == 'Ada Lovelace' and item:GetSide(Out) == 2 and item:GetAction(Out) == 1)
        assert(not pcall(report.GetItem, report, 1, Out) and not pcall(auto.GetReport, auto, 1, Out)))")),
              S_OK)
        << message;
}

TEST_F(LuaTest, EachObjectHasItsOwnScriptControl)
{
    ASSERT_EQ(run("function Main() end"), S_OK);
    autoTest = scenario.create<ISyncAutoTest>(__uuidof(SyncAutoTest));
    EXPECT_EQ(run(""), DISP_E_UNKNOWNNAME);
}

TEST_F(LuaTest, ASyntaxErrorIsReportedWithFileAndLine)
{
    EXPECT_EQ(run("function Main()\n  local x = = 3\nend"), DISP_E_EXCEPTION);
    EXPECT_EQ(message, said(2, "unexpected symbol near '='"));
}

TEST_F(LuaTest, ScriptsWithoutMainAndEmptyScriptsAreReported)
{
    for (const char* script : {"", "\n\n", "function main() end", "Main = 3"}) {
        EXPECT_EQ(run(script), DISP_E_UNKNOWNNAME) << script;
        EXPECT_EQ(message, said("The script has no function Main.")) << script;
    }
}

TEST_F(LuaTest, EveryErrorIsReportedWithFileAndLine)
{
    EXPECT_EQ(run("function Main()\n\n  error('stop here')\nend"), DISP_E_EXCEPTION);
    EXPECT_EQ(message, said(3, "stop here"));
    EXPECT_EQ(run("function Main()\n  local t\n  t.x = 1\nend"), DISP_E_EXCEPTION);
    EXPECT_TRUE(message.starts_with(said(3, "attempt to index a nil value"))) << message;
    EXPECT_EQ(run("function Main()\n  error('no place', 0)\nend"), DISP_E_EXCEPTION);
    EXPECT_EQ(message, said(2, "no place"));
    EXPECT_EQ(run("function Main()\n  error()\nend"), DISP_E_EXCEPTION);
    EXPECT_EQ(message, said(2, "nil"));
    EXPECT_EQ(run("error('while loading')"), DISP_E_EXCEPTION);
    EXPECT_EQ(message, said(1, "while loading"));
}

TEST_F(LuaTest, AFileWithALongNameIsNamedInFull)
{
    const std::string name = std::string(90, 'x') + "/" + std::string(90, 'y') + ".lua";
    EXPECT_EQ(run("function Main()\n  error('here')\nend", name), DISP_E_EXCEPTION);
    EXPECT_EQ(message, said(2, "here", name));
}

TEST_F(LuaTest, ByteOrderMarksAndForeignLettersAreRead)
{
    EXPECT_EQ(run("\xEF\xBB\xBF"
                  "function Main() error('Jürgen Weiß', 0) end"),
              DISP_E_EXCEPTION);
    EXPECT_EQ(message, said(1, "Jürgen Weiß"));
}

TEST_F(LuaTest, AZeroByteEndsTheScript) { EXPECT_EQ(run(std::string("function Main() end\0 x = = 1", 29)), S_OK) << message; }

TEST_F(LuaTest, BytesThatAreNotTextAreNotRun)
{
    EXPECT_EQ(run("\x1bLua\x54\x19\x93"), DISP_E_EXCEPTION);
    EXPECT_NE(message.find("binary"), std::string::npos) << message;
}

TEST_F(LuaTest, ALoopUntilCancelledIsCancelled)
{
    for (const char* body : {"while true do end", "while true do pcall(function() while true do end end) end",
                             "local co = coroutine.wrap(function() while true do end end) co()"}) {
        std::jthread canceller([] {
            while (CoCancelCall(0, 0) != S_OK) std::this_thread::sleep_for(std::chrono::milliseconds(5));
        });
        EXPECT_EQ(run(std::string("function Main()\n") + body + "\nend"), E_ABORT) << body;
        EXPECT_NE(message.find("script.lua:2: The script was cancelled."), std::string::npos) << message;
    }
    EXPECT_EQ(run("function Main() end"), S_OK) << "the next script is not cancelled";
    EXPECT_EQ(run("x = = 1"), DISP_E_EXCEPTION);
}

TEST_F(LuaTest, ObjectsAreCreatedByNameOrTheFailureIsReported)
{
    EXPECT_EQ(run("function Main() CreateObject('mbsync.syncautotest') end"), S_OK) << message;
    EXPECT_EQ(run("function Main()\n  CreateObject('No.Such.Class')\nend"), DISP_E_EXCEPTION);
    EXPECT_TRUE(message.starts_with(said(2, "the class No.Such.Class cannot be made: 0x800401F3: "))) << message;
    EXPECT_EQ(run("function Main()\n  CreateObject('MBSync.DataStream.1')\nend"), DISP_E_EXCEPTION);
    EXPECT_EQ(message, said(2, "the class MBSync.DataStream.1 cannot be driven by a script"));
    EXPECT_EQ(run("function Main()\n  CreateObject()\nend"), DISP_E_EXCEPTION);
    EXPECT_EQ(message, said(2, "CreateObject needs the name of a class"));
}

TEST_F(LuaTest, TheCodesOfMethodsAreReported)
{
    const std::string map = "'" + platform::utf8(makeMap()) + "'";
    const auto failed = [](const char* method, const char* code) { return std::string(method) + " failed with " + code; };
    const std::pair<std::string, std::string> cases[] = {
        {"auto:BeginUpdate(" + map + ", 3, Out)", failed("BeginUpdate", "0x80070057")},
        {"auto:BeginUpdate(" + map + ", 1, nil)", failed("BeginUpdate", "0x80004003")},
        {"auto:GetRecordCount(nil, Out)", failed("GetRecordCount", "0x80004003")},
        {"auto:AddTrMap('vCard', 'Ledger', Out)", failed("AddTrMap", "0x80004005")},
        {"auto:Synchronize('{no map}', false, true)", failed("Synchronize", "0x800401F3")},
        {"auto:DecryptHistoryFile('a', 'b')", failed("DecryptHistoryFile", "0x80004005")},
        {"auto:GetRecordCount(auto, Out)", failed("GetRecordCount", "0x80004002")},
    };
    for (const auto& [code, text] : cases) {
        EXPECT_EQ(run(inMain(code)), DISP_E_EXCEPTION) << code;
        EXPECT_TRUE(message.starts_with(said(2, text + ": "))) << message;
    }
}

TEST_F(LuaTest, WrongCallsAreReportedInWords)
{
    expectFailure("auto:NoSuchMethod()", "the component has no method NoSuchMethod");
    expectFailure("auto:AddTrMap('vCard')", "AddTrMap does not take 1 arguments");
    expectFailure("auto:AddTrMap{lpTrans1 = 'vCard', lpTrans9 = 'x', lpGuidMap = Out}", "AddTrMap has no argument lpTrans9");
    expectFailure("auto:AddTrMap('vCard', 'Notebook', 'x')", "AddTrMap cannot take argument 3 as it is; an out argument must be Out");
    expectFailure("auto:GetRecordCount('text', Out)", "GetRecordCount cannot take argument 1 as it is; an out argument must be Out");
    expectFailure("auto.Synchronize('')", "a method is called with a colon, as in object:Method()");
    expectFailure("auto:Synchronize(print, false, true)", "a component cannot be given a value of type function");
}

TEST_F(LuaTest, ArgumentsAreGivenByNameAndOutValuesComeBackIntoTheTable)
{
    EXPECT_EQ(run(inMain(R"(
        local made = { LPTRANS2 = 'vCard', lpTrans1 = 'Notebook', lpGuidMap = Out }
        auto:AddTrMap(made)
        if #made.lpGuidMap ~= 38 then error('no map: ' .. tostring(made.lpGuidMap)) end
        local side = auto:BeginUpdate(made.lpGuidMap, 1, Out)
        local asked = { pTrans = side, lpRecID = 'absent', pbFound = Out }
        local fine, text = pcall(auto.FindRecord, auto, asked)
        if fine or asked.pbFound ~= false then error('found: ' .. tostring(asked.pbFound)) end
        auto:EndUpdate(side, false)
        auto:DeleteTrMap(made.lpGuidMap))")),
              S_OK)
        << message;
    EXPECT_EQ(mapCount(), 0);
}

TEST_F(LuaTest, AScriptReleasesEveryObject)
{
    const LONG alive = com::moduleLocks;
    ASSERT_EQ(run(inMain("map = auto:AddTrMap('Notebook', 'vCard', Out) side = auto:BeginUpdate(map, 1, Out) again = auto")), S_OK)
        << message;
    EXPECT_GT(com::moduleLocks, alive) << "the script's globals are still loaded";
    autoTest.reset();
    EXPECT_EQ(com::moduleLocks, alive - 1);
}

TEST_F(LuaTest, ANestedScriptRunsSeparately)
{
    scenario.folder.write("inner.lua", "function Main() error('inner trouble', 0) end");
    const std::string inner = (scenario.folder.path() / "inner.lua").string();
    EXPECT_EQ(run(inMain("auto:RunTests('" + inner + "')")), DISP_E_EXCEPTION);
    EXPECT_EQ(message, said(2, "RunTests failed with 0x80020009: " + inner + ":1: inner trouble"));
}

} // namespace mbtest
