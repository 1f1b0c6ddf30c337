// The commands mb run and mb history.
#include "EndToEndFixture.h"

#include <chrono>
#include <csignal>
#include <fstream>

using namespace mbtest;
namespace fs = std::filesystem;

namespace {

class ScriptCommandTest : public EndToEnd {
protected:
    Result runScript(const std::string& text, std::vector<std::string> more = {})
    {
        putText(home_ / "script.lua", text);
        more.insert(more.begin(), {"run", "script.lua"});
        return mb(more);
    }
    void allowDecoding()
    {
        std::ofstream(home_ / "registry.reg", std::ios::app)
            << "\r\n[HKEY_CURRENT_USER\\Software\\Zorel\\MBSyncEng]\r\n\"EnableDecrypt\"=dword:00000001\r\n";
    }
};

} // namespace

TEST_F(ScriptCommandTest, TheFirstSyncExampleSucceedsWithRealStores)
{
    ASSERT_EQ(mb({"register", binFolder() / "notebook.so", vCardPlugin()}).code, 0);
    const std::vector<std::string> arguments{
        "run", fs::path(EXAMPLES_FOLDER) / "first-sync.lua", "--store", "notebook=notes.txt", "--store", "vCard=Contacts"};
    const Result result = mb(arguments);
    EXPECT_EQ(result.code, 0) << result.error;
    EXPECT_TRUE(result.out.ends_with("All is as it should be.\n")) << result.out;
    EXPECT_EQ(json({"maps"}), Json::array());
    EXPECT_EQ(cardCount(), 0u) << "the script deletes what it added";
    EXPECT_EQ(textOf(home_ / "notes.txt"), "Notebook 1\n");

    putText(folder() / "own.vcf", "BEGIN:VCARD\r\nVERSION:3.0\r\nFN:Own Person\r\nN:Person;Own;;;\r\nEND:VCARD\r\n");
    const Result refused = mb(arguments);
    EXPECT_EQ(refused.code, 1);
    EXPECT_NE(refused.error.find("two empty stores"), std::string::npos) << refused.error;
    EXPECT_EQ(cardCount(), 1u) << "the user's contact is kept";
}

TEST_F(ScriptCommandTest, TheFirstSyncExampleRunsWithThePluginsOfTheQuickstart)
{
    const fs::path script = fs::path(EXAMPLES_FOLDER) / "first-sync.lua";
    const Result without = mb({"run", script});
    EXPECT_EQ(without.code, 1);
    EXPECT_NE(without.error.find("Register vCard first"), std::string::npos) << without.error;
    registerPlugins();
    const Result result = mb({"run", script, "--store", "Mirabook=story.db", "--store", "vCard=Contacts"});
    EXPECT_EQ(result.code, 0) << result.error;
    EXPECT_TRUE(result.out.ends_with("All is as it should be.\n")) << result.out;
    EXPECT_EQ(json({"maps"}), Json::array());
}

TEST_F(ScriptCommandTest, AFailingScriptIsReportedInOneSentenceWithFileAndLine)
{
    const std::string script = home_ / "script.lua";
    const std::vector<std::pair<std::string, std::string>> cases{{"function Main()\n  error('no luck')\nend", script + ":2: no luck"},
                                                                 {"function Main(\n", script + ":2: <name> or '...' expected near <eof>"},
                                                                 {"", script + ": The script has no function Main."}};
    for (const auto& [text, message] : cases) {
        const Result result = runScript(text);
        EXPECT_EQ(result.code, 1) << text;
        EXPECT_EQ(result.error, "mb: " + message + "\n");
    }
    EXPECT_TRUE(isOneSentence(runScript("function Main() error('two\\nlines \\27[2J', 0) end").error));
}

TEST_F(ScriptCommandTest, AScriptThatCannotBeReadIsNamed)
{
    for (const char* file : {"absent.lua", "Contacts"}) {
        const Result result = mb({"run", file});
        EXPECT_EQ(result.code, 1);
        EXPECT_TRUE(isOneSentence(result.error)) << result.error;
        EXPECT_NE(result.error.find(file), std::string::npos) << result.error;
    }
    EXPECT_EQ(mb({"run"}).code, 2);
}

