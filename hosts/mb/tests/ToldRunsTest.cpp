// What mb says about its runs: counts, ends, refusals, and stores that were moved.
#include "EndToEndFixture.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <fstream>
#include <set>

using namespace mbtest;
namespace fs = std::filesystem;

namespace {

class ToldRunsTest : public EndToEnd {
protected:
    Result talk(const std::vector<std::string>& arguments, const Conversation& conversation)
    {
        return talkToProgram(MB_PROGRAM, arguments, run_, conversation);
    }
    static bool has(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }
    std::string status() { return json({"status"}).at(0).at("status"); }
    void removeCards(int count)
    {
        for (const fs::directory_entry& entry : fs::directory_iterator(folder()))
            if (count > 0 && entry.path().extension() == ".vcf" && fs::remove(entry.path())) --count;
        ASSERT_EQ(count, 0);
    }
    void setRegistry(const std::string& key, const std::string& value)
    {
        std::ofstream(home_ / "registry.reg", std::ios::app) << "\r\n[" << key << "]\r\n" << value << "\r\n";
    }
    // Writes a vCard file of one contact, as another program would.
    void putContact(const fs::path& file, const std::string& first, const std::string& last)
    {
        fs::create_directories(file.parent_path());
        putText(file, "BEGIN:VCARD\r\nVERSION:3.0\r\nUID:" + first + last + "\r\nFN:" + first + " " + last + "\r\nN:" + last + ";" + first +
                          ";;;\r\nEND:VCARD\r\n");
    }
};

} // namespace

TEST_F(ToldRunsTest, TheJsonListsEachRecordWithItsAction)
{
    (void)makeMap(3);
    const Json first = json({"sync", "--silent"}).at(0);
    ASSERT_EQ(first.at("records").size(), 3u) << first;
    EXPECT_EQ(first.at("records").at(0).at("store"), "second");
    EXPECT_EQ(first.at("records").at(0).at("action"), "created");
    EXPECT_EQ(first.at("records").at(0).at("pass"), "contacts");

    ASSERT_EQ(samples({"edit", cards(), "Anna Lindqvist", "Mobile phone", "+1 202 555 0199"}).code, 0);
    const Json second = json({"sync", "--silent"}).at(0);
    ASSERT_EQ(second.at("records").size(), 1u) << second;
    const Json& record = second.at("records").at(0);
    EXPECT_EQ(record.at("name"), "Anna Lindqvist");
    EXPECT_EQ(record.at("action"), "updated");
    EXPECT_EQ(record.at("fields"), (Json{"Mobile phone"}));
    EXPECT_EQ(second.at("failures"), Json::array());
}

TEST_F(ToldRunsTest, TextAndJsonSayHowEachConflictWasSettled)
{
    const std::string map = makeMap(3);
    ASSERT_EQ(mb({"sync", "--silent"}).code, 0);
    const auto conflict = [&](const std::string& title, const std::string& option) {
        ASSERT_EQ(samples({"edit", cards(), "Anna Lindqvist", "Title", title}).code, 0);
        const fs::path card = cardWith(":Anna Lindqvist");
        const std::string text = textOf(card);
        const auto at = text.find("TITLE");
        putText(card, text.substr(0, at) + "TITLE:Own " + title + text.substr(text.find("\r\n", at)));
        ASSERT_EQ(mb({"set", map, "conflicts", option}).code, 0);
    };
    ASSERT_EQ(samples({"edit", cards(), "Anna Lindqvist", "Title", "Chief"}).code, 0);
    ASSERT_EQ(mb({"sync", "--silent"}).code, 0);
    conflict("Boss", "merge");
    const std::string told = mb({"sync", "--dry-run"}).out;
    EXPECT_TRUE(has(told, "in conflict: Anna Lindqvist; both stay as they are")) << told;
    EXPECT_EQ(json({"sync", "--dry-run"}).at(0).at("conflicts"), (Json{{{"contact", "Anna Lindqvist"}, {"settled", "none"}}}));
    ASSERT_EQ(mb({"set", map, "conflicts", "second-wins"}).code, 0);
    const Result run = mb({"sync", "--silent"});
    EXPECT_TRUE(has(run.out, "in conflict: Anna Lindqvist; vCard=" + folder().string() + " wins")) << run.out;
    EXPECT_TRUE(has(run.out, "Mirabook=" + cards() + ": 0 created, 1 updated, 0 deleted")) << run.out;
}

