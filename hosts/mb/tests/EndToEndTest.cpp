#include "EndToEndFixture.h"

#include <algorithm>
#include <csignal>
#include <fstream>
#include <sstream>

namespace {

using namespace mbtest;
namespace fs = std::filesystem;

class EndToEndTest : public EndToEnd {
protected:
    // Runs mb on a terminal and types each answer after its question.
    Result talk(const std::vector<std::string>& arguments, const Conversation& conversation)
    {
        return talkToProgram(MB_PROGRAM, arguments, run_, conversation);
    }
    // The bytes of both stores and of the map's history.
    std::map<std::string, std::string> everything(const std::string& map) const
    {
        std::map<std::string, std::string> bytes{{"cards", textOf(cards())}, {"history", textOf(dataFolder() / (map + ".xml"))}};
        for (const fs::directory_entry& entry : fs::directory_iterator(folder())) bytes[entry.path()] = textOf(entry.path());
        return bytes;
    }
    // Makes a map, runs it, and then changes one phone number differently on both sides. Returns the map.
    std::string makeConflict()
    {
        const std::string map = makeMap(12), number = "+1 202 555 0100";
        EXPECT_EQ(samples({"edit", cards(), "Anna Lindqvist", "Mobile phone", number}).code, 0);
        EXPECT_EQ(mb({"sync", "--silent"}).code, 0);
        EXPECT_EQ(samples({"edit", cards(), "Anna Lindqvist", "Mobile phone", "+1 202 555 0111"}).code, 0);
        replaceIn(cardWith(":Anna Lindqvist"), number, "+1 202 555 0122");
        return map;
    }
};

} // namespace

TEST_F(EndToEndTest, RegisteringNamesThePluginsAndTheListShowsThem)
{
    EXPECT_EQ(json({"translators"}), Json::array());
    const Result result = mb({"register", cardFilePlugin(), vCardPlugin()});
    EXPECT_EQ(result.code, 0) << result.error;
    EXPECT_EQ(result.out, "registered Mirabook from " + cardFilePlugin() + "\nregistered vCard from " + vCardPlugin() + "\n");
    const Json list = json({"translators"});
    ASSERT_EQ(list.size(), 2u);
    for (const Json& plugin : list) EXPECT_TRUE(plugin.at("available").get<bool>());

    EXPECT_EQ(mb({"unregister", vCardPlugin()}).out, "unregistered vCard from " + vCardPlugin() + "\n");
    EXPECT_EQ(json({"translators"}).size(), 1u);
}

TEST_F(EndToEndTest, ARegistryThatCannotBeWrittenIsNamed)
{
    registerPlugins();
    fs::remove(home_ / "registry.reg.lock");
    fs::create_directory(home_ / "registry.reg.lock");
    for (const char* command : {"register", "unregister"}) {
        const Result result = mb({command, vCardPlugin()});
        EXPECT_EQ(result.code, 1) << result.out;
        EXPECT_EQ(result.out, "");
        EXPECT_NE(result.error.find(home_ / "registry.reg"), std::string::npos) << result.error;
        EXPECT_TRUE(isOneSentence(result.error)) << result.error;
    }
    EXPECT_EQ(json({"translators"}).size(), 2u);
}

TEST_F(EndToEndTest, ARegistryThatCannotBeReadIsNamedAndKeepsItsBytes)
{
    registerPlugins();
    const std::string damaged = textOf(home_ / "registry.reg") + std::string(1, '\0');
    putText(home_ / "registry.reg", damaged);
    for (const std::vector<std::string>& arguments : std::vector<std::vector<std::string>>{
             {"register", vCardPlugin()}, {"unregister", vCardPlugin()}, {"translators"}, {"maps"}, {"sync", "--silent"}}) {
        const Result result = mb(arguments);
        EXPECT_EQ(result.code, 1) << arguments[0] << result.out;
        EXPECT_EQ(result.out, "");
        EXPECT_NE(result.error.find((home_ / "registry.reg").string() + "\" cannot be read"), std::string::npos) << result.error;
    }
    EXPECT_EQ(textOf(home_ / "registry.reg"), damaged);
}

TEST_F(EndToEndTest, AFileThatIsNotAPluginIsNamed)
{
    putText(home_ / "junk.so", "no library");
    for (const char* file : {"absent.so", "junk.so", "."}) {
        const Result result = mb({"register", file});
        EXPECT_EQ(result.code, 1) << file;
        EXPECT_TRUE(isOneSentence(result.error)) << result.error;
    }
    EXPECT_NE(mb({"register", "absent.so"}).error.find("\"absent.so\" does not exist"), std::string::npos);
}

TEST_F(EndToEndTest, EditsOfBothSidesReachTheOtherAndTheNextRunHasNothingToDo)
{
    const std::string map = makeMap(48);
    Json run = json({"sync", map, "--silent"}).at(0);
    EXPECT_EQ(run.at("result"), "done");
    EXPECT_EQ(run.at("second").at("created"), 48);
    EXPECT_EQ(run.at("first").at("created"), 0);
    EXPECT_EQ(cardCount(), 48u);

    ASSERT_EQ(samples({"edit", cards(), "Anna Lindqvist", "Mobile phone", "+1 202 555 0199"}).code, 0);
    replaceIn(cardWith(":Jürgen Weiß"), "juergen.weiss@example.org", "j.weiss@example.net");
    ASSERT_TRUE(fs::remove(cardWith("sakura@example.org")));
    run = json({"sync", "--silent"}).at(0);
    EXPECT_EQ(run.at("second").at("updated"), 1);
    EXPECT_EQ(run.at("first").at("updated"), 1);
    EXPECT_EQ(run.at("first").at("deleted"), 1);
    EXPECT_NE(textOf(cardWith(":Anna Lindqvist")).find("+1 202 555 0199"), std::string::npos);
    EXPECT_EQ(samples({"list", cards()}).out.find("さくら"), std::string::npos);

    const Result idle = mb({"sync", "--silent"});
    EXPECT_EQ(idle.code, 0);
    EXPECT_NE(idle.out.find("nothing to do"), std::string::npos) << idle.out;
    EXPECT_EQ(idle.error, "") << "no progress bar in a pipe";
    const Json status = json({"status"}).at(0);
    EXPECT_EQ(status.at("status"), "good");
    EXPECT_EQ(status.at("last_run").get<std::string>().size(), 16u);
}

