#include "foundation/Log.h"

#include "foundation/CLogFile.h"
#include "host.h"
#include "TestFolder.h"
#include "text.h"
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <regex>

using namespace mb;
namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::Not;

namespace {

const std::string stamp = R"((\d\d/\d\d/\d\d) (\d\d:\d\d:\d\d))";
const std::string separator = "\r\n\r\n" + std::string(67, '-') + "\r\n\r\n";

class Log : public testing::Test {
protected:
    Log()
    {
        ResetLog();
        LogLevelMask = logProgress | logFailures | logHostText;
    }
    ~Log() override
    {
        LogLevelMask = 0;
        CloseLog();
        ResetLog();
    }
    void open(DWORD limit = 1024) const { OpenLog(file, limit); }
    std::string text() const { return folder.read(file); }
    // The text after the header.
    std::string lines() const
    {
        std::smatch header;
        const std::string all = text();
        const std::regex whole("\r\n\r\n-{67}\r\n\r\nLogging started at " + stamp + "\r\n\r\n");
        return std::regex_search(all, header, whole) ? header.suffix().str() : "no header: " + all;
    }
    mbtest::TestFolder folder;
    const fs::path file = folder.path() / "MBSync.log", rolled = folder.path() / "MBSync.old.log";
};

} // namespace

TEST_F(Log, TheFirstLineIsPrecededByTheHeader)
{
    open();
    EXPECT_EQ(text(), "");
    WriteLogText(logProgress, u"line %d", 1);
    EXPECT_TRUE(std::regex_match(text(), std::regex(separator + "Logging started at " + stamp + "\r\n\r\nline 1\r\n")));
    WriteLogResource(logProgress, Text::RecordCount, u"Outlook", 3);
    EXPECT_EQ(lines(), "line 1\r\nOutlook has 3 records\r\n");
}

TEST_F(Log, TheHeaderNamesTheDateFirstAndThenTheTime)
{
    open();
    const platform::ClockTime before = platform::localTime();
    WriteLogText(logProgress, u"x");
    std::smatch found;
    const std::string all = text();
    ASSERT_TRUE(std::regex_search(all, found, std::regex("started at (\\d\\d)/(\\d\\d)/(\\d\\d) ")));
    EXPECT_THAT(std::stoi(found[1]), testing::AllOf(testing::Ge(1), testing::Le(12)));
    if (before.day == platform::localTime().day) {
        EXPECT_EQ(std::stoi(found[1]), before.month);
        EXPECT_EQ(std::stoi(found[2]), before.day);
        EXPECT_EQ(std::stoi(found[3]), before.year % 100);
    }
}

TEST_F(Log, ALineWithoutASharedBitWritesOnlyTheHeader)
{
    open();
    WriteLogText(logEnumeration, u"diagnostics");
    EXPECT_EQ(lines(), "");
    WriteLogText(logEnumeration | logFailures, u"failure");
    EXPECT_EQ(lines(), "failure\r\n");
}

TEST_F(Log, Level16WritesDiagnosticsAndNoProgress)
{
    LogLevelMask = logEnumeration;
    open();
    WriteLogText(logProgress, u"progress");
    WriteLogText(logEnumeration, u"diagnostics");
    WriteLogText(LogLevelMask, u"always");
    EXPECT_EQ(lines(), "diagnostics\r\nalways\r\n");
}

TEST_F(Log, Level0WritesNothing)
{
    LogLevelMask = 0;
    open();
    WriteLogText(0xFFFFFFFF, u"line");
    WriteLogResource(LogLevelMask, Text::TwoWay);
    CloseLog();
    EXPECT_EQ(text(), "");
}

TEST_F(Log, AWriteBeforeTheLogIsOpenLosesTheHeader)
{
    WriteLogText(logProgress, u"lost");
    open();
    WriteLogText(logProgress, u"line");
    EXPECT_EQ(text(), "line\r\n");
}

TEST_F(Log, ClosingWritesTheFooterOnlyAfterAWriteWasAttempted)
{
    open();
    CloseLog();
    EXPECT_EQ(text(), "");
    open();
    WriteLogText(logProgress, u"line");
    CloseLog();
    EXPECT_TRUE(std::regex_match(lines(), std::regex("line\r\n\r\nLogging stopped at " + stamp + "\r\n"))) << lines();
    const std::string before = text();
    CloseLog();
    WriteLogText(logProgress, u"after");
    EXPECT_EQ(text(), before);
}

TEST_F(Log, AnOpenedLogIsAppendedTo)
{
    folder.write("MBSync.log", "earlier\r\n");
    open();
    WriteLogText(logProgress, u"x");
    EXPECT_THAT(text(), testing::StartsWith("earlier\r\n\r\n\r\n---"));
    EXPECT_FALSE(fs::exists(rolled));
}