TEST_F(ToldRunsTest, AnotherLanguageChangesNoCount)
{
    setRegistry("HKEY_CURRENT_USER\\Software\\Zorel\\Mirabook\\Locale", "\"DefaultLanguage\"=\"de\"");
    setRegistry("HKEY_LOCAL_MACHINE\\Software\\Zorel\\MBSyncEng", "\"InstallPath\"=\"" + home_.string() + "\"");
    fs::create_directories(home_ / "locale" / "de");
    putText(home_ / "locale" / "de" / "mbsync.dat",
            "147\tIn beide Richtungen\n152\tKONFLIKT: %s\n157\tNEU in %s: %s\n158\tGEAENDERT in %s: %s\n231\tKopieren ab %s %s\n");
    (void)makeMap(2);
    const Result run = mb({"sync", "--silent"});
    EXPECT_TRUE(has(run.out, "2 created, 0 updated, 0 deleted")) << run.out << run.error;
    EXPECT_TRUE(has(mb({"log"}).out, "NEU in vCard: Anna Lindqvist")) << "the language was not used";
}

TEST_F(ToldRunsTest, TwoMapsThatRunAtOnceReportTheirOwnCounts)
{
    const std::string map = makeMap(400);
    ASSERT_EQ(samples({"fill", home_ / "few.db", "--count", "3"}).code, 0);
    fs::create_directories(home_ / "Few");
    const std::string few = addMap("Mirabook=" + (home_ / "few.db").string(), "vCard=" + (home_ / "Few").string());
    Json fewRun;
    run_.whileRuns = [&](int) {
        RunOptions options = run_;
        options.whileRuns = nullptr;
        fewRun = Json::parse(runProgram(MB_PROGRAM, {"sync", few, "--silent", "--json"}, options).out).at(0);
    };
    const Json run = Json::parse(mb({"sync", map, "--silent", "--json"}).out).at(0);
    run_.whileRuns = nullptr;
    EXPECT_EQ(run.at("second").at("created"), 400);
    EXPECT_EQ(fewRun.at("second").at("created"), 3);
}

TEST_F(ToldRunsTest, StatusShowsHowTheLastRunEnded)
{
    (void)makeMap(12);
    EXPECT_EQ(status(), "never");
    EXPECT_EQ(mb({"sync", "--dry-run"}).code, 0);
    EXPECT_EQ(status(), "never") << "a dry run is not a run";
    EXPECT_EQ(mb({"sync"}).code, 3);
    EXPECT_EQ(status(), "unanswered");
    EXPECT_EQ(talk({"sync"}, {{"help] ", "\x04"}}).code, 3);
    EXPECT_EQ(status(), "cancelled");
    EXPECT_EQ(mb({"sync", "--silent"}).code, 0);
    EXPECT_EQ(status(), "good");
    removeCards(7);
    EXPECT_EQ(mb({"sync", "--silent"}).code, 1);
    const Json refused = json({"status"}).at(0);
    EXPECT_EQ(refused.at("status"), "refused");
    EXPECT_TRUE(has(refused.at("message"), "7 of the 12 contacts")) << refused;
    EXPECT_NE(refused.at("last_run"), "");
    EXPECT_EQ(mb({"sync", "--silent", "--max-delete", "none"}).code, 0);
    EXPECT_EQ(status(), "good");
    fs::rename(folder(), home_ / "away");
    EXPECT_EQ(mb({"sync", "--silent"}).code, 1);
    EXPECT_EQ(status(), "failed");
}

TEST_F(ToldRunsTest, AnUnansweredQuestionIsNotLoggedAsACancelByTheUser)
{
    const std::string map = makeMap(3);
    ASSERT_EQ(mb({"sync"}).code, 3);
    const std::string log = textOf(dataFolder() / "MBSync.log");
    EXPECT_FALSE(has(log, "cancelled by the user")) << log;
    EXPECT_TRUE(has(log, "A question could not be asked")) << log;
    run_.environment["MB_UNATTENDED"] = "1";
    const Result run = talk({"sync"}, {});
    EXPECT_EQ(run.code, 3);
    EXPECT_TRUE(has(run.out + run.error, "MB_UNATTENDED forbids questions")) << "there is a terminal: " << run.out << run.error;
    EXPECT_EQ(status(), "unanswered");
}