TEST_F(EndToEndTest, OnATerminalProgressIsABarThatIsErasedAtTheEnd)
{
    (void)makeMap(20);
    run_.errorIsTerminal = true;
    const Result result = mb({"sync", "--silent"});
    EXPECT_EQ(result.code, 0);
    EXPECT_NE(result.error.find("[###"), std::string::npos) << result.error;
    EXPECT_NE(result.error.find("100%"), std::string::npos);
    EXPECT_TRUE(result.error.ends_with("\r\033[K"));
}

TEST_F(EndToEndTest, WithADirectionOnlyOneSideIsWrittenAndCounted)
{
    const std::string map = makeMap(2);
    putText(folder() / "new.vcf", "BEGIN:VCARD\r\nVERSION:3.0\r\nFN:New Person\r\nN:Person;New;;;\r\nEND:VCARD\r\n");
    ASSERT_EQ(mb({"set", map, "direction", "to-first"}).code, 0);
    const Json run = json({"sync", "--silent"}).at(0);
    EXPECT_EQ(run.at("first").at("created"), 1);
    EXPECT_EQ(run.at("second").at("created"), 0);
    EXPECT_EQ(cardCount(), 1u);
}

TEST_F(EndToEndTest, AMapIsOnlyCreatedIfBothStoresOpen)
{
    registerPlugins();
    putText(home_ / "junk.db", std::string(5000, 'x'));
    const std::string good = "vCard=" + folder().string();
    const std::vector<std::pair<std::vector<std::string>, std::string>> cases{
        {{"add", "Mirabook=junk.db", good}, "junk.db"},
        {{"add", "Mirabook=/dev/null/cards.db", good}, "/dev/null/cards.db"},
        {{"add", "Mirabook=cards.db", "vCard=no such folder"}, "no such folder"},
        {{"add", "Mirabook=cards.db", "vCard=junk.db"}, "junk.db"},
        {{"add", "Mirabook=cards.db", "Ledger=x"}, "Ledger"},
    };
    for (const auto& [arguments, named] : cases) {
        const Result result = mb(arguments);
        EXPECT_EQ(result.code, 1) << result.error;
        EXPECT_EQ(result.out, "");
        EXPECT_TRUE(isOneSentence(result.error)) << result.error;
        EXPECT_NE(result.error.find(named), std::string::npos) << result.error;
    }
    EXPECT_EQ(json({"maps"}), Json::array());
    EXPECT_EQ(textOf(home_ / "junk.db"), std::string(5000, 'x'));
    for (const auto& entry : std::filesystem::directory_iterator(home_))
        EXPECT_FALSE(entry.path().filename().string().starts_with("cards.db")) << entry.path() << " was left although no map was created";
}

TEST_F(EndToEndTest, AnExistingStoreStaysIfTheMapCannotBeCreated)
{
    makeMap(3);
    const std::string before = textOf(cards());
    EXPECT_EQ(mb({"add", "Mirabook=" + cards(), "vCard=no such folder"}).code, 1);
    EXPECT_EQ(textOf(cards()), before);

    std::filesystem::create_directory(home_ / "Empty");
    std::filesystem::create_symlink(home_ / "elsewhere.db", home_ / "link.db");
    EXPECT_EQ(mb({"add", "vCard=Empty", "vCard=no such folder"}).code, 1);
    EXPECT_EQ(mb({"add", "Mirabook=link.db", "vCard=no such folder"}).code, 1);
    EXPECT_TRUE(std::filesystem::is_directory(home_ / "Empty"));
    EXPECT_TRUE(std::filesystem::is_symlink(home_ / "link.db"));
}

TEST_F(EndToEndTest, TwoStoresHaveOnlyOneMapInWhicheverOrder)
{
    const std::string map = makeMap(1);
    const std::string cardFile = "Mirabook=" + cards(), cardFolder = "vCard=" + folder().string();
    for (const std::vector<std::string>& again : {std::vector<std::string>{"add", cardFile, cardFolder}, {"add", cardFolder, cardFile}}) {
        const Result refused = mb(again);
        EXPECT_EQ(refused.code, 1);
        EXPECT_NE(refused.error.find(map), std::string::npos) << refused.error;
    }
    EXPECT_EQ(json({"maps"}).size(), 1u);

    std::filesystem::create_directory(home_ / "Other");
    EXPECT_EQ(mb({"add", cardFile, "vCard=" + (home_ / "Other").string()}).code, 0);
}

TEST_F(EndToEndTest, StoresAreGivenByNameIgnoringCaseAndByRelativePath)
{
    registerPlugins();
    const std::string map = addMap("MIRABOOK=cards.db", "vcard=Contacts/../Contacts");
    const Json shown = json({"show", map});
    EXPECT_EQ(shown.at("first"), (Json{{"translator", "Mirabook"}, {"database", cards()}}));
    EXPECT_EQ(shown.at("second"), (Json{{"translator", "vCard"}, {"database", folder().string()}}));
    EXPECT_EQ(json({"maps"}).at(0).at("map"), map);
}