TEST_F(ScriptCommandTest, AStoreForAnUnknownPluginIsNamed)
{
    registerPlugins();
    const Result unknown = runScript("function Main() end", {"--store", "Ledger=x"});
    EXPECT_EQ(unknown.code, 1);
    EXPECT_NE(unknown.error.find("Ledger"), std::string::npos) << unknown.error;
    EXPECT_EQ(runScript("function Main() end", {"--store", "vCard"}).code, 2);
}

TEST_F(ScriptCommandTest, CtrlCStopsAnEndlessLoop)
{
    run_.whileRuns = signalOnce([&] { return fs::exists(home_ / "running"); }, SIGINT);
    const Result result = runScript("function Main()\n  io.open('running', 'w'):close()\n  while true do end\nend");
    EXPECT_EQ(result.code, 3);
    EXPECT_EQ(result.error, "mb: " + (home_ / "script.lua").string() + ":3: The script was cancelled.\n");
}

TEST_F(ScriptCommandTest, AHistoryShowsItsPathAndIsDecodedOnlyIfTheUserAllowsIt)
{
    const std::string map = makeMap(3);
    const fs::path file = dataFolder() / (map + ".xml");
    EXPECT_EQ(json({"history", map}), (Json{{"map", map}, {"file", file.string()}, {"exists", false}}));
    EXPECT_EQ(mb({"history", map, "--decoded", "out.xml"}).code, 1) << "there is no history yet";
    ASSERT_EQ(mb({"sync", "--silent"}).code, 0);
    EXPECT_EQ(mb({"history", map}).out, file.string() + "\n");

    const Result refused = mb({"history", map, "--decoded", "out.xml"});
    EXPECT_EQ(refused.code, 1);
    EXPECT_TRUE(isOneSentence(refused.error)) << refused.error;
    EXPECT_NE(refused.error.find("\"EnableDecrypt\"=dword:00000001"), std::string::npos) << refused.error;
    EXPECT_NE(refused.error.find((home_ / "registry.reg").string()), std::string::npos) << refused.error;
    EXPECT_FALSE(fs::exists(home_ / "out.xml"));

    allowDecoding();
    const Result decoded = mb({"history", map, "--decoded", "out.xml"});
    EXPECT_EQ(decoded.code, 0) << decoded.error;
    EXPECT_EQ(decoded.out, "decoded to " + (home_ / "out.xml").string() + "\n");
    EXPECT_NE(textOf(home_ / "out.xml").find("Lindqvist"), std::string::npos);
    EXPECT_EQ(textOf(file).find("Lindqvist"), std::string::npos) << "the history itself is encoded";
}

TEST_F(ScriptCommandTest, ADecodedHistoryThatCannotBeWrittenIsNamed)
{
    const std::string map = makeMap(1);
    ASSERT_EQ(mb({"sync", "--silent"}).code, 0);
    allowDecoding();
    const Result result = mb({"history", map, "--decoded", "no folder/out.xml"});
    EXPECT_EQ(result.code, 1);
    EXPECT_TRUE(isOneSentence(result.error)) << result.error;
    EXPECT_NE(result.error.find("no folder/out.xml"), std::string::npos) << result.error;
    EXPECT_EQ(mb({"history", "zz"}).code, 1);
}

TEST_F(ScriptCommandTest, AScriptGetsItsArgumentsAndItsResultIsTheExitCode)
{
    const std::string script = "function Main()\n  local n = tonumber(arg[1]) or arg[1]\n  print(#arg, arg[2])\n  return n\nend";
    const Result seven = runScript(script, {"--", "7", "--two words--"});
    EXPECT_EQ(seven.code, 7);
    EXPECT_EQ(seven.out, "2\t--two words--\n");
    EXPECT_EQ(seven.error, "");
    for (const auto& [returned, code] : std::vector<std::pair<std::string, int>>{
             {"0", 0}, {"255", 255}, {"3.0", 3}, {"256", 0}, {"-1", 0}, {"1.5", 0}, {"text", 0}, {"1e300", 0}})
        EXPECT_EQ(runScript(script, {"--", returned}).code, code) << returned;
    EXPECT_EQ(runScript("function Main() return '7' end").code, 0) << "a text is not an exit code";
    EXPECT_EQ(runScript("function Main() if arg[1] then error('given') end end").code, 0) << "no argument was given";
}