TEST_F(ToldRunsTest, AnUnansweredRunSaysThatItsCategoriesWereWritten)
{
    (void)makeMap(1);
    ASSERT_EQ(samples({"edit", cards(), "Anna Lindqvist", "Categories", "Choir"}).code, 0);
    const Result run = mb({"sync"});
    EXPECT_EQ(run.code, 3);
    EXPECT_TRUE(has(run.out, "categories: 1 created")) << run.out;
    EXPECT_FALSE(has(run.error, "nothing of it was written")) << run.error;
    EXPECT_TRUE(has(run.error, "only its categories were written")) << run.error;
}

// Collects the names of all members, also of nested objects.
static void collectMembers(const Json& value, std::set<std::string>& names)
{
    if (value.is_object())
        for (const auto& [name, inner] : value.items()) names.insert(name);
    if (value.is_structured())
        for (const Json& inner : value) collectMembers(inner, names);
}

TEST_F(ToldRunsTest, EveryMemberOfTheJsonOfARunIsDocumented)
{
    (void)makeMap(3);
    const std::string document = textOf(fs::path(EXAMPLES_FOLDER).parent_path() / "json.md");
    std::set<std::string> names;
    collectMembers(json({"sync", "--dry-run"}), names);
    collectMembers(json({"sync", "--silent"}), names);
    ASSERT_EQ(samples({"edit", cards(), "Anna Lindqvist", "Title", "Boss"}).code, 0);
    collectMembers(json({"sync", "--dry-run"}), names);
    removeCards(3);
    collectMembers(Json::parse(mb({"sync", "--silent", "--json"}).out), names);
    collectMembers(json({"sync", "--dry-run"}), names);
    fs::create_directories(home_ / "Copies");
    collectMembers(json({"transfer", "--to", "vCard=" + (home_ / "Copies").string(), "--all"}), names);
    for (const char* member : {"notes", "fields", "limit", "card_file", "message"}) EXPECT_TRUE(names.contains(member)) << member;
    for (const std::string& name : names) EXPECT_TRUE(has(document, "`" + name + "`")) << name;
}

TEST_F(ToldRunsTest, ConsentToDeleteCategoriesIsNotConsentToDeleteContacts)
{
    (void)makeMap(6);
    ASSERT_EQ(samples({"edit", cards(), "Anna Lindqvist", "Categories", "Choir, Family, Harbour, Work"}).code, 0);
    ASSERT_EQ(mb({"sync", "--silent"}).code, 0);
    fs::remove_all(folder());
    fs::create_directory(folder());
    const Result run = talk({"sync"}, {{"delete them: ", "y\n"}, {"delete them: ", "n\n"}});
    EXPECT_TRUE(has(run.out, "4 of the 4 categories")) << run.out;
    EXPECT_TRUE(has(run.out, "6 of the 6 contacts")) << "asked again: " << run.out;
    EXPECT_EQ(run.code, 1) << run.out;
    EXPECT_EQ(std::ranges::count(samples({"list", cards()}).out, '\n'), 6);
}

TEST_F(ToldRunsTest, ARunThatWasKilledIsUnfinished)
{
    (void)makeMap(3000);
    run_.whileRuns = signalOnce([&] { return cardCount() > 0; }, SIGKILL);
    EXPECT_EQ(mb({"sync", "--silent"}).code, 128 + SIGKILL);
    run_.whileRuns = nullptr;
    EXPECT_EQ(status(), "unfinished");
    EXPECT_EQ(mb({"sync", "--silent"}).code, 0);
    EXPECT_EQ(status(), "good");
}

TEST_F(ToldRunsTest, RemovingAMapRemovesTheRecordOfItsLastRun)
{
    const std::string map = makeMap(1);
    ASSERT_EQ(mb({"sync", "--silent"}).code, 0);
    ASSERT_TRUE(fs::exists(dataFolder() / (map + ".lastrun.json")));
    ASSERT_EQ(mb({"remove", map}).code, 0);
    EXPECT_FALSE(fs::exists(dataFolder() / (map + ".lastrun.json")));
}