TEST_F(EndToEndTest, WrongUsageEndsWithCodeTwoAndAnUnknownMapWithOne)
{
    const std::string map = makeMap(1);
    const std::vector<std::vector<std::string>> wrong{{},
                                                      {"frobnicate"},
                                                      {"show"},
                                                      {"add", "Mirabook"},
                                                      {"add", "Mirabook=", "vCard=x"},
                                                      {"add", "vCard=Contacts", "vCard=Contacts"},
                                                      {"set", map, "colour", "red"},
                                                      {"set", map, "images", "maybe"},
                                                      {"log", "--lines", "-3"},
                                                      {"fields", map, "--reset", "--available"}};
    for (const auto& arguments : wrong) {
        const Result result = mb(arguments);
        EXPECT_EQ(result.code, 2) << testing::PrintToString(arguments) << result.error;
        EXPECT_NE(result.error, "") << testing::PrintToString(arguments);
    }
    for (const char* command : {"show", "sync", "remove", "fields"}) {
        const Result result = mb({command, "zz\x1b"});
        EXPECT_EQ(result.code, 1) << command;
        EXPECT_TRUE(isOneSentence(result.error)) << result.error;
        EXPECT_EQ(result.error.find('\x1b'), std::string::npos);
    }
    EXPECT_EQ(mb({"sync", "--help"}).code, 0);
}

TEST_F(EndToEndTest, WrongUsageIsReportedInOneSentenceThatNamesTheFault)
{
    const std::string map = makeMap(1);
    const auto told = [&](const std::vector<std::string>& arguments) {
        const Result result = mb(arguments);
        EXPECT_EQ(result.code, 2) << result.error;
        return result.error;
    };
    EXPECT_EQ(told({"snyc\x1b"}), "mb: There is no command \"snyc\uFFFD\"; mb --help lists the commands.\n");
    EXPECT_EQ(told({"sync", "--dryrun"}),
              "mb: There is no option \"--dryrun\" of mb sync. Did you mean --dry-run? mb sync --help tells more.\n");
    EXPECT_EQ(told({"set", map, "images"}), "mb: VALUE is required. mb set --help tells more.\n");
    for (const char* lines : {"x", "-3", "1.5", "", "99999999999"})
        EXPECT_EQ(told({"log", "--lines", lines}),
                  "mb: --lines: \"" + std::string(lines) + "\" is not a number of lines. mb log --help tells more.\n");
}

TEST_F(EndToEndTest, WithoutACommandItShowsItsHelp)
{
    const Result result = mb({});
    EXPECT_EQ(result.code, 2);
    EXPECT_EQ(result.error, mb({"--help"}).out);
    EXPECT_EQ(result.out, "");
}

TEST_F(EndToEndTest, TheHelpNamesTheExitCodes)
{
    std::string help = mb({"--help"}).out;
    std::ranges::replace(help, '\n', ' ');
    EXPECT_NE(help.find("Exit codes: 0 done, 1 failed, 2 wrong usage, 3 cancelled, 4 in use by another run."), std::string::npos) << help;
}

TEST_F(EndToEndTest, EveryCommandHasHelpWithAnExample)
{
    for (const char* command : {"register", "unregister", "translators", "add", "maps", "show", "set", "fields", "remove", "sync", "status",
                                "log", "history", "run"}) {
        const Result result = mb({command, "--help"});
        EXPECT_EQ(result.code, 0) << command;
        EXPECT_NE(result.out.find(std::string("\n  mb ") + command), std::string::npos) << result.out;
    }
}

TEST_F(EndToEndTest, AMapIsFoundByAnUnambiguousBeginningOfItsIdentifier)
{
    registerPlugins();
    for (int i = 0; i < 17; ++i) { // at least two identifiers begin with the same digit
        const std::string other = "Contacts " + std::to_string(i);
        std::filesystem::create_directory(home_ / other);
        (void)addMap("Mirabook=cards.db", "vCard=" + other);
    }
    std::map<char, int> beginnings;
    const Json maps = json({"maps"});
    for (const Json& map : maps) ++beginnings[map.at("map").get<std::string>().at(1)];
    for (const auto& [digit, count] : beginnings) EXPECT_EQ(mb({"show", {digit}}).code, count == 1 ? 0 : 2);
    const std::string one = maps.at(3).at("map");
    EXPECT_EQ(json({"show", one.substr(1, 20)}).at("map"), one);
}

TEST_F(EndToEndTest, OptionsAreKept)
{
    const std::string map = makeMap(1);
    const std::map<std::string, std::string> wanted{
        {"confirm-additions", "no"},    {"confirm-changes", "no"}, {"confirm-deletions", "no"}, {"conflicts", "second-wins"},
        {"delete-conflicts", "delete"}, {"direction", "to-first"}, {"verified-only", "yes"},    {"images", "no"},
        {"compare-images", "yes"},      {"max-delete", "80%"},     {"card-version", "3.0"}};
    const Json before = json({"show", map}).at("options");
    for (const auto& [option, value] : wanted) {
        EXPECT_NE(before.at(option), value) << option;
        EXPECT_EQ(mb({"set", map, option, value}).out, option + " is " + value + "\n");
    }
    for (const auto& [option, value] : wanted) EXPECT_EQ(json({"show", map}).at("options").at(option), value);
}

