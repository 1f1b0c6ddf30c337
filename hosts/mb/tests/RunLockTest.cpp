// Concurrent runs of mb: of one map, of maps that share a store, and changes of the configuration.
#include "EndToEndFixture.h"

#include <chrono>
#include <csignal>
#include <sys/wait.h>
#include <thread>

namespace {

using namespace mbtest;
namespace fs = std::filesystem;
using std::chrono::steady_clock;

class RunLockTest : public EndToEnd {
protected:
    // Starts the commands together and returns their results.
    std::vector<Result> together(const std::vector<std::vector<std::string>>& commands)
    {
        std::vector<Result> results(commands.size());
        std::vector<std::thread> threads;
        for (std::size_t i = 0; i < commands.size(); ++i) threads.emplace_back([&, i] { results[i] = mb(commands[i]); });
        for (std::thread& each : threads) each.join();
        return results;
    }
    // Calls `work` while a run of the map is stopped after its first writes.
    Result whileARunStands(const std::string& map, const std::function<void(int pid)>& work)
    {
        RunOptions running = run_;
        running.whileRuns = [&](int pid) {
            waitFor([&] { return cardCount() > 0; });
            ::kill(pid, SIGSTOP);
            work(pid);
            ::kill(pid, SIGCONT);
        };
        return runProgram(MB_PROGRAM, {"sync", map, "--silent"}, running);
    }
    std::size_t contactCount()
    {
        const std::string listed = samples({"list", cards()}).out;
        return static_cast<std::size_t>(std::count(listed.begin(), listed.end(), '\n'));
    }
    void makeFolders(const std::vector<std::string>& names) const
    {
        for (const std::string& name : names) fs::create_directory(home_ / name);
    }
    void putPerson(const std::string& in, const std::string& name) const
    {
        putText(home_ / in / (name + ".vcf"),
                "BEGIN:VCARD\r\nVERSION:3.0\r\nN:" + name + ";Ada;;;\r\nFN:Ada " + name + "\r\nEND:VCARD\r\n");
    }
    // Creates a map of the folder of makeMap() and another folder.
    std::string addNeighbour()
    {
        makeFolders({"Neighbour"});
        return addMap("vCard=" + folder().string(), store("Neighbour"));
    }
    std::string store(const std::string& name) const { return "vCard=" + (home_ / name).string(); }
};

// Maps that share stores. Each contact is put into one folder and must be copied once to each of the other folders.
class SharedStoreRuns : public RunLockTest {
protected:
    void makeStores(const std::vector<std::string>& names, const std::vector<std::pair<std::string, std::string>>& maps)
    {
        registerPlugins();
        makeFolders(names);
        names_ = names;
        for (const auto& [first, second] : maps) commands_.push_back({"sync", addMap(store(first), store(second)), "--silent"});
    }
    // Puts new contacts into each folder.
    void putPeople(std::size_t each)
    {
        for (const std::string& name : names_)
            for (std::size_t i = 0; i < each; ++i) {
                people_.push_back(name + "-" + std::to_string(people_.size()));
                putPerson(name, people_.back());
            }
    }
    void expectAllDoneTogether()
    {
        for (const Result& result : together(commands_)) EXPECT_EQ(result.code, 0) << result.out << result.error;
    }
    void expectEachPersonOnce()
    {
        for (int round = 0; round < 2; ++round) ASSERT_EQ(mb({"sync", "--silent"}).code, 0);
        const std::string last = mb({"sync", "--silent"}).out;
        EXPECT_EQ(last.find("created"), std::string::npos) << last;
        for (const std::string& name : names_) {
            EXPECT_EQ(mbtest::cardCount(home_ / name), people_.size()) << name;
            for (const std::string& person : people_)
                EXPECT_FALSE(mbtest::cardWith(home_ / name, ":Ada " + person + "\r").empty()) << person << " is not in " << name;
        }
    }
    std::vector<std::string> names_, people_;
    std::vector<std::vector<std::string>> commands_;
};

} // namespace