TEST_F(ToldRunsTest, ARefusalAndADryRunAreNotLoggedAsACancelByTheUser)
{
    (void)makeMap(12);
    EXPECT_EQ(mb({"sync", "--dry-run"}).code, 0);
    ASSERT_EQ(mb({"sync", "--silent"}).code, 0);
    removeCards(7);
    EXPECT_EQ(mb({"sync", "--silent", "--max-delete", "6"}).code, 1);
    EXPECT_EQ(mb({"sync", "--silent"}).code, 1);
    const std::string log = mb({"log", "--lines", "0"}).out;
    EXPECT_FALSE(has(log, "cancelled by the user")) << log;
    EXPECT_TRUE(has(log, "stopped it before anything was written")) << log;
}

TEST_F(ToldRunsTest, ACancelAfterTheCategoriesWereWrittenDoesNotSayThatNothingWasWritten)
{
    (void)makeMap(1);
    ASSERT_EQ(samples({"edit", cards(), "Anna Lindqvist", "Categories", "Choir, Harbour"}).code, 0);
    const Result cancelled = talk({"sync"}, {{"help] ", "\x04"}});
    EXPECT_EQ(cancelled.code, 3) << cancelled.out;
    EXPECT_FALSE(has(cancelled.out, "Nothing was written")) << cancelled.out;
    EXPECT_TRUE(has(cancelled.out, "What was written before is kept")) << cancelled.out;
    EXPECT_TRUE(has(cancelled.out, "categories: 2 created")) << cancelled.out;
    const Result again = talk({"sync"}, {{"help] ", "\x04"}});
    EXPECT_TRUE(has(again.out, "Cancelled. Nothing was written.")) << again.out;
}

TEST_F(ToldRunsTest, ARefusalNamesTheStoreThatLostItsContactsAndWhatToType)
{
    const std::string map = makeMap(12);
    ASSERT_EQ(mb({"sync", "--silent"}).code, 0);
    removeCards(12);
    const Result refused = mb({"sync", "--silent"});
    EXPECT_EQ(refused.code, 1);
    EXPECT_TRUE(isOneSentence(refused.error)) << refused.error;
    for (const std::string& part :
         {"12 of the 12 contacts of Mirabook=" + cards(), "since vCard=" + folder().string() + " no longer has them",
          "mb set \"" + map + "\" second DATABASE", "mb sync \"" + map + "\" --max-delete none", std::string("nothing of it was written")})
        EXPECT_TRUE(has(refused.error, part)) << part << "\n" << refused.error;
}

// A run that is refused for its categories ends before its contacts; its refusal names both.
TEST_F(ToldRunsTest, ARefusalNamesTheCategoriesAndTheContacts)
{
    (void)makeMap(6);
    ASSERT_EQ(samples({"edit", cards(), "Anna Lindqvist", "Categories", "Choir, Family, Harbour, Work"}).code, 0);
    ASSERT_EQ(mb({"sync", "--silent"}).code, 0);
    fs::remove_all(folder());
    fs::create_directory(folder());
    const std::string lost = "4 of the 4 categories and 6 of the 6 contacts of Mirabook=" + cards() + ", since vCard=" + folder().string();
    const Result plan = mb({"sync", "--dry-run"});
    EXPECT_TRUE(has(plan.out, lost)) << plan.out;
    const Result refused = mb({"sync", "--silent"});
    EXPECT_EQ(refused.code, 1);
    EXPECT_TRUE(isOneSentence(refused.error)) << refused.error;
    EXPECT_TRUE(has(refused.error, lost)) << refused.error;
    EXPECT_TRUE(has(refused.error, "nothing of it was written")) << refused.error;
    EXPECT_EQ(json({"status"}).at(0).at("status"), "refused");
    EXPECT_NE(samples({"list", cards()}).out, "");
}