TEST_F(EndToEndTest, NewCardsHaveTheVersionThatTheMapSays)
{
    registerPlugins();
    const auto card = [](const std::string& version, const std::string& name) {
        return "BEGIN:VCARD\r\nVERSION:" + version + "\r\nFN:" + name + "\r\nN:" + name + ";;;;\r\nEND:VCARD\r\n";
    };
    const std::string source = home_ / "Source", target = home_ / "Target", kept = home_ / "kept.db";
    for (const std::string& folder : {source, target}) fs::create_directory(folder);
    for (const char* number : {"1", "2"}) putText(target + "/" + number + ".vcf", card("2.1", std::string("Old") + number));
    const std::string file = addMap("vCard=" + source, "Mirabook=" + kept), back = addMap("Mirabook=" + kept, "vCard=" + target);
    const auto versionOfNew = [&](const std::string& name, const std::string& version, const char* ofFile, const char* ofFolder) {
        EXPECT_EQ(mb({"set", file, "card-version", ofFile}).code, 0);
        EXPECT_EQ(mb({"set", back, "card-version", ofFolder}).code, 0);
        putText(source + "/" + name + ".vcf", card(version, name));
        for (const std::string& map : {file, back, file}) EXPECT_EQ(mb({"sync", map, "--silent"}).code, 0);
        const std::string bytes = textOf(mbtest::cardWith(target, "FN:" + name));
        return bytes.substr(bytes.find("VERSION:") + 8, 3);
    };
    EXPECT_EQ(versionOfNew("Ada", "4.0", "as-store", "as-store"), "3.0") << "most cards are of 2.1, which is 3.0 for new ones";
    EXPECT_EQ(versionOfNew("Bea", "4.0", "as-store", "as-source"), "4.0") << "the card file keeps the version of its source";
    EXPECT_EQ(versionOfNew("Cleo", "2.1", "as-store", "as-source"), "3.0");
    EXPECT_EQ(versionOfNew("Dora", "3.0", "as-store", "4.0"), "4.0");
    EXPECT_EQ(versionOfNew("Eve", "3.0", "4.0", "as-source"), "4.0") << "the demand of the first map is the source's version of the second";
    EXPECT_EQ(versionOfNew("Flora", "4.0", "4.0", "as-store"), "3.0") << "and demands nothing of it";
    EXPECT_EQ(versionOfNew("Gwen", "4.0", "as-source", "3.0"), "3.0");
}

TEST_F(EndToEndTest, FieldsAreMappedUnmappedAndReset)
{
    const std::string map = makeMap(1);
    const Json byDefault = json({"fields", map});
    const auto has = [](const Json& list, const char* first, const char* second) {
        return std::find(list.begin(), list.end(), Json{{"first", first}, {"second", second}}) != list.end();
    };
    EXPECT_TRUE(has(byDefault, "Home phone", "Home phone"));
    const Json mapped = json({"fields", map, "--map", "home PHONE", "Other phone"});
    EXPECT_TRUE(has(mapped, "Home phone", "Other phone"));
    EXPECT_FALSE(has(mapped, "Home phone", "Home phone")) << "a field is mapped to one field only";
    EXPECT_FALSE(has(mapped, "Other phone", "Other phone")) << "a field is mapped to one field only";
    EXPECT_EQ(mapped.size(), byDefault.size() - 1);
    EXPECT_EQ(json({"fields", map, "--map", "Home phone", "Other phone"}), mapped);
    const Json without = json({"fields", map, "--unmap", "Home phone"});
    EXPECT_EQ(without.size(), byDefault.size() - 2);
    EXPECT_EQ(json({"fields", map, "--reset"}), byDefault);
    EXPECT_EQ(json({"fields", map}), byDefault);

    const Result unknown = mb({"fields", map, "--map", "Home phone", "Shoe size"});
    EXPECT_EQ(unknown.code, 1);
    EXPECT_NE(unknown.error.find("\"Shoe size\""), std::string::npos) << unknown.error;
    EXPECT_EQ(mb({"fields", map, "--unmap", "Shoe size"}).code, 1);
}

TEST_F(EndToEndTest, RemovingAMapLeavesTheStores)
{
    const std::string map = makeMap(3);
    ASSERT_EQ(mb({"sync", "--silent"}).code, 0);
    EXPECT_EQ(mb({"remove", map}).code, 0);
    EXPECT_EQ(json({"maps"}), Json::array());
    EXPECT_EQ(cardCount(), 3u);
    EXPECT_EQ(samples({"list", cards()}).out.empty(), false);
    EXPECT_FALSE(fs::exists(dataFolder() / (map + ".xml"))) << "the history is removed with the map";
}

TEST_F(EndToEndTest, AFailedRunNamesTheStoreAndTheNextOneIsGoodAgain)
{
    const std::string map = makeMap(5);
    ASSERT_EQ(mb({"sync", "--silent"}).code, 0);
    fs::rename(folder(), home_ / "away");
    const Result failed = mb({"sync", "--silent"});
    EXPECT_EQ(failed.code, 1);
    EXPECT_TRUE(isOneSentence(failed.error)) << failed.error;
    EXPECT_NE(failed.error.find(folder().string()), std::string::npos) << failed.error;
    const Result asJson = mb({"sync", "--silent", "--json"});
    EXPECT_EQ(asJson.code, 1);
    EXPECT_EQ(Json::parse(asJson.out).at(0).at("result"), "failed");
    EXPECT_NE(Json::parse(asJson.out).at(0).at("message"), "");
    EXPECT_EQ(json({"status"}).at(0).at("status"), "failed");

    fs::rename(home_ / "away", folder());
    EXPECT_EQ(mb({"sync", "--silent"}).code, 0);
    EXPECT_EQ(cardCount(), 5u);
    EXPECT_EQ(json({"status"}).at(0).at("status"), "good");
}

TEST_F(EndToEndTest, ARunThatMayAskReportsItsFailureOnce)
{
    const std::string map = makeMap(5);
    ASSERT_EQ(mb({"sync", "--silent"}).code, 0);
    const std::string silently = [&] {
        fs::rename(folder(), home_ / "away");
        return mb({"sync", "--silent"}).error;
    }();
    const Result failed = mb({"sync"});
    EXPECT_EQ(failed.code, 1);
    EXPECT_EQ(failed.error, silently);
    EXPECT_TRUE(isOneSentence(failed.error)) << failed.error;
}