TEST_F(RunLockTest, ThreeRunsThatAreStartedTogetherLeaveEachContactOnce)
{
    const std::string map = makeMap(3000);
    const std::size_t contacts = contactCount();
    for (const Result& result : together(std::vector(3, std::vector<std::string>{"sync", map, "--silent", "--wait", "300"})))
        EXPECT_EQ(result.code, 0) << result.error;
    EXPECT_EQ(cardCount(), 3000u);
    EXPECT_EQ(contactCount(), contacts);
    EXPECT_NE(mb({"sync", "--silent"}).out.find("nothing to do"), std::string::npos);
}

TEST_F(RunLockTest, ASecondRunWaitsForTheGivenTimeAndNamesTheProcessThatHasTheMap)
{
    const std::string map = makeMap(500);
    const Result first = whileARunStands(map, [&](int pid) {
        const auto start = steady_clock::now();
        const Result second = mb({"sync", map, "--silent", "--wait", "1"});
        EXPECT_GE(steady_clock::now() - start, std::chrono::seconds(1));
        EXPECT_EQ(second.code, 4) << second.error;
        EXPECT_TRUE(isOneSentence(second.error)) << second.error;
        EXPECT_NE(second.error.find("mb, process " + std::to_string(pid)), std::string::npos) << second.error;
        const Result third = mb({"sync", map, "--silent", "--wait", "0", "--json"});
        EXPECT_EQ(third.code, 4);
        EXPECT_EQ(Json::parse(third.out).at(0).at("result"), "in-use");
        EXPECT_EQ(mb({"remove", map}).code, 1) << "the map is in use";
    });
    EXPECT_EQ(first.code, 0) << first.error;
    EXPECT_EQ(cardCount(), 500u);
    EXPECT_EQ(mb({"sync", "--wait", "-1"}).code, 2);
}

TEST_F(RunLockTest, ARunThatIsKilledFreesItsMap)
{
    const std::string map = makeMap(500);
    EXPECT_EQ(whileARunStands(map, [](int pid) { ::kill(pid, SIGKILL); }).code, 128 + SIGKILL);
    EXPECT_EQ(mb({"sync", map, "--silent", "--wait", "0"}).code, 0);
    EXPECT_EQ(cardCount(), 500u);
}

TEST_F(RunLockTest, ARunThatIsKilledFreesItsStores)
{
    const std::string map = makeMap(500), neighbour = addNeighbour();
    EXPECT_EQ(whileARunStands(map,
                              [&](int pid) {
                                  EXPECT_EQ(mb({"sync", neighbour, "--silent", "--wait", "0"}).code, 4);
                                  ::kill(pid, SIGKILL);
                              })
                  .code,
              128 + SIGKILL);
    const Result next = mb({"sync", neighbour, "--silent", "--wait", "0"});
    EXPECT_EQ(next.code, 0) << next.error;
    EXPECT_EQ(mbtest::cardCount(home_ / "Neighbour"), cardCount());
}

TEST_F(RunLockTest, AMapThatSharesAStoreWithARunIsRefusedWithTheStoreAndTheProcessNamed)
{
    const std::string map = makeMap(500), neighbour = addNeighbour();
    makeFolders({"Apart", "AsWell"});
    const std::string apart = addMap(store("Apart"), store("AsWell"));
    const Result first = whileARunStands(map, [&](int pid) {
        for (const char* how : {"--silent", "--dry-run", "--yes"}) {
            const Result second = mb({"sync", neighbour, how, "--wait", "0"});
            EXPECT_EQ(second.code, 4) << how;
            EXPECT_TRUE(isOneSentence(second.error)) << second.error;
            EXPECT_NE(second.error.find("\"" + folder().string() + "\""), std::string::npos) << second.error;
            EXPECT_NE(second.error.find("mb, process " + std::to_string(pid)), std::string::npos) << second.error;
        }
        EXPECT_EQ(mb({"sync", apart, "--silent", "--wait", "0"}).code, 0) << "it shares no store";
        EXPECT_EQ(json({"status"}).size(), 3u);
    });
    EXPECT_EQ(first.code, 0) << first.error;
    EXPECT_EQ(mb({"sync", neighbour, "--silent", "--wait", "0"}).code, 0);
    EXPECT_EQ(mbtest::cardCount(home_ / "Neighbour"), 500u);
}