TEST_F(ScriptCommandTest, AScriptReachesBothStoresOfAMapOfTheUser)
{
    registerPlugins();
    fs::create_directory(home_ / "Other");
    const std::string map = addMap("vCard=" + folder().string(), "vCard=" + (home_ / "Other").string());
    const Result result = runScript("function Main()\n"
                                    "  local test = CreateObject('MBSync.SyncAutoTest.1')\n"
                                    "  for side = 1, 2 do\n"
                                    "    local store = test:BeginUpdate(arg[1], side, Out)\n"
                                    "    local id = test:AddRecord(store, Out)\n"
                                    "    local firstName = 2\n"
                                    "    test:WriteField(store, id, firstName, 'Side' .. side)\n"
                                    "    test:SaveRecord(store, Out(id))\n"
                                    "    test:EndUpdate(store, false)\n"
                                    "  end\n"
                                    "  test:Synchronize(arg[1], false, true)\n"
                                    "end",
                                    {"--", map});
    EXPECT_EQ(result.code, 0) << result.error;
    EXPECT_EQ(cardCount(), 2u);
    EXPECT_EQ(mbtest::cardCount(home_ / "Other"), 2u);
    for (const fs::path& in : {folder(), home_ / "Other"})
        for (const char* name : {"Side1", "Side2"}) EXPECT_FALSE(mbtest::cardWith(in, name).empty()) << in << name;
}

TEST_F(ScriptCommandTest, AScriptFailsWithTheSentenceThatMbSyncPrints)
{
    const std::string map = makeMap(3);
    fs::rename(folder(), home_ / "away");
    const std::string sentence = mb({"sync", "--silent"}).error.substr(4); // without "mb: "
    const Result synchronised = runScript("function Main()\n"
                                          "  CreateObject('MBSync.SyncAutoTest.1'):Synchronize(arg[1], false, true)\n"
                                          "end",
                                          {"--", map});
    EXPECT_EQ(synchronised.code, 1);
    EXPECT_TRUE(synchronised.error.ends_with(sentence)) << synchronised.error << sentence;
    const Result opened = runScript("function Main()\n"
                                    "  CreateObject('MBSync.SyncAutoTest.1'):BeginUpdate(arg[1], 2, Out)\n"
                                    "end",
                                    {"--", map});
    EXPECT_EQ(opened.code, 1);
    EXPECT_NE(opened.error.find(folder().string()), std::string::npos) << opened.error;
}

TEST_F(ScriptCommandTest, AScriptThatNamesNoMapRunsAllMapsExceptHiddenOnes)
{
    const std::string map = makeMap(3);
    fs::create_directory(home_ / "Copies");
    ASSERT_EQ(mb({"transfer", "--to", "vCard=" + (home_ / "Copies").string(), "Anna Lindqvist"}).code, 0);
    fs::remove_all(home_ / "Copies");
    const Result result = runScript("function Main()\n"
                                    "  CreateObject('MBSync.SyncAutoTest.1'):Synchronize('', false, true)\n"
                                    "end");
    EXPECT_EQ(result.code, 0) << result.error;
    EXPECT_EQ(cardCount(), 3u);
}

TEST_F(ScriptCommandTest, CtrlCEndsOneLongCallOfTheScriptsLibrary)
{
    run_.whileRuns = signalOnce([&] { return fs::exists(home_ / "running"); }, SIGINT);
    const auto start = std::chrono::steady_clock::now();
    const Result result = runScript("function Main()\n  io.open('running', 'w'):close()\n"
                                    "  string.find(('a'):rep(400000), ('.-'):rep(9) .. 'b')\nend");
    EXPECT_EQ(result.code, 3);
    EXPECT_EQ(result.error, "mb: The script was cancelled.\n");
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(30));
}

TEST_F(ScriptCommandTest, CtrlCStopsARunOfAScriptCleanly)
{
    constexpr int contacts = 3000;
    const std::string map = makeMap(contacts);
    run_.whileRuns = signalOnce([&] { return cardCount() > 0; }, SIGINT);
    const Result result = runScript("function Main()\n"
                                    "  CreateObject('MBSync.SyncAutoTest.1'):Synchronize(arg[1], false, true)\n"
                                    "end",
                                    {"--", map});
    run_.whileRuns = nullptr;
    EXPECT_EQ(result.code, 3) << result.error;
    const std::size_t written = cardCount();
    EXPECT_LT(written, static_cast<std::size_t>(contacts));
    const Json run = json({"sync", map, "--silent"}).at(0);
    EXPECT_EQ(run.at("second").at("created"), contacts - static_cast<int>(written)) << "the history knows what was written";
}