TEST_F(EndToEndTest, ACardFileThatWasOverwrittenFailsTheRunAndStaysAsItIs)
{
    (void)makeMap(5);
    ASSERT_EQ(mb({"sync", "--silent"}).code, 0);
    for (const char* tail : {"-wal", "-shm"}) fs::remove(cards() + tail);
    putText(cards(), std::string(5000, 'x'));
    const Result failed = mb({"sync", "--silent"});
    EXPECT_EQ(failed.code, 1);
    EXPECT_NE(failed.error.find(cards()), std::string::npos) << failed.error;
    EXPECT_EQ(textOf(cards()), std::string(5000, 'x'));
    EXPECT_EQ(cardCount(), 5u) << "no card was deleted";
}

TEST_F(EndToEndTest, AMapWhosePluginIsGoneFailsInsteadOfDoingNothing)
{
    (void)makeMap(2);
    for (const std::string& plugin : {cardFilePlugin(), vCardPlugin()}) {
        ASSERT_EQ(mb({"unregister", plugin}).code, 0);
        const Result failed = mb({"sync", "--silent"});
        EXPECT_EQ(failed.code, 1);
        EXPECT_NE(failed.error.find("mb register"), std::string::npos) << failed.error;
        EXPECT_EQ(mb({"maps"}).code, 0);
        registerPlugins();
    }
    EXPECT_EQ(mb({"sync", "--silent"}).code, 0);
}

TEST_F(EndToEndTest, AConfigurationThatCannotBeOpenedIsNamed)
{
    fs::create_directories(dataFolder() / "MBSync.xml");
    for (const char* command : {"maps", "sync", "status", "translators"}) {
        const Result result = mb({command});
        EXPECT_EQ(result.code, 1) << command;
        EXPECT_TRUE(isOneSentence(result.error)) << result.error;
        EXPECT_NE(result.error.find(dataFolder().string()), std::string::npos) << result.error;
    }
}

TEST_F(EndToEndTest, OutputToAFullDiskIsAFailure)
{
    registerPlugins();
    run_.outFile = "/dev/full";
    const Result result = mb({"translators"});
    EXPECT_EQ(result.code, 1);
    EXPECT_TRUE(isOneSentence(result.error)) << result.error;
}

TEST_F(EndToEndTest, AContactCannotControlTheTerminal)
{
    (void)makeMap(1);
    ASSERT_EQ(samples({"edit", cards(), "Anna Lindqvist", "First name", "An\x1b[2Jna"}).code, 0);
    ASSERT_EQ(mb({"sync", "--silent"}).code, 0);
    ASSERT_NE(textOf(dataFolder() / "MBSync.log").find("[2Jna"), std::string::npos) << "the log names the contact";
    for (const auto& arguments : std::vector<std::vector<std::string>>{{"log"}, {"log", "--json"}, {"status"}, {"maps"}})
        EXPECT_EQ(mb(arguments).out.find('\x1b'), std::string::npos);
    EXPECT_EQ(textOf(dataFolder() / "MBSync.log").find('\x1b'), std::string::npos) << "another program may show the log";
    EXPECT_NE(mb({"log", "--lines", "0"}).out.find("An?[2Jna"), std::string::npos);
}

TEST_F(EndToEndTest, ARunCountsItsWritesEvenIfTheLogIsOff)
{
    (void)makeMap(2);
    replaceIn(home_ / "registry.reg", "\"LoggingLevel\"=dword:0000000f", "\"LoggingLevel\"=dword:00000000");
    const Result result = mb({"sync", "--silent"});
    EXPECT_EQ(result.code, 0) << result.error;
    EXPECT_NE(result.out.find("2 created, 0 updated, 0 deleted"), std::string::npos) << result.out;
    EXPECT_EQ(json({"sync", "--silent"}).at(0).at("second").at("created"), 0);
    EXPECT_NE(mb({"sync", "--silent"}).out.find("nothing to do"), std::string::npos);
    EXPECT_EQ(cardCount(), 2u);
}

TEST_F(EndToEndTest, CtrlCStopsTheRunAndTheNextOneGoesOn)
{
    constexpr int contacts = 3000;
    const std::string map = makeMap(contacts);
    run_.whileRuns = signalOnce([&] { return cardCount() > 0; }, SIGINT);
    const Result cancelled = mb({"sync", "--silent"});
    run_.whileRuns = nullptr;
    EXPECT_EQ(cancelled.code, 3) << cancelled.out;
    EXPECT_TRUE(isOneSentence(cancelled.error)) << cancelled.error;
    const std::size_t written = cardCount();
    EXPECT_GT(written, 0u);
    EXPECT_LT(written, static_cast<std::size_t>(contacts));

    const Json run = json({"sync", map, "--silent"}).at(0);
    EXPECT_EQ(run.at("second").at("created"), contacts - static_cast<int>(written)) << "the cards of the first run are not written again";
    EXPECT_EQ(cardCount(), static_cast<std::size_t>(contacts));
    const Json idle = json({"sync", map, "--silent"}).at(0);
    EXPECT_EQ(idle.at("first"), (Json{{"created", 0}, {"updated", 0}, {"deleted", 0}}));
    EXPECT_EQ(idle.at("second"), (Json{{"created", 0}, {"updated", 0}, {"deleted", 0}}));
}

TEST_F(EndToEndTest, WithoutATerminalAQuestionEndsTheRunAndNothingIsWritten)
{
    const std::string map = makeMap(3);
    const Result unanswered = mb({"sync"});
    EXPECT_EQ(unanswered.code, 3);
    EXPECT_TRUE(isOneSentence(unanswered.error)) << unanswered.error;
    EXPECT_NE(unanswered.error.find("--yes"), std::string::npos) << unanswered.error;
    EXPECT_EQ(cardCount(), 0u);
    EXPECT_EQ(Json::parse(mb({"sync", "--json"}).out).at(0).at("result"), "unanswered");

    EXPECT_EQ(mb({"sync", "--yes"}).code, 0) << "--yes accepts the summary";
    EXPECT_EQ(cardCount(), 3u);
    EXPECT_EQ(mb({"sync"}).code, 0) << "nothing to do, so nothing to ask";
}