// The settings of side 2 name no database, so the plug-in takes it from the environment, and the engine learns it after the run started.
TEST_F(RunLockTest, ARunThatFindsItsStoreInUseAfterItsStartIsRecordedAsFailed)
{
    const std::string map = makeMap(500);
    makeFolders({"Neighbour"});
    const std::string neighbour = addMap(store("Neighbour"), "vCard=" + folder().string());
    const fs::path configuration = dataFolder() / "MBSync.xml";
    std::string text = textOf(configuration);
    const std::size_t key = text.rfind("RGF0YWJhc2U="); // "Database" of side 2
    ASSERT_NE(key, std::string::npos);
    putText(configuration, text.replace(key, 12, "WGF0YWJhc2U="));
    run_.environment["MB_STORE_VCARD"] = folder().string();
    (void)whileARunStands(map, [&](int pid) {
        const Result second = mb({"sync", neighbour, "--silent", "--wait", "0"});
        EXPECT_EQ(second.code, 4) << second.error;
        EXPECT_NE(second.error.find("mb, process " + std::to_string(pid)), std::string::npos) << second.error;
        EXPECT_EQ(json({"status"}).at(1).at("status"), "failed");
    });
    EXPECT_EQ(mb({"sync", neighbour, "--silent", "--wait", "0"}).code, 0);
    EXPECT_EQ(json({"status"}).at(1).at("status"), "good");
    EXPECT_EQ(mbtest::cardCount(home_ / "Neighbour"), 500u);
}

// The second run waits longer than it would for a run of the same map.
TEST_F(RunLockTest, ARunWaitsForTheEndOfASilentRunThatSharesAStore)
{
    const std::string map = makeMap(500), neighbour = addNeighbour();
    Result second;
    std::thread waiting;
    const Result first = whileARunStands(map, [&](int) {
        waiting = std::thread([&] { second = mb({"sync", neighbour, "--silent"}); });
        std::this_thread::sleep_for(std::chrono::seconds(11));
    });
    waiting.join();
    EXPECT_EQ(first.code, 0) << first.error;
    EXPECT_EQ(second.code, 0) << second.error;
    EXPECT_EQ(mbtest::cardCount(home_ / "Neighbour"), 500u);
}

TEST_F(RunLockTest, ConcurrentlyCreatedAndChangedMapsAreAllKept)
{
    registerPlugins();
    std::vector<std::vector<std::string>> commands;
    for (const char* name : {"A", "B", "C", "D", "E", "F", "G", "H"}) {
        makeFolders({name});
        commands.push_back({"add", "Mirabook=" + (home_ / name).string() + ".db", store(name)});
    }
    commands.push_back({"register", vCardPlugin()});
    for (const Result& result : together(commands)) EXPECT_EQ(result.code, 0) << result.error;
    const Json maps = json({"maps"});
    EXPECT_EQ(maps.size(), 8u);

    commands.clear();
    for (const Json& map : maps) commands.push_back({"set", map.at("map"), "conflicts", "first-wins"});
    for (const Result& result : together(commands)) EXPECT_EQ(result.code, 0) << result.error;
    for (const Json& map : maps) EXPECT_EQ(json({"show", map.at("map")}).at("options").at("conflicts"), "first-wins");
}

// Both maps share the folder B.
TEST_F(SharedStoreRuns, AllRunsOfAChainOfMapsSucceedAndConverge)
{
    makeStores({"A", "B", "C"}, {{"A", "B"}, {"B", "C"}});
    putPeople(40);
    for (int round = 0; round < 3; ++round) expectAllDoneTogether();
    expectEachPersonOnce();
}

