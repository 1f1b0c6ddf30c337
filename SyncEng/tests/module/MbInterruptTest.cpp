// Ctrl-C on the console of a running mb.
#include "MbFixture.h"

#include <chrono>
#include <thread>

using namespace mbtest;
namespace fs = std::filesystem;

namespace {

void waitUntil(const std::function<bool()>& isSo)
{
    const auto giveUp = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (!isSo() && std::chrono::steady_clock::now() < giveUp) std::this_thread::sleep_for(std::chrono::milliseconds(2));
}

class MbInterrupt : public MbTest {};

} // namespace

TEST_F(MbInterrupt, StopsTheRunCleanlyAndTheNextRunContinues)
{
    constexpr int contacts = 1500;
    const std::wstring map = makeMap(contacts);
    const Ended cancelled = mb({L"sync", L"--silent"}, [&](unsigned long process) {
        waitUntil([&] { return cardCount(two) > 0; });
        pressCtrlC(process);
    });
    EXPECT_EQ(cancelled.code, 3u) << cancelled.output;
    EXPECT_THAT(cancelled.output,
                testing::StartsWith("mb: Cancelled. What was written before is kept, and the next run goes on from there.\n"));
    const std::size_t written = cardCount(two);
    EXPECT_GT(written, 0u);
    EXPECT_LT(written, static_cast<std::size_t>(contacts));

    const Json run = json({L"sync", map, L"--silent"}).at(0);
    EXPECT_EQ(run.at("second").at("created"), contacts - static_cast<int>(written))
        << "cards that were already written are not written again";
    EXPECT_EQ(cardCount(two), static_cast<std::size_t>(contacts));
    EXPECT_EQ(cardCount(one), static_cast<std::size_t>(contacts));
    const Json idle = json({L"sync", map, L"--silent"}).at(0);
    for (const char* side : {"first", "second"}) EXPECT_EQ(idle.at(side), (Json{{"created", 0}, {"updated", 0}, {"deleted", 0}}));
}

TEST_F(MbInterrupt, EndsAScriptThatLoopsForEverAndKeepsWhatItWrote)
{
    const fs::path script = installation.folder() / "script.vbs", running = installation.folder() / "running";
    putText(script, "Sub Main()\r\n  Dim file\r\n  Set file = CreateObject(\"Scripting.FileSystemObject\").CreateTextFile(\"" +
                        running.string() + "\")\r\n  file.Write \"kept\"\r\n  file.Close\r\n  Do\r\n  Loop\r\nEnd Sub\r\n");
    const Ended ended = mb({L"run", script.native()}, [&](unsigned long process) {
        waitUntil([&] { return textOf(running) == "kept"; });
        pressCtrlC(process);
    });
    EXPECT_EQ(ended.code, 3u);
    EXPECT_EQ(ended.output, "mb: The script was cancelled.\n");
    EXPECT_EQ(textOf(running), "kept");
    putText(script, "Sub Main()\r\nEnd Sub\r\n");
    EXPECT_EQ(mb({L"run", script.native()}).code, 0u) << "the next script is not affected";
}