TEST_F(EndToEndTest, WithoutATerminalYesDoesNotSettleAConflict)
{
    const std::string map = makeConflict();
    const auto before = everything(map);
    const Result result = mb({"sync", "--yes"});
    EXPECT_EQ(result.code, 3) << result.out << result.error;
    EXPECT_EQ(everything(map), before);
    EXPECT_EQ(mb({"sync", "--silent"}).code, 0);
}

TEST_F(EndToEndTest, ADryRunShowsEveryChangeFieldByFieldAndWritesNothing)
{
    const std::string map = makeMap(48);
    ASSERT_EQ(mb({"sync", "--silent"}).code, 0);
    ASSERT_EQ(samples({"edit", cards(), "Anna Lindqvist", "Mobile phone", "+1 202 555 0199"}).code, 0);
    ASSERT_TRUE(fs::remove(cardWith("sakura@example.org")));
    const auto before = everything(map);
    const Result plan = mb({"sync", "--dry-run"});
    EXPECT_EQ(plan.code, 0) << plan.error;
    EXPECT_NE(plan.out.find("1 Change"), std::string::npos) << plan.out;
    EXPECT_NE(plan.out.find("Change: Anna Lindqvist"), std::string::npos) << plan.out;
    EXPECT_NE(plan.out.find("+1 202 555 0199"), std::string::npos) << plan.out;
    EXPECT_NE(plan.out.find("1 Deletion"), std::string::npos) << plan.out;
    EXPECT_NE(plan.out.find("Nothing was written."), std::string::npos) << plan.out;
    const Json json = Json::parse(mb({"sync", "--dry-run", "--json"}).out).at(0);
    EXPECT_EQ(json.at("result"), "planned");
    EXPECT_EQ(json.at("plan").at("second").at("changes"), 1);
    EXPECT_EQ(json.at("plan").at("first").at("deletions"), 1);
    EXPECT_EQ(json.at("plan").at("contacts").size(), 2u);
    EXPECT_EQ(everything(map), before);

    const Json run = this->json({"sync", "--silent"}).at(0);
    EXPECT_EQ(run.at("second").at("updated"), 1);
    EXPECT_EQ(run.at("first").at("deleted"), 1);
    EXPECT_NE(mb({"sync", "--dry-run"}).out.find("nothing to do"), std::string::npos);
}

TEST_F(EndToEndTest, ADryRunShowsCategoriesApartFromContacts)
{
    (void)makeMap(1);
    ASSERT_EQ(samples({"edit", cards(), "Anna Lindqvist", "Categories", "Choir, Harbour"}).code, 0);
    const Json plan = json({"sync", "--dry-run"}).at(0).at("plan");
    EXPECT_EQ(plan.at("second").at("additions"), 1);
    EXPECT_EQ(plan.at("contacts").size(), 1u);
    ASSERT_EQ(plan.at("categories").size(), 2u) << plan;
    EXPECT_EQ(plan.at("categories").at(0), (Json{{"store", "second"}, {"action", "Add"}, {"name", "Choir"}}));
    const std::string text = mb({"sync", "--dry-run"}).out;
    EXPECT_NE(text.find("The lists of categories"), std::string::npos) << text;
}

TEST_F(EndToEndTest, ARunReportsWhatAPluginLeftOut)
{
    (void)makeMap(1);
    putText(folder() / "note.vcf", "no card at all\n");
    const Result run = mb({"sync", "--silent"});
    EXPECT_EQ(run.code, 0) << run.error;
    const auto at = run.out.find("note.vcf, line 1: left out");
    ASSERT_NE(at, std::string::npos) << run.out;
    EXPECT_EQ(run.out.find("note.vcf", at + 1), std::string::npos) << "reported once: " << run.out;
    EXPECT_EQ(json({"sync", "--silent"}).at(0).at("leftOut").size(), 1u) << "a run with nothing to do reports it too";
}

TEST_F(EndToEndTest, ADryRunOfAConflictWritesNothing)
{
    const std::string map = makeConflict();
    const auto before = everything(map);
    const Result plan = mb({"sync", "--dry-run"});
    EXPECT_EQ(plan.code, 0) << plan.error;
    EXPECT_NE(plan.out.find("in conflict: Anna Lindqvist; both are kept"), std::string::npos) << plan.out;
    EXPECT_EQ(everything(map), before);
}

TEST_F(EndToEndTest, ARunThatDeletesTooMuchIsRefusedWithBothCounts)
{
    const std::string map = makeMap(12);
    ASSERT_EQ(mb({"sync", "--silent"}).code, 0);
    int removed = 0;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder()))
        if (removed < 7 && fs::remove(entry.path())) ++removed;
    const auto before = everything(map);
    for (const std::vector<std::string>& arguments : std::vector<std::vector<std::string>>{{"sync", "--silent"},
                                                                                           {"sync", "--yes"},
                                                                                           {"sync", "--silent", "--max-delete", "6"},
                                                                                           {"sync", "--yes", "--max-delete", "20%"}}) {
        const Result refused = mb(arguments);
        EXPECT_EQ(refused.code, 1);
        EXPECT_TRUE(isOneSentence(refused.error)) << refused.error;
        EXPECT_NE(refused.error.find("delete 7 of the 12 contacts"), std::string::npos) << refused.error;
    }
    EXPECT_EQ(everything(map), before);
    EXPECT_EQ(mb({"sync", "--max-delete", "many"}).code, 2);
    EXPECT_EQ(mb({"sync", "--silent", "--max-delete", "7"}).code, 0);
    EXPECT_EQ(cardCount(), 5u);
}

