// Longer scenarios in which mb syncs two folders of cards, checked by exit codes, --json output and the cards.
#include "MbFixture.h"

#include <chrono>
#include <thread>

using namespace mbtest;
using testing::HasSubstr;
namespace fs = std::filesystem;

namespace {

class MbStory : public MbTest {
protected:
    static void expectFailure(const std::vector<std::wstring>& arguments, unsigned long code, const std::string& named)
    {
        const Ended ended = mb(arguments);
        EXPECT_EQ(ended.code, code) << testing::PrintToString(arguments);
        EXPECT_TRUE(isOneSentence(ended.output)) << ended.output;
        EXPECT_THAT(ended.output, HasSubstr(named));
    }
    static Json counts(int created, int updated, int deleted) { return {{"created", created}, {"updated", updated}, {"deleted", deleted}}; }
    [[nodiscard]] std::wstring makeMapInStep(int contacts) const
    {
        const std::wstring map = makeMap(contacts);
        EXPECT_EQ(mb({L"sync", L"--silent"}).code, 0u);
        EXPECT_EQ(cardCount(two), static_cast<std::size_t>(contacts));
        return map;
    }
};

// With a card file of the host, for transfers in both directions.
class MbTransfer : public MbStory {
protected:
    MbTransfer() { EXPECT_EQ(registerLibrary(CARD_FILE), 0u); }
    ~MbTransfer() override { EXPECT_EQ(unregisterLibrary(CARD_FILE), 0u); }
};

} // namespace

TEST_F(MbStory, EditsReachTheOtherSideAndTheNextRunHasNothingToDo)
{
    const std::wstring map = makeMap(8);
    Json run = json({L"sync", map, L"--silent"}).at(0);
    EXPECT_EQ(run.at("result"), "done");
    EXPECT_EQ(run.at("second"), counts(8, 0, 0));
    EXPECT_EQ(run.at("first"), counts(0, 0, 0));

    replaceIn(cardWith(one, ":Ada1 "), "Ada1@example.org", "left@example.net");
    replaceIn(cardWith(two, ":Ada2 "), "Ada2@example.org", "right@example.net");
    ASSERT_TRUE(fs::remove(cardWith(two, ":Ada3 ")));
    putCard(one, "Grace", "Hopper");
    run = json({L"sync", L"--silent"}).at(0);
    EXPECT_EQ(run.at("second"), counts(1, 1, 0));
    EXPECT_EQ(run.at("first"), counts(0, 1, 1));
    EXPECT_THAT(textOf(cardWith(two, ":Ada1 ")), HasSubstr("left@example.net"));
    EXPECT_THAT(textOf(cardWith(one, ":Ada2 ")), HasSubstr("right@example.net"));
    EXPECT_TRUE(cardWith(one, ":Ada3 ").empty());
    EXPECT_FALSE(cardWith(two, ":Grace Hopper").empty());

    const Ended idle = mb({L"sync", L"--silent"});
    EXPECT_EQ(idle.code, 0u);
    EXPECT_THAT(idle.output, HasSubstr("nothing to do"));
    const Json status = json({L"status"}).at(0);
    EXPECT_EQ(status.at("status"), "good");
    EXPECT_EQ(status.at("last_run").get<std::string>().size(), 16u);
}

TEST_F(MbStory, ADryRunShowsEveryChangeFieldByFieldAndWritesNothing)
{
    const std::wstring map = makeMapInStep(4);
    replaceIn(cardWith(one, ":Ada1 "), "Ada1@example.org", "left@example.net");
    ASSERT_TRUE(fs::remove(cardWith(two, ":Ada3 ")));
    const auto before = everything(map);
    const Ended plan = mb({L"sync", L"--dry-run"});
    EXPECT_EQ(plan.code, 0u);
    for (const char* told : {"1 Change", "Change: Ada1 Lovelace", "left@example.net", "1 Deletion", "Nothing was written."})
        EXPECT_THAT(plan.output, HasSubstr(told));
    const Json planned = json({L"sync", L"--dry-run"}).at(0);
    EXPECT_EQ(planned.at("result"), "planned");
    EXPECT_EQ(planned.at("plan").at("second").at("changes"), 1);
    EXPECT_EQ(planned.at("plan").at("first").at("deletions"), 1);
    EXPECT_EQ(planned.at("plan").at("contacts").size(), 2u);
    EXPECT_EQ(everything(map), before);

    const Json run = json({L"sync", L"--silent"}).at(0);
    EXPECT_EQ(run.at("second"), counts(0, 1, 0)) << "as the dry run planned";
    EXPECT_EQ(run.at("first"), counts(0, 0, 1));
}

