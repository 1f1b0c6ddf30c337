// mb run and mb history, as their users run them.
#include "EndToEndFixture.h"

#include <chrono>
#include <csignal>
#include <fstream>
#include <thread>

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

TEST_F(ScriptCommandTest, TheFirstSyncExampleIsGreenWithRealStores)
{
    ASSERT_EQ(mb({"register", binFolder() / "notebook.so", vCardPlugin()}).code, 0);
    const std::vector<std::string> arguments{
        "run", fs::path(EXAMPLES_FOLDER) / "first-sync.lua", "--store", "notebook=notes.txt", "--store", "vCard=Contacts"};
    const Result result = mb(arguments);
    EXPECT_EQ(result.code, 0) << result.error;
    EXPECT_TRUE(result.out.ends_with("All is as it should be.\n")) << result.out;
    EXPECT_EQ(json({"maps"}), Json::array());
    EXPECT_EQ(cardCount(), 0u) << "the story ends as it began";
    EXPECT_EQ(textOf(home_ / "notes.txt"), "Notebook 1\n");

    putText(folder() / "own.vcf", "BEGIN:VCARD\r\nVERSION:3.0\r\nFN:Own Person\r\nN:Person;Own;;;\r\nEND:VCARD\r\n");
    const Result refused = mb(arguments);
    EXPECT_EQ(refused.code, 1);
    EXPECT_NE(refused.error.find("two empty stores"), std::string::npos) << refused.error;
    EXPECT_EQ(cardCount(), 1u) << "a contact of the user's is left alone";
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

TEST_F(ScriptCommandTest, AFailingScriptIsToldInOneSentenceWithFileAndLine)
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

TEST_F(ScriptCommandTest, CtrlCStopsALoopWithoutEnd)
{
    run_.whileRuns = [&](int pid) {
        const auto giveUp = std::chrono::steady_clock::now() + std::chrono::seconds(60);
        while (!fs::exists(home_ / "running") && std::chrono::steady_clock::now() < giveUp)
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        ::kill(pid, SIGINT);
    };
    const Result result = runScript("function Main()\n  io.open('running', 'w'):close()\n  while true do end\nend");
    EXPECT_EQ(result.code, 3);
    EXPECT_EQ(result.error, "mb: " + (home_ / "script.lua").string() + ":3: The script was cancelled.\n");
}

TEST_F(ScriptCommandTest, HistoryTellsItsPlaceAndIsDecodedOnlyWhereTheUserAllowsIt)
{
    const std::string map = makeMap(3);
    const fs::path file = dataFolder() / (map + ".xml");
    EXPECT_EQ(json({"history", map}), (Json{{"map", map}, {"file", file.string()}, {"exists", false}}));
    EXPECT_EQ(mb({"history", map, "--decoded", "out.xml"}).code, 1) << "there is none yet";
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