TEST_F(EndToEndTest, HelpIsACommandToo)
{
    EXPECT_EQ(mb({"help"}).out, mb({"--help"}).out);
    EXPECT_EQ(mb({"help", "sync"}).out, mb({"sync", "--help"}).out);
    EXPECT_NE(mb({"help", "sync"}).out.find("--dry-run"), std::string::npos);
    EXPECT_EQ(mb({"help"}).code, 0);
    EXPECT_EQ(mb({"help", "snyc"}).code, 2);
    EXPECT_EQ(mb({"help", "snyc"}).error, mb({"snyc"}).error);
}

TEST_F(EndToEndTest, AMistypedCommandOrOptionGetsTheNearestOneSuggested)
{
    EXPECT_EQ(mb({"snyc"}).error, "mb: There is no command \"snyc\". Did you mean sync? mb --help lists the commands.\n");
    EXPECT_EQ(mb({"snyc", "--help"}).error, mb({"snyc"}).error);
    EXPECT_EQ(mb({"paint"}).error, "mb: There is no command \"paint\"; mb --help lists the commands.\n");
    EXPECT_EQ(mb({"sync", "--sillent"}).error,
              "mb: There is no option \"--sillent\" of mb sync. Did you mean --silent? mb sync --help tells more.\n");
    EXPECT_EQ(mb({"sync", "--max-delet=3"}).error,
              "mb: There is no option \"--max-delet\" of mb sync. Did you mean --max-delete? mb sync --help tells more.\n");
    EXPECT_EQ(mb({"--versoin"}).error, "mb: There is no option \"--versoin\" of mb. Did you mean --version? mb --help tells more.\n");
    for (const std::vector<std::string>& typed : std::vector<std::vector<std::string>>{{"snyc"}, {"sync", "--sillent"}, {"--versoin"}})
        EXPECT_EQ(mb(typed).code, 2);
}

TEST_F(EndToEndTest, HelpBreaksAtBlanksOnATerminalOf80Columns)
{
    for (const char* command : {"sync", "set", "fields", "record-status", "transfer", "add"}) {
        const Result help = talk({command, "--help"}, {});
        EXPECT_EQ(help.code, 0);
        std::istringstream lines(help.out);
        for (std::string line; std::getline(lines, line);)
            EXPECT_TRUE(line.size() <= 81 || line.starts_with("  mb ")) << command << ": " << line;
    }
}

TEST_F(EndToEndTest, BothUnknownFieldsAreNamed)
{
    const std::string map = makeMap(1);
    EXPECT_EQ(mb({"fields", map, "--map", "Foo", "Bar"}).error,
              "mb: The first store has no field \"Foo\", and the second store has no field \"Bar\"; see mb fields MAP --available.\n");
    EXPECT_EQ(mb({"fields", map, "--map", "Title", "Bar"}).error,
              "mb: The second store has no field \"Bar\"; see mb fields MAP --available.\n");
    EXPECT_EQ(mb({"fields", map, "--unmap", "Foo"}).error, "mb: The first store has no field \"Foo\"; see mb fields MAP --available.\n");
}

TEST_F(EndToEndTest, RecordStatusOfAMapWithoutHistorySaysSo)
{
    const std::string map = makeMap(1), sentence = "The map " + map + " never ran, so it has no history; mb sync runs it.\n";
    EXPECT_EQ(mb({"record-status", map}).out, sentence);
    EXPECT_EQ(json({"record-status", map}), Json::array());
    const Result set = mb({"record-status", map, "x", "--set", "excluded"});
    EXPECT_EQ(set.code, 1);
    EXPECT_EQ(set.error, "mb: " + sentence);
}

TEST_F(EndToEndTest, AMissingPluginIsNamedAsMissing)
{
    const std::string map = makeMap(1);
    const fs::path moved = home_ / "plugins" / "vcard.so";
    fs::create_directory(moved.parent_path());
    fs::copy_file(vCardPlugin(), moved);
    ASSERT_EQ(mb({"register", moved}).code, 0);
    fs::remove(moved);
    const std::string missing = "there is no library \"" + moved.string() + "\"";
    for (const std::vector<std::string>& typed : std::vector<std::vector<std::string>>{{"sync"},
                                                                                       {"sync", "--dry-run"},
                                                                                       {"fields", map},
                                                                                       {"fields", map, "--available"},
                                                                                       {"fields", map, "--map", "Title", "Title"},
                                                                                       {"fields", map, "--reset"}}) {
        const Result result = mb(typed);
        EXPECT_EQ(result.code, 1) << typed[0];
        EXPECT_NE(result.error.find(missing), std::string::npos) << typed.back() << ": " << result.error;
    }
    EXPECT_NE(mb({"translators"}).out.find(missing), std::string::npos) << mb({"translators"}).out;
    EXPECT_NE(mb({"maps"}).out.find("(its plug-in cannot be loaded)"), std::string::npos) << mb({"maps"}).out;
    EXPECT_NE(mb({"add", "vCard=" + folder().string(), "Mirabook=" + cards()}).error.find("(its library is missing)"), std::string::npos);
    ASSERT_EQ(mb({"unregister", vCardPlugin()}).code, 0);
    EXPECT_NE(mb({"fields", map}).error.find("No plug-in is registered for the kind of store {"), std::string::npos)
        << mb({"fields", map}).error;
}

TEST_F(EndToEndTest, MergeIsNotOfferedAsASetting)
{
    const std::string map = makeMap(1);
    EXPECT_EQ(mb({"set", "--help"}).out.find("merge"), std::string::npos);
    EXPECT_EQ(mb({"set", map, "conflicts", "x"}).error.find("merge"), std::string::npos);
}