TEST_F(Log, ALogOfExactlyTheLimitIsRolledAndAShorterOneIsNot)
{
    folder.write("MBSync.log", std::string(2047, 'a'));
    open(2);
    EXPECT_FALSE(fs::exists(rolled));
    EXPECT_EQ(text().size(), 2047u);
    CloseLog(); // Windows locks an open log
    folder.write("MBSync.log", std::string(2048, 'b'));
    open(2);
    EXPECT_EQ(folder.read(rolled), std::string(2048, 'b'));
    EXPECT_EQ(text(), "");
    WriteLogText(logProgress, u"new");
    EXPECT_EQ(lines(), "new\r\n");
}

TEST_F(Log, ASecondRollReplacesTheFirst)
{
    for (const char c : {'a', 'b'}) {
        folder.write("MBSync.log", std::string(1024, c));
        open(1);
        CloseLog();
    }
    EXPECT_EQ(folder.read(rolled), std::string(1024, 'b'));
}

TEST_F(Log, ALogThatCannotBeCopiedIsNotEmptied)
{
    fs::create_directories(rolled / "in the way");
    folder.write("MBSync.log", std::string(1024, 'a'));
    open(1);
    EXPECT_EQ(text().size(), 1024u);
    WriteLogText(logProgress, u"on it goes");
    EXPECT_THAT(text(), HasSubstr("on it goes"));
}

TEST_F(Log, TheLimitHas32Bits)
{
    folder.write("MBSync.log", "x");
    open(0x00400000); // 2^32 bytes: 0 in 32 bits
    EXPECT_EQ(folder.read(rolled), "x");
}

TEST_F(Log, ALogThatCannotBeOpenedIsIgnored)
{
    OpenLog(folder.path() / "missing" / "MBSync.log", 1024);
    WriteLogText(logProgress, u"line");
    CloseLog();
    EXPECT_FALSE(fs::exists(folder.path() / "missing"));
}

TEST_F(Log, ALineWithMultiByteCharactersIsCutToItsNumberOfCharacters)
{
    open();
    WriteLogText(logProgress, u"\u00E4\u00F6x");
    EXPECT_EQ(lines(), platform::narrow(u"\u00E4\u00F6x").substr(0, 3) + "\r\n");
}

TEST_F(Log, AVeryLongLineIsCut)
{
    open();
    WriteLogText(logProgress, u"%s", std::u16string(100'000, u'x'));
    EXPECT_EQ(lines(), std::string(32767, 'x') + "\r\n");
}

TEST_F(Log, ControlCharactersBecomeQuestionMarks)
{
    open();
    WriteLogText(logProgress, u"\tRecord: %s", u"\u001B[2J\u0007\u009B31m\u202Egnp.exe\u007F\b");
    WriteLogText(logProgress, u"\r");
    EXPECT_EQ(lines(), "\tRecord: ?[2J??31m?gnp.exe??\r\n\r\r\n");
}

TEST_F(Log, TextOfPlugInsIsOneHarmlessLine)
{
    const auto log = com::make<CLogFile>();
    open();
    EXPECT_EQ(log->AppendString(com::Bstr(u"a\r\nCreated: nobody\n\u001B[1mb").get()), S_OK);
    const std::string written = lines();
    EXPECT_EQ(std::count(written.begin(), written.end(), '\n'), 1) << written;
    EXPECT_EQ(written.find('\x1B'), std::string::npos) << written;
}

TEST_F(Log, TextOfPlugInsIsWrittenAtLevel8AsAFormat)
{
    const auto log = com::make<CLogFile>();
    open();
    EXPECT_EQ(log->AppendString(com::Bstr(u"plug-in").get()), S_OK);
    EXPECT_EQ(log->AppendString(com::Bstr(u"50%% of %s%d%n").get()), S_OK);
    EXPECT_EQ(log->AppendString(nullptr), S_OK);
    LogLevelMask = ~logHostText;
    EXPECT_EQ(log->AppendString(com::Bstr(u"unheard").get()), S_OK);
    EXPECT_EQ(lines(), "plug-in\r\n50% of %n\r\n\r\n");
}

TEST_F(Log, TheOtherMethodsOfILogFileAreNotImplemented)
{
    const auto log = com::make<CLogFile>();
    open();
    WriteLogText(logProgress, u"line");
    const std::string before = text();
    EXPECT_EQ(log->Flush(), E_NOTIMPL);
    EXPECT_EQ(log->ClearLog(), E_NOTIMPL);
    EXPECT_EQ(log->Delete(), E_NOTIMPL);
    EXPECT_EQ(text(), before);
}