TEST_F(MbStory, ARunThatDeletesTooMuchIsRefusedWithBothCounts)
{
    const std::wstring map = makeMapInStep(12);
    for (int i = 0; i < 7; ++i) ASSERT_TRUE(fs::remove(cardWith(two, ":Ada" + std::to_string(i) + " ")));
    const auto before = everything(map);
    for (const std::vector<std::wstring>& arguments : std::vector<std::vector<std::wstring>>{{L"sync", L"--silent"},
                                                                                             {L"sync", L"--yes"},
                                                                                             {L"sync", L"--silent", L"--max-delete", L"6"},
                                                                                             {L"sync", L"--yes", L"--max-delete", L"20%"}})
        expectFailure(arguments, 1, "delete 7 of the 12 contacts");
    EXPECT_EQ(everything(map), before);
    EXPECT_EQ(mb({L"sync", L"--max-delete", L"many"}).code, 2u);
    EXPECT_EQ(mb({L"sync", L"--silent", L"--max-delete", L"7"}).code, 0u);
    EXPECT_EQ(cardCount(one), 5u);
}

TEST_F(MbStory, RunsThatAreStartedTogetherLeaveEachContactOnce)
{
    constexpr int contacts = 300;
    const std::wstring map = makeMap(contacts);
    std::vector<Ended> ended(3);
    std::vector<std::thread> runs;
    for (Ended& each : ended) runs.emplace_back([&] { each = mb({L"sync", map, L"--silent", L"--wait", L"100"}); });
    for (std::thread& each : runs) each.join();
    for (const Ended& each : ended) EXPECT_EQ(each.code, 0u) << each.output;
    EXPECT_EQ(cardCount(one), static_cast<std::size_t>(contacts));
    EXPECT_EQ(cardCount(two), static_cast<std::size_t>(contacts));
    EXPECT_FALSE(fs::exists(installation.data() / (map + L".lock")));
}

TEST_F(MbStory, AMapThatIsInUseEndsTheRunWithItsOwnExitCodeAndNamesTheProcess)
{
    const std::wstring map = makeMap(3000);
    const Ended first = mb({L"sync", map, L"--silent"}, [&](unsigned long process) {
        while (cardCount(two) == 0) std::this_thread::sleep_for(std::chrono::milliseconds(2));
        const Ended second = mb({L"sync", map, L"--silent", L"--wait", L"0"});
        EXPECT_EQ(second.code, 4u) << second.output;
        EXPECT_THAT(second.output, HasSubstr("mb, process " + std::to_string(process)));
    });
    EXPECT_EQ(first.code, 0u) << first.output;
    EXPECT_EQ(cardCount(two), 3000u);
}

TEST_F(MbStory, WithoutAConsoleAQuestionEndsTheRunAndNothingIsWritten)
{
    (void)makeMap(3);
    expectFailure({L"sync"}, 3, "--yes");
    EXPECT_EQ(cardCount(two), 0u);
    const Ended unanswered = mb({L"sync", L"--json"});
    EXPECT_EQ(unanswered.code, 3u);
    ASSERT_THAT(unanswered.output, HasSubstr("\n[")) << "the JSON follows the message";
    EXPECT_EQ(Json::parse(unanswered.output.substr(unanswered.output.find("\n["))).at(0).at("result"), "unanswered");
    EXPECT_EQ(mb({L"sync", L"--yes"}).code, 0u) << "the summary is accepted";
    EXPECT_EQ(cardCount(two), 3u);
    EXPECT_EQ(mb({L"sync"}).code, 0u) << "nothing to write, so no question";
}