TEST_F(EndToEndTest, OnATerminalTheUserConfirmsTheSummary)
{
    const std::string map = makeMap(3);
    for (const char* answer : {"\x04", "\n", "n\n"}) {
        const Result cancelled = talk({"sync"}, {{"help] ", answer}});
        EXPECT_EQ(cancelled.code, 3) << cancelled.out;
        EXPECT_NE(cancelled.out.find("~/Contacts: 3 new"), std::string::npos) << cancelled.out;
        EXPECT_EQ(cardCount(), 0u);
    }
    const Result done = talk({"sync"}, {{"help] ", "d\n"}, {"What would be written", ""}, {"help] ", "b\n"}, {"help] ", "y\n"}});
    EXPECT_EQ(done.code, 0) << done.out;
    EXPECT_NE(done.out.find("Anna"), std::string::npos) << "the details name the contacts";
    EXPECT_EQ(cardCount(), 3u);
}

TEST_F(EndToEndTest, OnATerminalTheUserSettlesAConflict)
{
    const std::string map = makeConflict();
    const Result done = talk({"sync", "--yes"}, {{"help] ", "2\n"}});
    EXPECT_EQ(done.code, 0) << done.out;
    EXPECT_NE(done.out.find("Anna Lindqvist was changed in both stores"), std::string::npos) << done.out;
    EXPECT_NE(done.out.find("1: ~/cards.db"), std::string::npos) << done.out;
    EXPECT_NE(done.out.find("+1 202 555 0111"), std::string::npos) << done.out;
    EXPECT_NE(done.out.find("1 updated"), std::string::npos) << done.out;
    EXPECT_NE(textOf(cardWith(":Anna Lindqvist")).find("+1 202 555 0122"), std::string::npos) << done.out;
    EXPECT_EQ(cardCount(), 12u);
    EXPECT_NE(mb({"sync"}).out.find("nothing to do"), std::string::npos);
}

TEST_F(EndToEndTest, EnterAloneAtAConflictKeepsBothContacts)
{
    (void)makeConflict();
    const Result done = talk({"sync", "--yes"}, {{"help] ", "\n"}});
    EXPECT_EQ(done.code, 0) << done.out;
    EXPECT_EQ(done.out.find("Error"), std::string::npos) << done.out;
    EXPECT_EQ(cardCount(), 13u);
}

TEST_F(EndToEndTest, NothingIsWrittenIfTheTerminalIsClosedAtAQuestion)
{
    const std::string map = makeConflict();
    const auto before = everything(map);
    for (const std::vector<std::string>& arguments : std::vector<std::vector<std::string>>{{"sync"}, {"sync", "--yes"}}) {
        const Result gone = talkToProgram(MB_PROGRAM, arguments, run_, {{"help] ", closeTerminal}});
        EXPECT_NE(gone.code, 0) << gone.out;
        EXPECT_EQ(everything(map), before);
    }
}

TEST_F(EndToEndTest, TheFieldMapIsEditedOnATerminal)
{
    const std::string map = makeMap(1);
    EXPECT_EQ(mb({"fields", map, "--edit"}).code, 3) << "there is no terminal";
    const Json before = json({"fields", map});
    EXPECT_EQ(talk({"fields", map, "--edit"}, {{"help] ", "1\n"}, {"help] ", "\x04"}}).code, 3);
    EXPECT_EQ(talk({"fields", map, "--edit"}, {{"help] ", "1\n"}, {"help] ", "q\n"}}).code, 3);
    EXPECT_EQ(json({"fields", map}), before);
    const Result edited = talk({"fields", map, "--edit"}, {{"help] ", "1\n"}, {"help] ", "s\n"}});
    EXPECT_EQ(edited.code, 0) << edited.out;
    EXPECT_EQ(json({"fields", map}).size(), before.size() - 1);
}

TEST_F(EndToEndTest, OnATerminalAConflictIsMergedWithoutARegisteredMergeComponent)
{
    const std::string map = makeConflict();
    const Result done = talk({"sync", "--yes"}, {{"help] ", "m\n"}, {"help] ", "t\n"}, {"empty): ", "+1 202 555 0133\n"}});
    EXPECT_EQ(done.code, 0) << done.out;
    EXPECT_NE(done.out.find("Mobile phone (field 1 of 1)"), std::string::npos) << done.out;
    EXPECT_NE(textOf(cardWith(":Anna Lindqvist")).find("+1 202 555 0133"), std::string::npos) << done.out;
    EXPECT_NE(mb({"sync"}).out.find("nothing to do"), std::string::npos);
}

TEST_F(EndToEndTest, ACancelledMergeReturnsToTheConflict)
{
    const std::string map = makeConflict();
    const auto before = everything(map);
    const Result done = talk({"sync", "--yes"}, {{"help] ", "m\n"}, {"help] ", "\x04"}, {"was changed in both", ""}, {"help] ", "\x04"}});
    EXPECT_EQ(done.code, 3) << done.out;
    EXPECT_EQ(everything(map), before);
}

TEST_F(EndToEndTest, MbRegistersItsMergeComponentUnlessAnotherOneExists)
{
    const auto registered = [&] { return textOf(home_ / "registry.reg"); };
    registerPlugins();
    const std::string own = "@=\"" + (binFolder() / "merge.so").string() + "\"";
    ASSERT_NE(registered().find(own), std::string::npos) << registered();
    fs::copy_file(binFolder() / "merge.so", home_ / "other.so");
    ASSERT_EQ(mb({"register", home_ / "other.so"}).code, 0);
    const std::string other = "@=\"" + (home_ / "other.so").string() + "\"";
    EXPECT_EQ(mb({"maps"}).code, 0);
    EXPECT_NE(registered().find(other), std::string::npos) << "an existing component stays registered";
    fs::remove(home_ / "other.so");
    EXPECT_EQ(mb({"maps"}).code, 0);
    EXPECT_EQ(registered().find(other), std::string::npos);
    EXPECT_NE(registered().find(own), std::string::npos);
}