TEST_F(ToldRunsTest, OnATerminalARunOverTheLimitIsAskedAbout)
{
    (void)makeMap(12);
    ASSERT_EQ(mb({"sync", "--silent"}).code, 0);
    removeCards(7);
    const Result no = talk({"sync"}, {{"delete them: ", "n\n"}});
    EXPECT_EQ(no.code, 1) << no.out;
    EXPECT_TRUE(has(no.out, "since vCard=" + folder().string() + " no longer has them")) << no.out;
    EXPECT_EQ(json({"status"}).at(0).at("status"), "refused");
    const Result nobody = talk({"sync", "--yes"}, {});
    EXPECT_EQ(nobody.code, 1) << "--yes accepts the summary, not these deletions";
    const Result yes = talk({"sync"}, {{"delete them: ", "y\n"}, {"help] ", "y\n"}});
    EXPECT_EQ(yes.code, 0) << yes.out;
    EXPECT_TRUE(has(yes.out, "7 deleted")) << yes.out;
}

TEST_F(ToldRunsTest, ADryRunSaysThatTheLimitWouldRefuse)
{
    (void)makeMap(12);
    ASSERT_EQ(mb({"sync", "--silent"}).code, 0);
    EXPECT_FALSE(has(mb({"sync", "--dry-run"}).out, "would refuse"));
    removeCards(7);
    const Result plan = mb({"sync", "--dry-run"});
    EXPECT_EQ(plan.code, 0) << plan.error;
    EXPECT_TRUE(has(plan.out, "mb sync would refuse this: it would delete 7 of the 12 contacts of Mirabook=" + cards())) << plan.out;
    EXPECT_TRUE(has(plan.out, "--max-delete 50% is the limit")) << plan.out;
    EXPECT_EQ(json({"sync", "--dry-run"}).at(0).at("plan").at("refused").at("deletions"), 7);
    EXPECT_EQ(json({"sync", "--dry-run", "--max-delete", "7"}).at(0).at("plan").at("refused"), nullptr);
}

TEST_F(ToldRunsTest, TheLimitOfTheMapAppliesWithoutMaxDelete)
{
    const std::string map = makeMap(12);
    ASSERT_EQ(mb({"sync", "--silent"}).code, 0);
    ASSERT_EQ(mb({"set", map, "max-delete", "20%"}).code, 0);
    removeCards(3);
    const Result refused = mb({"sync", "--silent"});
    EXPECT_EQ(refused.code, 1);
    EXPECT_TRUE(has(refused.error, "--max-delete 20% is the limit")) << refused.error;
    ASSERT_EQ(mb({"set", map, "max-delete", "none"}).code, 0);
    EXPECT_EQ(mb({"sync", "--silent"}).code, 0);
    EXPECT_EQ(cardCount(), 9u);
}

TEST_F(ToldRunsTest, AMovedFolderKeepsItsHistory)
{
    const std::string map = makeMap(12);
    ASSERT_EQ(mb({"sync", "--silent"}).code, 0);
    const fs::path moved = home_ / "Moved";
    fs::rename(folder(), moved);
    const Result set = mb({"set", map, "second", moved});
    EXPECT_EQ(set.code, 0) << set.error;
    EXPECT_TRUE(has(set.out, "has all of the 12 contacts")) << set.out;
    EXPECT_EQ(json({"show", map}).at("second").at("database"), moved.string());
    EXPECT_TRUE(has(mb({"sync", "--silent"}).out, "nothing to do"));
    ASSERT_EQ(samples({"edit", cards(), "Anna Lindqvist", "Mobile phone", "+1 202 555 0199"}).code, 0);
    EXPECT_EQ(json({"sync", "--silent"}).at(0).at("second").at("updated"), 1);
}

TEST_F(ToldRunsTest, ARenamedFileOfManyCardsKeepsItsHistory)
{
    registerPlugins();
    ASSERT_EQ(samples({"fill", cards(), "--count", "5"}).code, 0);
    putText(home_ / "old.vcf", "");
    const std::string map = addMap("Mirabook=" + cards(), "vCard=" + (home_ / "old.vcf").string());
    ASSERT_EQ(mb({"sync", "--silent"}).code, 0);
    fs::rename(home_ / "old.vcf", home_ / "new.vcf");
    const Result set = mb({"set", map, "second", home_ / "new.vcf"});
    EXPECT_EQ(set.code, 0) << set.error;
    EXPECT_TRUE(has(mb({"sync", "--silent"}).out, "nothing to do"));
}