// Each folder is in two maps, so a new contact reaches the other folders on two routes.
TEST_F(SharedStoreRuns, AllRunsOfARingOfMapsSucceedAndDoubleNobody)
{
    makeStores({"A", "B", "C"}, {{"A", "B"}, {"B", "C"}, {"A", "C"}});
    for (int round = 0; round < 4; ++round) {
        putPeople(10);
        expectAllDoneTogether();
    }
    expectEachPersonOnce();
}

TEST_F(RunLockTest, AFailedMapDoesNotStopTheOtherMaps)
{
    registerPlugins();
    makeFolders({"A", "B", "C", "D"});
    const std::string failing = addMap(store("A"), store("B")), good = addMap(store("C"), store("D"));
    putPerson("A", "One");
    putPerson("C", "Two");
    fs::rename(home_ / "B", home_ / "away");
    const Result both = mb({"sync", failing, good, "--silent"});
    EXPECT_EQ(both.code, 1);
    EXPECT_TRUE(isOneSentence(both.error)) << both.error;
    EXPECT_NE(both.error.find(failing), std::string::npos) << both.error;
    EXPECT_NE(both.out.find(good), std::string::npos) << both.out;
    EXPECT_EQ(mbtest::cardCount(home_ / "D"), 1u);

    const Result asJson = mb({"sync", failing, good, "--silent", "--json"});
    EXPECT_EQ(asJson.code, 1);
    const Json told = Json::parse(asJson.out);
    ASSERT_EQ(told.size(), 2u);
    EXPECT_EQ(told.at(0).at("result"), "failed");
    EXPECT_EQ(told.at(1).at("result"), "done");
}

TEST_F(RunLockTest, TheExitCodeIsThatOfTheWorstMap)
{
    const std::string busy = makeMap(500);
    makeFolders({"A", "B", "C", "D", "E", "F"});
    const std::string failing = addMap(store("A"), store("B")), asking = addMap(store("C"), store("D")),
                      good = addMap(store("E"), store("F"));
    putPerson("C", "One");
    fs::rename(home_ / "B", home_ / "away");
    (void)whileARunStands(busy, [&](int) {
        const auto code = [&](const std::vector<std::string>& maps) {
            std::vector<std::string> command{"sync", "--wait", "0"};
            command.insert(command.end(), maps.begin(), maps.end());
            return mb(command).code;
        };
        EXPECT_EQ(code({good}), 0);
        EXPECT_EQ(code({asking, good}), 3);
        EXPECT_EQ(code({asking, busy, good}), 4);
        EXPECT_EQ(code({busy, asking}), 4);
        EXPECT_EQ(code({busy, failing, asking, good}), 1);
        EXPECT_EQ(code({failing, busy}), 1);
    });
    EXPECT_EQ(mbtest::cardCount(home_ / "D"), 0u) << "nobody answered";
}

TEST_F(RunLockTest, WithoutFileLocksNothingRunsUnlessTheUserAllowsIt)
{
    const std::string map = makeMap(3);
    run_.environment["LD_PRELOAD"] = NO_LOCKS_LIBRARY;
    run_.environment["ASAN_OPTIONS"] = "verify_asan_link_order=0";
    const Result refused = mb({"sync", map, "--silent"});
    EXPECT_EQ(refused.code, 1);
    EXPECT_TRUE(isOneSentence(refused.error)) << refused.error;
    EXPECT_NE(refused.error.find("MB_WITHOUT_LOCKS"), std::string::npos) << refused.error;
    EXPECT_EQ(cardCount(), 0u);
    const Result ran = mb({"--without-locks", "sync", map, "--silent"});
    EXPECT_EQ(ran.code, 0) << ran.error;
    EXPECT_EQ(cardCount(), 3u);
}

TEST_F(RunLockTest, NoLockIsLeftBehind)
{
    const std::string map = makeMap(3);
    ASSERT_EQ(mb({"sync", map, "--silent"}).code, 0);
    for (const fs::directory_entry& entry : fs::directory_iterator(dataFolder()))
        EXPECT_NE(entry.path().extension(), ".lock") << entry.path();
}
