#include "host.h"

#include "TestFolder.h"
#include "text.h"
#include "ui.h"
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>
#include <set>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using namespace platform;
namespace fs = std::filesystem;

namespace {

constexpr char childSwitch[] = "MB_HOST_TEST_CHILD";
constexpr double secondsADay = 86400.0;
const int moduleMark = 1; // an object in this program

// Runs one test in a child process with childSwitch set. Returns its exit code, or -1 if it did not exit.
int exitCodeOfChild(const std::string& test, const std::map<std::string, std::string>& environment = {})
{
    const std::string program = executablePath().string(), filter = "--gtest_filter=" + test;
    const pid_t child = fork();
    if (child == 0) {
        for (const char* shard : {"GTEST_TOTAL_SHARDS", "GTEST_SHARD_INDEX"}) ::unsetenv(shard); // the test may belong to another shard
        ::setenv(childSwitch, "1", 1);
        for (const auto& [name, value] : environment) ::setenv(name.c_str(), value.c_str(), 1);
        ::execl(program.c_str(), "some-name", filter.c_str(), nullptr);
        std::_Exit(2);
    }
    int status = 0;
    return waitpid(child, &status, 0) == child && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// Formats an automation date with the system's calendar functions.
std::string calendarText(double date)
{
    const auto seconds = static_cast<time_t>(std::llround((date - 25569.0) * secondsADay));
    tm parts{};
    gmtime_r(&seconds, &parts);
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &parts);
    return text;
}

std::string calendarText(const ClockTime& t)
{
    char text[96];
    std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d", t.year, t.month, t.day, t.hour, t.minute, t.second);
    return text;
}

class WithZone {
public:
    explicit WithZone(const char* zone)
    {
        ::setenv("TZ", zone, 1);
        ::tzset();
    }
    WithZone(const WithZone&) = delete;
    WithZone& operator=(const WithZone&) = delete;
    ~WithZone()
    {
        ::unsetenv("TZ");
        ::tzset();
    }
};

} // namespace

TEST(Host, TheProgramFindsItsExecutable)
{
    EXPECT_EQ(executablePath().filename(), "platform_tests");
    EXPECT_TRUE(executablePath().is_absolute());
    EXPECT_TRUE(fs::exists(executablePath()));
}

TEST(Host, AFunctionOfTheProgramIsFoundInTheProgram) { EXPECT_EQ(modulePathOf(&moduleMark), executablePath()); }

TEST(Host, AFunctionOfALibraryIsFoundInTheLibrary)
{
    const fs::path library = modulePathOf(reinterpret_cast<const void*>(&::SysAllocString));
    EXPECT_TRUE(library.is_absolute());
    EXPECT_TRUE(fs::exists(library));
    EXPECT_EQ(library.filename(), "libmbcom.so");
}

TEST(Host, AnAddressOutsideOfAllModulesHasNoPath)
{
    const int local = 0;
    EXPECT_TRUE(modulePathOf(&local).empty());
    EXPECT_TRUE(modulePathOf(nullptr).empty());
}

// Starts the program by its bare name through the search path, so that the name is no valid path.
TEST(Host, TheProgramIsFoundWhateverNameItWasStartedBy)
{
    const auto inProgram = &moduleMark;
    if (std::getenv(childSwitch)) std::_Exit(modulePathOf(inProgram) == executablePath() ? 42 : 1);
    EXPECT_EQ(exitCodeOfChild("Host.TheProgramIsFoundWhateverNameItWasStartedBy"), 42);
}

TEST(Host, TheUserHasAName) { EXPECT_FALSE(userName().empty()); }

TEST(Host, TheEnvironmentIsReadAndWritten)
{
    EXPECT_EQ(environment(u"MB_NOT_SET_BY_ANYONE"), std::nullopt);
    setEnvironment(u"MB_HOST_TEST", u"\u00E4\u4E2D\U0001F600 =;");
    EXPECT_EQ(environment(u"MB_HOST_TEST"), u"\u00E4\u4E2D\U0001F600 =;");
    EXPECT_STREQ(std::getenv("MB_HOST_TEST"), "\xC3\xA4\xE4\xB8\xAD\xF0\x9F\x98\x80 =;");
    setEnvironment(u"MB_HOST_TEST", u"");
    EXPECT_EQ(environment(u"MB_HOST_TEST"), u""); // set, but empty
    ::unsetenv("MB_HOST_TEST");
}

TEST(Host, TheCodePageIsUtf8)
{
    EXPECT_EQ(narrow(u"Gr\u00F6\u00DFe \u4E2D \U0001F600"), "Gr\xC3\xB6\xC3\x9F"
                                                            "e \xE4\xB8\xAD \xF0\x9F\x98\x80");
    EXPECT_EQ(widen("Gr\xC3\xB6\xC3\x9F"
                    "e"),
              u"Gr\u00F6\u00DFe");
}

TEST(Host, ProcessAndThreadsHaveNumbers)
{
    EXPECT_EQ(processId(), static_cast<std::uint32_t>(::getpid()));
    std::uint32_t other = 0;
    std::thread([&] { other = threadId(); }).join();
    EXPECT_NE(other, threadId());
    EXPECT_NE(other, 0u);
}