TEST_F(MbStory, AConflictIsSettledSilentlyByKeepingBothAndNotByYes)
{
    const std::wstring map = makeMapInStep(2);
    replaceIn(cardWith(one, ":Ada1 "), "Ada1@example.org", "left@example.net");
    replaceIn(cardWith(two, ":Ada1 "), "Ada1@example.org", "right@example.net");
    const auto before = everything(map);
    EXPECT_EQ(mb({L"sync", L"--yes"}).code, 3u) << "nobody can answer";
    EXPECT_EQ(everything(map), before);
    const Json run = json({L"sync", L"--silent"}).at(0);
    ASSERT_EQ(run.at("conflicts").size(), 1u);
    EXPECT_THAT(run.at("conflicts").at(0).at("contact").get<std::string>(), HasSubstr("Ada1 Lovelace"));
    for (const fs::path& folder : {one, two}) {
        EXPECT_EQ(cardCount(folder), 3u);
        for (const char* value : {"left@example.net", "right@example.net"}) EXPECT_FALSE(cardWith(folder, value).empty());
    }
}

TEST_F(MbStory, OptionsAndFieldsOfAMapAreKept)
{
    const std::wstring map = makeMap(1);
    const Json before = json({L"show", map}).at("options");
    for (const auto& [option, value] : {std::pair{L"conflicts", L"second-wins"}, {L"direction", L"to-first"}, {L"images", L"no"}}) {
        EXPECT_EQ(mb({L"set", map, option, value}).code, 0u);
        const std::wstring name = option, wanted = value;
        const std::string key(name.begin(), name.end()), text(wanted.begin(), wanted.end());
        EXPECT_NE(before.at(key), text);
        EXPECT_EQ(json({L"show", map}).at("options").at(key), text);
    }
    const Json byDefault = json({L"fields", map});
    EXPECT_EQ(json({L"fields", map, L"--unmap", L"Home phone"}).size(), byDefault.size() - 1);
    EXPECT_EQ(json({L"fields", map, L"--reset"}), byDefault);
    EXPECT_EQ(json({L"fields", map}), byDefault);
}

TEST_F(MbStory, WrongUsageExitsWithTwoAndAnUnknownMapWithOne)
{
    const std::wstring map = makeMap(1);
    const std::vector<std::vector<std::wstring>> wrong{{},
                                                       {L"frobnicate"},
                                                       {L"show"},
                                                       {L"add", L"vCard"},
                                                       {L"add", L"vCard=" + one.native(), L"vCard=" + one.native()},
                                                       {L"set", map, L"colour", L"red"},
                                                       {L"set", map, L"images", L"maybe"},
                                                       {L"transfer"},
                                                       {L"record-status", map, L"--set", L"current"}};
    for (const auto& arguments : wrong) {
        const Ended ended = mb(arguments);
        EXPECT_EQ(ended.code, 2u) << testing::PrintToString(arguments);
        EXPECT_NE(ended.output, "") << testing::PrintToString(arguments);
    }
    for (const wchar_t* command : {L"show", L"sync", L"remove", L"fields", L"record-status"}) expectFailure({command, L"zz"}, 1, "zz");
    expectFailure({L"add", L"vCard=" + one.native(), L"Ledger=x"}, 1, "Ledger");
    EXPECT_EQ(json({L"maps"}).size(), 1u);
    EXPECT_EQ(mb({L"sync", L"--help"}).code, 0u);
}

