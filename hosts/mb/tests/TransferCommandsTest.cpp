#include "base64.h"
#include "EndToEndFixture.h"

#include <algorithm>
#include <chrono>
#include <fstream>

namespace {

using namespace mbtest;
namespace fs = std::filesystem;

class TransferCommandsTest : public EndToEnd {
protected:
    void fillCards(int count)
    {
        registerPlugins();
        ASSERT_EQ(samples({"fill", cards(), "--count", std::to_string(count)}).code, 0);
    }
    std::string target() const { return "vCard=" + folder().string(); }
    Json transferThree()
    {
        return json({"transfer", "--to", target(), "--cards", cards(), "Anna Lindqvist", "jürgen weiß", "Anna Lindqvist"});
    }
    void expectFailure(const std::vector<std::string>& arguments, int code, const std::string& named)
    {
        const Result result = mb(arguments);
        EXPECT_EQ(result.code, code) << testing::PrintToString(arguments) << result.error;
        EXPECT_TRUE(isOneSentence(result.error)) << result.error;
        EXPECT_NE(result.error.find(named), std::string::npos) << result.error;
    }
};

TEST_F(TransferCommandsTest, TargetsAreAllPluginsExceptTheCardFile)
{
    EXPECT_EQ(json({"targets"}), Json::array());
    EXPECT_EQ(mb({"targets"}).code, 0);
    registerPlugins();
    const Json targets = json({"targets"});
    ASSERT_EQ(targets.size(), 1u);
    EXPECT_EQ(targets.at(0).at("name"), "vCard");
    EXPECT_EQ(targets.at(0).at("configurable"), true);
    EXPECT_EQ(targets.at(0).at("images"), true);
    EXPECT_EQ(targets.at(0).at("program"), "");
    EXPECT_NE(mb({"targets"}).out.find("vCard"), std::string::npos);
}

TEST_F(TransferCommandsTest, ATargetWhosePluginIsGoneIsMarkedAsMissing)
{
    fs::copy_file(vCardPlugin(), home_ / "vcard.so");
    ASSERT_EQ(mb({"register", cardFilePlugin(), home_ / "vcard.so"}).code, 0);
    EXPECT_EQ(json({"targets"}).at(0).at("available"), true);
    EXPECT_NE(mb({"targets"}).out.find("vCard  yes"), std::string::npos) << mb({"targets"}).out;
    fs::remove(home_ / "vcard.so");
    ASSERT_EQ(json({"targets"}).size(), 1u);
    EXPECT_EQ(json({"targets"}).at(0).at("available"), false);
    const std::string shown = mb({"targets"}).out;
    EXPECT_NE(shown.find("vCard folder or file  no "), std::string::npos) << shown;
    EXPECT_NE(shown.find((home_ / "vcard.so").string()), std::string::npos) << "which file is missing: " << shown;
}

// It may be a hidden map, which must not be synchronised.
TEST_F(TransferCommandsTest, AMapWhoseEntryIsDamagedIsNamedAndNoMapRuns)
{
    fillCards(48);
    (void)transferThree();
    fs::create_directories(home_ / "Phone");
    const std::string map = addMap("Mirabook=" + cards(), "vCard=" + (home_ / "Phone").string());
    const std::string hidden = json({"targets"}).at(0).at("class"), key = "<KN>" + platform::encodeBase64("Trans2") + "</KN><KV>";
    replaceIn(dataFolder() / "MBSync.xml", key + platform::encodeBase64(hidden), key + platform::encodeBase64("damaged"));
    for (const char* command : {"sync", "maps", "status"}) expectFailure({command}, 1, hidden);
    EXPECT_EQ(mb({"sync", "--silent"}).code, 1);
    EXPECT_TRUE(fs::is_empty(home_ / "Phone"));
    EXPECT_EQ(mb({"remove", hidden}).code, 0);
    EXPECT_EQ(mb({"sync", "--silent"}).code, 0);
    EXPECT_EQ(json({"maps"}).at(0).at("map"), map);
}

TEST_F(TransferCommandsTest, CardsGoToAFolderByNameAndComeBackEdited)
{
    fillCards(48);
    Json run = transferThree();
    EXPECT_EQ(run.at("result"), "done");
    EXPECT_EQ(run.at("direction"), "to");
    EXPECT_EQ(run.at("cards").size(), 2u) << "a card that is named twice counts once";
    EXPECT_EQ(run.at("second").at("created"), 2);
    EXPECT_EQ(cardCount(), 2u);
    EXPECT_EQ(json({"maps"}), Json::array()) << "the hidden map is not listed";
    EXPECT_NE(mb({"sync", "--silent"}).out.find("There is no map yet"), std::string::npos);

    replaceIn(cardWith(":Jürgen Weiß"), "juergen.weiss@example.org", "j.weiss@example.net");
    run = json({"transfer", "--from", "vCard"});
    EXPECT_EQ(run.at("first").at("updated"), 1);
    EXPECT_EQ(run.at("first").at("created"), 0);
    run = json({"transfer", "--to", "vcard", "--all"});
    EXPECT_EQ(run.at("second").at("created"), 46);
    EXPECT_EQ(run.at("second").at("updated"), 0) << "a change from the target is not copied back";
    EXPECT_EQ(cardCount(), 48u);
    EXPECT_NE(mb({"transfer", "--to", "vCard", "Anna Lindqvist"}).out.find("nothing to do"), std::string::npos);
    EXPECT_NE(textOf(cardWith(":Jürgen Weiß")).find("j.weiss@example.net"), std::string::npos);
}

TEST_F(TransferCommandsTest, TheHistoriesOfMapsAreNotTouched)
{
    const std::string map = makeMap(5);
    ASSERT_EQ(mb({"sync", "--silent"}).code, 0);
    const std::string before = textOf(dataFolder() / (map + ".xml"));
    ASSERT_FALSE(before.empty());
    fs::create_directory(home_ / "Elsewhere");
    const std::string elsewhere = "vCard=" + (home_ / "Elsewhere").string();
    ASSERT_EQ(mb({"transfer", "--to", elsewhere, "--all"}).code, 0) << "the card file is that of the only map";
    ASSERT_EQ(mb({"transfer", "--from", "vCard"}).code, 0);
    EXPECT_EQ(textOf(dataFolder() / (map + ".xml")), before);
    EXPECT_EQ(json({"maps"}).size(), 1u);
    EXPECT_NE(mb({"sync", "--silent"}).out.find("nothing to do"), std::string::npos);
}

TEST_F(TransferCommandsTest, CardsAreTakenByIdentifierToo)
{
    fillCards(3);
    const Json run = json({"transfer", "--to", target(), "--cards", cards(), "--all"});
    const std::string id = run.at("cards").at(1);
    std::string upper = id;
    std::transform(upper.begin(), upper.end(), upper.begin(), [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    EXPECT_EQ(json({"transfer", "--to", "vCard", upper, id}).at("cards").size(), 1u);
}

TEST_F(TransferCommandsTest, AnUnknownOrAmbiguousCardIsNamedAndNothingIsCopied)
{
    fillCards(48);
    ASSERT_EQ(samples({"fill", cards(), "--count", "1"}).code, 0);
    const Json all = json({"transfer", "--to", target(), "--cards", cards(), "--all"});
    ASSERT_EQ(all.at("cards").size(), 49u);
    fs::remove_all(folder());
    fs::create_directory(folder());
    const std::string twice = samples({"list", cards()}).out;
    std::vector<std::string> names;
    for (std::size_t at = 0, end; (end = twice.find('\n', at)) != std::string::npos; at = end + 1)
        names.push_back(twice.substr(at, end - at));
    const auto doubled = std::adjacent_find(names.begin(), names.end());
    ASSERT_NE(doubled, names.end());
    expectFailure({"transfer", "--to", "vCard", *doubled}, 2, "several cards");
    expectFailure({"transfer", "--to", "vCard", "Nobody At All"}, 1, "\"Nobody At All\"");
    expectFailure({"transfer", "--to", "vCard", "Jürgen Weiß", ""}, 1, "\"\"");
    EXPECT_EQ(cardCount(), 0u);
}

TEST_F(TransferCommandsTest, StatusTellsHowTheLastTransferEnded)
{
    fillCards(3);
    EXPECT_EQ(json({"status"}), Json::array());
    EXPECT_EQ(mb({"transfer", "--to", "vCard=" + (home_ / "Nowhere").string(), "--cards", cards(), "--all"}).code, 1);
    const Json failed = json({"status"}).at(0);
    EXPECT_EQ(failed.at("transfer"), "vCard");
    EXPECT_EQ(failed.at("status"), "failed");
    EXPECT_NE(failed.at("message").get<std::string>().find("Nowhere"), std::string::npos) << failed;
    EXPECT_FALSE(failed.contains("map")) << "mb sync does not run transfers";
    ASSERT_EQ(mb({"transfer", "--to", target(), "--cards", cards(), "--all"}).code, 0);
    const Json good = json({"status"});
    ASSERT_EQ(good.size(), 1u) << good;
    EXPECT_EQ(good.at(0).at("status"), "good");
    EXPECT_NE(good.at(0).at("last_run"), "");
    const std::string shown = mb({"status"}).out;
    EXPECT_NE(shown.find("transfer vCard"), std::string::npos) << shown;
    EXPECT_NE(shown.find("vCard=" + folder().string()), std::string::npos) << shown;
    EXPECT_EQ(json({"maps"}), Json::array());
}

TEST_F(TransferCommandsTest, AFailedTransferRestoresTheSettingsOfTheOneBefore)
{
    fillCards(3);
    ASSERT_EQ(mb({"transfer", "--to", target(), "--cards", cards(), "Anna Lindqvist"}).code, 0);
    expectFailure({"transfer", "--to", "vCard=" + (home_ / "Nowhere").string(), "--all"}, 1, "Nowhere");
    expectFailure({"transfer", "--to", "vCard=" + (home_ / "Nowhere").string(), "Nobody At All"}, 1, "Nobody");
    putText(home_ / "other.db", "no card file at all, whatever it is called");
    EXPECT_EQ(mb({"transfer", "--from", "vCard", "--cards", home_ / "other.db"}).code, 1);
    const Json run = json({"transfer", "--to", "vCard", "--all"});
    EXPECT_EQ(run.at("database"), folder().string());
    EXPECT_EQ(run.at("card_file"), cards());
    EXPECT_EQ(run.at("second").at("created"), 2);
    EXPECT_EQ(cardCount(), 3u);
}

TEST_F(TransferCommandsTest, AFailedTransferLeavesThePasswordOfTheOneBefore)
{
    fillCards(3);
    const auto keptPassword = [&] {
        const std::string settings = textOf(dataFolder() / "MBSync.xml"), key = "<KN>UGFzc3dvcmQ=</KN><KV>"; // the encoded name "Password"
        const std::size_t at = settings.find(key);
        return at == std::string::npos ? "none" : settings.substr(at + key.size(), settings.find('<', at + key.size()) - at - key.size());
    };
    ASSERT_EQ(mb({"transfer", "--to", target(), "--cards", cards(), "--password", "first", "Anna Lindqvist"}).code, 0);
    const std::string first = keptPassword();
    ASSERT_NE(first, "none");
    expectFailure({"transfer", "--to", "vCard", "--password", "other", "Nobody At All"}, 1, "Nobody");
    EXPECT_EQ(keptPassword(), first);
    expectFailure({"transfer", "--to", "vCard=" + (home_ / "Nowhere").string(), "--password", "other", "--all"}, 1, "Nowhere");
    EXPECT_EQ(keptPassword(), first);
    ASSERT_EQ(mb({"transfer", "--to", "vCard", "--password", "other", "--all"}).code, 0);
    EXPECT_NE(keptPassword(), first) << "a transfer that succeeds is remembered with its password";
}

TEST_F(TransferCommandsTest, WrongUsageEndsWithCodeTwo)
{
    fillCards(1);
    const std::vector<std::vector<std::string>> wrong{{"transfer"},
                                                      {"transfer", "--to", "vCard"},
                                                      {"transfer", "--to", "vCard", "--from", "vCard"},
                                                      {"transfer", "--to", "vCard=", "--all"},
                                                      {"transfer", "--to", "vCard", "--all", "Anna Lindqvist"},
                                                      {"transfer", "--from", "vCard", "Anna Lindqvist"},
                                                      {"transfer", "--to", target(), "--all"}};
    for (const auto& arguments : wrong) EXPECT_EQ(mb(arguments).code, 2) << testing::PrintToString(arguments);
}

TEST_F(TransferCommandsTest, AStoreThatDoesNotOpenIsNamed)
{
    fillCards(2);
    expectFailure({"transfer", "--to", "Ledger", "--all", "--cards", cards()}, 1, "\"Ledger\"");
    expectFailure({"transfer", "--to", "Mirabook", "--all", "--cards", cards()}, 1, "\"Mirabook\"");
    expectFailure({"transfer", "--to", target(), "--all", "--cards", "none.db"}, 1, "none.db");
    EXPECT_FALSE(fs::exists(home_ / "none.db")) << "a mistyped name creates no card file";
    putText(home_ / "junk.db", std::string(5000, 'x'));
    expectFailure({"transfer", "--to", target(), "--all", "--cards", "junk.db"}, 1, "junk.db");
    expectFailure({"transfer", "--to", "vCard=" + (home_ / "no folder").string(), "--all", "--cards", cards()}, 1, "no folder");
    EXPECT_EQ(cardCount(), 0u);
    EXPECT_EQ(mb({"transfer", "--to", target(), "--all", "--cards", cards()}).code, 0) << "the right names work";
    EXPECT_EQ(cardCount(), 2u);
}

TEST_F(TransferCommandsTest, ATargetWithoutADatabaseSaysHowToGiveOne)
{
    fillCards(1);
    expectFailure({"transfer", "--to", "vCard", "--all", "--cards", cards()}, 1, "NAME=DATABASE");
}

TEST_F(TransferCommandsTest, ATransferCreatesNoCardFileInEitherDirection)
{
    registerPlugins();
    putText(folder() / "new.vcf", "BEGIN:VCARD\r\nVERSION:3.0\r\nFN:New Person\r\nN:Person;New;;;\r\nEND:VCARD\r\n");
    expectFailure({"transfer", "--from", target(), "--cards", "fresh.db"}, 1, "fresh.db");
    expectFailure({"transfer", "--to", target(), "--cards", "fresh.db", "--all"}, 1, "fresh.db");
    EXPECT_FALSE(fs::exists(home_ / "fresh.db"));
    EXPECT_EQ(samples({"fill", home_ / "fresh.db", "--count", "0"}).code, 0);
    const Json run = json({"transfer", "--from", target(), "--cards", "fresh.db", "--all"});
    EXPECT_EQ(run.at("first").at("created"), 1);
    EXPECT_NE(samples({"list", home_ / "fresh.db"}).out.find("New Person"), std::string::npos);
}

TEST_F(TransferCommandsTest, AMissingCardFilePluginIsReported)
{
    fillCards(1);
    ASSERT_EQ(mb({"unregister", cardFilePlugin()}).code, 0);
    expectFailure({"transfer", "--to", target(), "--all", "--cards", cards()}, 1, "mb register");
    expectFailure({"transfer", "--from", target(), "--cards", cards()}, 1, "mb register");
}

TEST_F(TransferCommandsTest, APluginOfTheOlderContractWorksAsTargetAndAsStore)
{
    fillCards(3);
    ASSERT_EQ(mb({"register", OLD_PLUGIN}).code, 0);
    ASSERT_EQ(json({"targets"}).size(), 4u);
    const std::string file = home_ / "old.txt";
    EXPECT_EQ(json({"transfer", "--to", "OldTexts=" + file, "--cards", cards(), "--all"}).at("second").at("created"), 3);
    const std::string before = textOf(file);
    EXPECT_NE(before.find("Lindqvist"), std::string::npos);
    EXPECT_NE(mb({"transfer", "--to", "oldtexts", "--all"}).out.find("nothing to do"), std::string::npos);
    EXPECT_EQ(textOf(file), before);

    (void)addMap("OldNumbers=" + (home_ / "numbers.txt").string(), target());
    putText(folder() / "new.vcf", "BEGIN:VCARD\r\nVERSION:3.0\r\nFN:New Person\r\nN:Person;New;;;\r\nEND:VCARD\r\n");
    EXPECT_EQ(json({"sync", "--silent"}).at(0).at("first").at("created"), 1);
    EXPECT_NE(textOf(home_ / "numbers.txt").find("Person"), std::string::npos);
}

class RecordCommandsTest : public EndToEnd {};

TEST_F(RecordCommandsTest, TheRecordsOfAHistoryAreShownWithPartnerAndStatus)
{
    const std::string map = makeMap(3);
    EXPECT_EQ(json({"record-status", map}), Json::array()) << "the map never ran";
    ASSERT_EQ(mb({"sync", "--silent"}).code, 0);
    const Json first = json({"record-status", map}), second = json({"record-status", map, "--second"});
    ASSERT_EQ(first.size(), 3u);
    ASSERT_EQ(second.size(), 3u);
    const std::string id = first.at(0).at("record"), partner = first.at(0).at("partner");
    EXPECT_EQ(json({"record-status", map, partner, "--second"}).at("partner"), id);
    EXPECT_EQ(first.at(0).at("status"), "not-present") << "no status was set";
    EXPECT_NE(mb({"record-status", map}).out.find(partner), std::string::npos);
}

TEST_F(RecordCommandsTest, AStatusIsSetAndFoundAgain)
{
    const std::string map = makeMap(3);
    ASSERT_EQ(mb({"sync", "--silent"}).code, 0);
    const std::string id = json({"record-status", map}).at(1).at("record");
    EXPECT_EQ(json({"record-status", map, id, "--set", "excluded"}).at("status"), "excluded");
    const Json found = json({"record-status", map, "--status", "excluded"});
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found.at(0).at("record"), id);
    EXPECT_EQ(json({"record-status", map, id, "--set", "-6"}).at("status"), "unreachable");
    EXPECT_NE(mb({"sync", "--silent"}).out.find("nothing to do"), std::string::npos) << "a status does not change the contact";
}

TEST_F(RecordCommandsTest, AnUnknownRecordIsNotPresentAndItsStatusCannotBeSet)
{
    const std::string map = makeMap(1);
    ASSERT_EQ(mb({"sync", "--silent"}).code, 0);
    EXPECT_EQ(json({"record-status", map, "nobody"}), (Json{{"record", "nobody"}, {"partner", ""}, {"status", "not-present"}}));
    const Result failed = mb({"record-status", map, "nobody", "--set", "current"});
    EXPECT_EQ(failed.code, 1);
    EXPECT_TRUE(isOneSentence(failed.error)) << failed.error;
    EXPECT_EQ(mb({"record-status", map, "nobody", "--set", "purple"}).code, 2);
    EXPECT_EQ(mb({"record-status", map, "--set", "current"}).code, 2);
    EXPECT_EQ(mb({"record-status", "zz"}).code, 1);
}

TEST_F(RecordCommandsTest, EachFileHasAFilterListOfItsOwn)
{
    EXPECT_EQ(json({"filter", "cards.db"}).at("records"), Json::array());
    EXPECT_EQ(json({"filter", "cards.db", "--add", "one", "--add", "two", "--add", "one"}).at("records"), (Json{"one", "two"}));
    EXPECT_EQ(json({"filter", "other.db", "--add", "three"}).at("records"), (Json{"three"}));
    EXPECT_EQ(json({"filter", "cards.db", "--remove", "one"}).at("records"), (Json{"two"}));
    EXPECT_EQ(mb({"filter", "cards.db"}).out, "two\n");
    EXPECT_EQ(json({"filter", "cards.db", "--clear"}).at("records"), Json::array());
    EXPECT_EQ(json({"filter", "other.db"}).at("records"), (Json{"three"}));
    EXPECT_TRUE(fs::exists(dataFolder() / "CNFilter.xml"));
}

TEST_F(RecordCommandsTest, EachCommandHasHelpWithAnExample)
{
    for (const char* command : {"targets", "transfer", "record-status", "filter"}) {
        const Result result = mb({command, "--help"});
        EXPECT_EQ(result.code, 0) << command;
        EXPECT_NE(result.out.find(std::string("\n  mb ") + command), std::string::npos) << result.out;
    }
}

TEST_F(TransferCommandsTest, AHiddenMapWhoseSettingsCannotBeReadIsNotReplaced)
{
    fillCards(3);
    ASSERT_EQ(json({"transfer", "--to", target(), "--cards", cards(), "--all"}).at("result"), "done");
    const fs::path settings = dataFolder() / "MBSync.xml";
    const std::string before = textOf(settings), pair = "<KN>VHJhbnMx</KN><KV>"; // the encoded name of the value Trans1
    const std::size_t value = before.find(pair) + pair.size();
    ASSERT_GT(value, pair.size());
    std::string damaged = before;
    damaged.replace(value, 4, "AAAA");
    std::ofstream(settings, std::ios::binary) << damaged;
    expectFailure({"transfer", "--to", "vCard", "--all"}, 1, "The settings of the transfer cannot be read");
    EXPECT_TRUE(textOf(settings) == damaged);
    std::ofstream(settings, std::ios::binary) << before;
    EXPECT_NE(mb({"transfer", "--to", "vCard", "--all"}).out.find("nothing to do"), std::string::npos);
}

TEST_F(TransferCommandsTest, AFirstTransferThatFailsLeavesNoTrace)
{
    fillCards(3);
    const auto registered = [&] { return textOf(dataFolder() / "MBSync.xml"); };
    ASSERT_EQ(json({"maps"}), Json::array());
    const std::string before = registered();
    const std::vector<std::vector<std::string>> failing{
        {"transfer", "--to", "vCard=" + (home_ / "nowhere" / "deep").string(), "--cards", cards(), "--all"},
        {"transfer", "--to", target(), "--cards", home_ / "absent.db", "--all"},
        {"transfer", "--to", target(), "--cards", cards(), "Nobody Atall"},
        {"transfer", "--to", "vCard", "--cards", cards(), "--all"}};
    for (const auto& arguments : failing) {
        const Result result = mb(arguments);
        EXPECT_NE(result.code, 0) << testing::PrintToString(arguments);
        EXPECT_TRUE(isOneSentence(result.error)) << result.error;
        EXPECT_TRUE(registered() == before) << testing::PrintToString(arguments);
    }
    ASSERT_EQ(mb({"transfer", "--to", target(), "--cards", cards(), "--all"}).code, 0);
    EXPECT_NE(mb({"transfer", "--to", "vCard", "--all"}).out.find("nothing to do"), std::string::npos)
        << "a successful transfer is remembered";
}

} // namespace