TEST(Host, TheClockIsTheSystems)
{
    // std::time lags behind the clock that has fractions of a second.
    const auto wholeSeconds = [] { return std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now()).time_since_epoch(); };
    const auto before = wholeSeconds();
    const ClockTime read = utcTime();
    const double date = utcNow();
    const auto after = wholeSeconds();
    const double first = static_cast<double>(before.count()) / secondsADay + 25569.0,
                 last = static_cast<double>(after.count()) / secondsADay + 25569.0;
    EXPECT_GE(calendarText(read), calendarText(first));
    EXPECT_LE(calendarText(read), calendarText(last));
    EXPECT_GE(calendarText(date), calendarText(first));
    EXPECT_LE(calendarText(date), calendarText(last));
    EXPECT_GE(read.milliseconds, 0);
    EXPECT_LT(read.milliseconds, 1000);
}

TEST(Host, AnAutomationDateHoldsWholeSeconds)
{
    const double seconds = utcNow() * secondsADay;
    EXPECT_NEAR(seconds, std::round(seconds), 1e-4);
}

TEST(Host, LocalTimeFollowsTheTimeZone)
{
    for (const auto& [zone, hours] : {std::pair{"UTC0", 0.0}, {"AAA-5:30", 5.5}, {"BBB8", -8.0}, {"CCC-14", 14.0}}) {
        const WithZone inZone(zone);
        EXPECT_NEAR((localNow() - utcNow()) * 24, hours, 2.0 / 3600) << zone;
        // Both are the same moment, except for up to a second between the two clock reads.
        const double date = localNow();
        const std::string clock = calendarText(localTime());
        EXPECT_TRUE(clock == calendarText(date) || clock == calendarText(date + 1 / secondsADay)) << zone;
    }
}

TEST(Host, EveryCodeHasAText)
{
    std::set<std::u16string> texts;
    for (const HRESULT code : {E_FAIL, E_ACCESSDENIED, E_OUTOFMEMORY, REGDB_E_CLASSNOTREG, HRESULT(0x80040299), HRESULT(0x80071234)}) {
        const std::u16string text = systemMessage(code);
        EXPECT_FALSE(text.empty());
        EXPECT_TRUE(texts.insert(text).second) << utf8(text); // all texts differ
    }
    EXPECT_THAT(utf8(systemMessage(HRESULT(0x80040299))), testing::HasSubstr("80040299")); // an unknown code is at least quoted
}

// Runs in a child process, since the locale is read once.
TEST(Host, TimesAndDatesHaveTheFormOfTheUsersLocale)
{
    if (std::getenv(childSwitch)) {
        const ClockTime time{2009, 11, 5, 17, 8, 9, 0};
        std::_Exit(dateText(time) != u"05.11.2009" ? 1 : timeText(time) != u"17:08:09" ? 2 : 42);
    }
    const mbtest::TestFolder folder;
    const std::string make = "localedef -i de_DE -f UTF-8 " + (folder.path() / "de_DE.UTF-8").string();
    ASSERT_EQ(std::system(make.c_str()), 0);
    EXPECT_EQ(
        exitCodeOfChild("Host.TimesAndDatesHaveTheFormOfTheUsersLocale", {{"LOCPATH", folder.path().string()}, {"LC_ALL", "de_DE.UTF-8"}}),
        42);
}

TEST(Host, TimesAndDatesAreWrittenShort)
{
    ::setenv("LC_ALL", "C", 1); // the locale is read once, below
    const ClockTime time{2009, 11, 5, 7, 8, 9, 999};
    EXPECT_EQ(timeText(time), u"07:08:09");
    EXPECT_EQ(dateText(time), u"11/05/09");
}

TEST(Messages, AMessageIsALineOnStandardError)
{
    testing::internal::CaptureStderr();
    showMessage(nullptr, u"Gr\u00F6\u00DFe \U0001F600", u"MBSync", MessageKind::Error);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "MBSync: Gr\xC3\xB6\xC3\x9F"
                                                      "e \xF0\x9F\x98\x80\n");
}

TEST(Messages, AMessageCannotControlTheTerminal)
{
    testing::internal::CaptureStderr();
    showMessage(nullptr, u"a\u001B[31mb\u0007\u009Bc", u"d\u001B]0;e", MessageKind::Warning);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "d]0;e: a[31mbc\n");
}

TEST(Messages, AHostCanReceiveThem)
{
    static std::u16string taken;
    testing::internal::CaptureStderr();
    EXPECT_EQ(readMessages([](std::u16string_view text) { taken = text; }), nullptr);
    showMessage(nullptr, u"for the host", u"MBSync", MessageKind::Error);
    EXPECT_NE(readMessages(nullptr), nullptr);
    showMessage(nullptr, u"for all", u"MBSync", MessageKind::Error);
    EXPECT_EQ(taken, u"for the host");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "MBSync: for all\n");
}

TEST(Messages, NoHelpWindowAppears) { EXPECT_FALSE(showHelp(nullptr, "/usr/share/doc", 1)); }