TEST_F(ToldRunsTest, AStoreThatLacksContactsIsAcceptedOnlyWithForce)
{
    const std::string map = makeMap(12);
    ASSERT_EQ(mb({"sync", "--silent"}).code, 0);
    fs::create_directories(home_ / "Other");
    const Result refused = mb({"set", map, "second", home_ / "Other"});
    EXPECT_EQ(refused.code, 1);
    EXPECT_TRUE(isOneSentence(refused.error)) << refused.error;
    EXPECT_TRUE(has(refused.error, "lacks 12 of the 12 contacts")) << refused.error;
    EXPECT_EQ(json({"show", map}).at("second").at("database"), folder().string());
    EXPECT_TRUE(has(mb({"sync", "--silent"}).out, "nothing to do"));
    EXPECT_EQ(mb({"set", map, "second", home_ / "Other", "--force"}).code, 0);
    EXPECT_EQ(json({"show", map}).at("second").at("database"), (home_ / "Other").string());
    EXPECT_EQ(mb({"sync", "--silent"}).code, 1) << "the limit still applies";
}

TEST_F(ToldRunsTest, AMissingStoreIsNotCreated)
{
    const std::string map = makeMap(1);
    ASSERT_EQ(mb({"sync", "--silent"}).code, 0);
    const Result absent = mb({"set", map, "first", home_ / "absent.db", "--force"});
    EXPECT_EQ(absent.code, 1);
    EXPECT_TRUE(has(absent.error, "does not exist")) << absent.error;
    EXPECT_FALSE(fs::exists(home_ / "absent.db"));
    EXPECT_EQ(mb({"set", map, "first", folder()}).code, 2) << "the other side of the map";
    EXPECT_EQ(mb({"set", map, "images", "no", "--force"}).code, 2);
    EXPECT_TRUE(has(mb({"sync", "--silent"}).out, "nothing to do"));
}

TEST_F(ToldRunsTest, TwoStoresOfOneKindAreDistinguishedByTheirPlaces)
{
    ASSERT_EQ(mb({"register", vCardPlugin()}).code, 0);
    putContact(home_ / "Phone" / "ada.vcf", "Ada", "Lovelace");
    (void)addMap("vCard=" + folder().string(), "vCard=" + (home_ / "Phone").string());
    const Result plan = mb({"sync", "--dry-run"});
    EXPECT_TRUE(has(plan.out, "The following changes from vCard (Phone) will be applied to vCard (Contacts):")) << plan.out;
    ASSERT_EQ(mb({"sync", "--silent"}).code, 0);
    EXPECT_TRUE(has(mb({"log"}).out, "CREATED in vCard (Contacts): Ada Lovelace"));
}

TEST_F(ToldRunsTest, AFailedRecordIsNamed)
{
    (void)makeMap(2);
    ASSERT_EQ(mb({"sync", "--silent"}).code, 0);
    ASSERT_EQ(samples({"edit", cards(), "Anna Lindqvist", "Mobile phone", "+1 202 555 0199"}).code, 0);
    run_.environment["LD_PRELOAD"] = FAIL_CALL_LIBRARY;
    run_.environment["ASAN_OPTIONS"] = "verify_asan_link_order=0";
    run_.environment["FAIL_CALL"] = "openat";
    run_.environment["FAIL_NAME"] = ".tmp";
    run_.environment["FAIL_ERROR"] = std::to_string(ENOSPC);
    const Result failed = mb({"sync", "--silent", "--json"});
    const Result told = mb({"sync", "--silent"});
    EXPECT_EQ(told.code, 1);
    EXPECT_TRUE(has(told.error, "failed at \"Anna Lindqvist\" in vCard=" + folder().string() + ": ")) << told.error;
    const Json failures = Json::parse(failed.out).at(0).at("failures");
    ASSERT_EQ(failures.size(), 1u) << failed.out;
    EXPECT_EQ(failures.at(0).at("name"), "Anna Lindqvist");
    EXPECT_EQ(failures.at(0).at("store"), "second");
    EXPECT_NE(failures.at(0).at("message"), "");
}