TEST_F(MbStory, ARecordHasAPartnerAndAStatus)
{
    const std::wstring map = makeMap(3);
    EXPECT_EQ(json({L"record-status", map}), Json::array()) << "the map never ran";
    ASSERT_EQ(mb({L"sync", L"--silent"}).code, 0u);
    const Json first = json({L"record-status", map});
    ASSERT_EQ(first.size(), 3u);
    const std::string id = first.at(0).at("record"), partner = first.at(0).at("partner");
    const std::wstring wideId(id.begin(), id.end()), widePartner(partner.begin(), partner.end());
    EXPECT_EQ(json({L"record-status", map, widePartner, L"--second"}).at("partner"), id);
    EXPECT_EQ(json({L"record-status", map, wideId, L"--set", L"excluded"}).at("status"), "excluded");
    const Json found = json({L"record-status", map, L"--status", L"excluded"});
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found.at(0).at("record"), id);
    EXPECT_THAT(mb({L"sync", L"--silent"}).output, HasSubstr("nothing to do")) << "a new status is not a change of the contact";
    expectFailure({L"record-status", map, L"nobody", L"--set", L"current"}, 1, "nobody");
}

TEST_F(MbStory, RemovingAMapKeepsTheStores)
{
    const std::wstring map = makeMapInStep(3);
    const fs::path history = installation.data() / (map + L".xml");
    ASSERT_TRUE(fs::exists(history));
    EXPECT_EQ(mb({L"remove", map}).code, 0u);
    EXPECT_EQ(json({L"maps"}), Json::array());
    EXPECT_FALSE(fs::exists(history)) << "the history is deleted with the map";
    EXPECT_EQ(cardCount(one), 3u);
    EXPECT_EQ(cardCount(two), 3u);
    expectFailure({L"sync", map}, 1, std::string(map.begin() + 1, map.begin() + 9));
}

TEST_F(MbStory, AMapWithAMissingPluginFailsUntilItIsRegisteredAgain)
{
    const std::wstring map = makeMapInStep(2);
    const fs::path plugin = VCARD_PLUGIN;
    ASSERT_EQ(mb({L"unregister", plugin.native()}).code, 0u);
    EXPECT_EQ(json({L"translators"}), Json::array());
    expectFailure({L"sync", L"--silent"}, 1, "mb register");
    EXPECT_EQ(json({L"maps"}).at(0).at("map"), std::string(map.begin(), map.end()));
    ASSERT_EQ(mb({L"register", plugin.native()}).code, 0u);
    putCard(two, "Grace", "Hopper");
    EXPECT_EQ(json({L"sync", L"--silent"}).at(0).at("first"), counts(1, 0, 0));
}

TEST_F(MbTransfer, CardsGoToAFolderByNameAndComeBackEdited)
{
    const std::wstring cards = (installation.folder() / "cards.txt").native();
    for (const char* name : {"Ada", "Grace", "J\xC3\xBCrgen \xC5\x81"}) putCard(one, name, "Person");
    const std::wstring map = addMap(L"Mirabook=" + cards, L"vCard=" + one.native());
    ASSERT_EQ(json({L"sync", L"--silent"}).at(0).at("first"), counts(3, 0, 0));

    const std::wstring target = L"vCard=" + two.native();
    Json run = json({L"transfer", L"--to", target, L"--cards", cards, L"Ada Person", L"j\u00FCrgen \u0142 person", L"Ada Person"});
    EXPECT_EQ(run.at("result"), "done");
    EXPECT_EQ(run.at("cards").size(), 2u) << "a card that is named twice is transferred once";
    EXPECT_EQ(run.at("second"), counts(2, 0, 0));
    EXPECT_EQ(cardCount(two), 2u);
    EXPECT_EQ(json({L"maps"}).size(), 1u) << "the hidden map is not listed";

    replaceIn(cardWith(two, ":Ada "), "Ada@example.org", "ada@example.net");
    EXPECT_EQ(json({L"transfer", L"--from", L"vCard"}).at("first"), counts(0, 1, 0));
    run = json({L"transfer", L"--to", L"vcard", L"--all"});
    EXPECT_EQ(run.at("second"), counts(1, 0, 0)) << "a card is not sent back to its source";
    EXPECT_THAT(mb({L"transfer", L"--to", L"vCard", L"Ada Person"}).output, HasSubstr("nothing to do"));
    expectFailure({L"transfer", L"--to", L"vCard", L"Nobody At All"}, 1, "\"Nobody At All\"");
    EXPECT_EQ(json({L"sync", map, L"--silent"}).at(0).at("second"), counts(0, 1, 0)) << "the map's run copies the card to its other folder";
}
