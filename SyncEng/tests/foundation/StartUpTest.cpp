#include "foundation/StartUp.h"

#include "files.h"
#include "foundation/Log.h"
#include "RegistryValues.h"
#include "TestFolder.h"
#include <atomic>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <thread>

using namespace mb;
using platform::RegistryKey;
using platform::Root;
namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

constexpr char16_t settingsKey[] = u"Software\\Zorel\\MBSyncEng";

class StartUp : public testing::Test {
protected:
    StartUp() { ResetLog(); }
    ~StartUp() override
    {
        LogLevelMask = 0;
        CloseLog();
        ResetLog();
    }
    void start(HRESULT result = S_OK, const fs::path& host = "/opt/mirabook/mb")
    {
        module.ensureStarted(
            [&](const fs::path& store) {
                opened.push_back(store.filename().string());
                return result;
            },
            host);
    }
    void stop()
    {
        module.stop([&] { opened.push_back("closed"); });
    }
    static std::optional<std::uint32_t> setting(const char16_t* name)
    {
        const auto key = RegistryKey::open(Root::CurrentUser, settingsKey);
        return key ? key->number(name) : std::nullopt;
    }
    std::string read(const char* name) const { return folder.read(folder.data() / name); }
    bool exists(const char* name) const { return fs::exists(folder.data() / name); }

    mbtest::TestFolder folder;
    ModuleStart module;
    std::vector<std::string> opened;
};

} // namespace

TEST_F(StartUp, RemovesOnlyTemporaryFilesOlderThanADay)
{
    const auto now = fs::file_time_type::clock::now();
    const auto put = [&](const std::string& name, int hours) {
        folder.write("data/Zorel/MBSync/" + name, "x");
        fs::last_write_time(folder.data() / name, now - std::chrono::hours(hours));
    };
    const std::vector<std::string> others{"MBSync.xml.damaged", ".mbsync-0123456789abcdef.tmp.vcf", ".mbsync-notes.tmp",
                                          "0123456789abcdef.tmp", "MBSync.xml.0123456789abcdeX.tmp"};
    put(".mbsync-0123456789abcdef.tmp", 25);
    put("MBSync.xml.fedcba9876543210.tmp", 25);
    put(".mbsync-1123456789abcdef.tmp", 23);
    for (const std::string& other : others) put(other, 1000);
    fs::create_directory(folder.data() / ".mbsync-2123456789abcdef.tmp");
    std::error_code ignored; // Windows cannot set a folder's date here
    fs::last_write_time(folder.data() / ".mbsync-2123456789abcdef.tmp", now - std::chrono::hours(1000), ignored);
    start();
    EXPECT_FALSE(exists(".mbsync-0123456789abcdef.tmp"));
    EXPECT_FALSE(exists("MBSync.xml.fedcba9876543210.tmp"));
    EXPECT_TRUE(exists(".mbsync-1123456789abcdef.tmp")) << "it may belong to a running process";
    EXPECT_TRUE(exists(".mbsync-2123456789abcdef.tmp"));
    for (const std::string& other : others) EXPECT_TRUE(exists(other.c_str())) << other;
}

TEST_F(StartUp, TheFirstStartWritesTheSettingsAndOpensLogAndStore)
{
    start();
    EXPECT_TRUE(module.started());
    EXPECT_EQ(setting(u"LoggingLevel"), 15u);
    EXPECT_EQ(setting(u"MaxLogFileSize"), 1024u);
    EXPECT_EQ(LogLevelMask, 15u);
    EXPECT_TRUE(exists("MBSync.log"));
    EXPECT_THAT(opened, ElementsAre("MBSync.xml"));
    start();
    EXPECT_THAT(opened, ElementsAre("MBSync.xml")); // only once
}

TEST_F(StartUp, TheUsersSettingsAreUsed)
{
    mbtest::setNumber(Root::CurrentUser, settingsKey, u"LoggingLevel", 17);
    mbtest::setNumber(Root::CurrentUser, settingsKey, u"MaxLogFileSize", 1);
    folder.write("data/Zorel/MBSync/MBSync.log", std::string(1024, 'x'));
    start();
    EXPECT_EQ(LogLevelMask, 17u);
    EXPECT_TRUE(exists("MBSync.old.log"));
}

TEST_F(StartUp, ASettingOfTheWrongTypeIsReplacedInTheRegistry)
{
    mbtest::setText(Root::CurrentUser, settingsKey, u"LoggingLevel", u"16");
    mbtest::setNumber(Root::CurrentUser, settingsKey, u"MaxLogFileSize", 7);
    const LogSettings settings = ReadLogSettings();
    EXPECT_EQ(settings.LoggingLevel, 15u);
    EXPECT_EQ(settings.MaxLogFileSize, 7u);
    EXPECT_EQ(setting(u"LoggingLevel"), 15u);
}

TEST_F(StartUp, Level0OpensNoLog)
{
    mbtest::setNumber(Root::CurrentUser, settingsKey, u"LoggingLevel", 0);
    start();
    WriteLogText(0xFFFFFFFF, u"line");
    WriteLogText(LogLevelMask, u"line");
    stop();
    EXPECT_THAT(opened, ElementsAre("MBSync.xml", "closed"));
    EXPECT_FALSE(exists("MBSync.log"));
    EXPECT_EQ(setting(u"LoggingLevel"), 0u);
}

TEST_F(StartUp, AReadOnlyRegistryTurnsTheLogOffAndStartUpContinues)
{
    folder.refuseRegistry();
    start();
    EXPECT_EQ(LogLevelMask, 0u);
    EXPECT_FALSE(exists("MBSync.log"));
    EXPECT_TRUE(module.started());
}

TEST_F(StartUp, WithoutADataFolderStartUpFailsAndIsRetried)
{
    folder.write("data/Zorel", "a file is in the way");
    mbtest::setText(Root::LocalMachine, settingsKey, u"InstallPath", platform::textOf(folder.path() / "missing"));
    start();
    EXPECT_FALSE(module.started());
    EXPECT_TRUE(opened.empty());
    fs::remove(folder.path() / "data/Zorel");
    start();
    EXPECT_TRUE(module.started());
}

TEST_F(StartUp, FilesOfEarlierVersionsMoveIntoTheDataFolder)
{
    mbtest::setText(Root::LocalMachine, settingsKey, u"InstallPath", platform::textOf(folder.path()));
    const fs::path legacy = folder.path() / "MBSync" / platform::pathOf(platform::userName());
    fs::create_directories(legacy);
    folder.write(fs::relative(legacy / "MBSync.xml", folder.path()).string(), "legacy");
    start();
    EXPECT_EQ(read("MBSync.xml"), "legacy");
    EXPECT_TRUE(fs::is_empty(legacy));
}

TEST_F(StartUp, TheToolsConfigurationBecomesTheHostsFirstOne)
{
    folder.write("data/Zorel/MBSync/MBookCfg.xml", "tool");
    start();
    EXPECT_EQ(read("MBSync.xml"), "tool");
    EXPECT_EQ(read("MBookCfg.xml"), "tool");
}

TEST_F(StartUp, TheToolsConfigurationOfAnEarlierVersionBecomesTheHostsFirstOne)
{
    mbtest::setText(Root::LocalMachine, settingsKey, u"InstallPath", platform::textOf(folder.path()));
    const fs::path legacy = folder.path() / "MBSync" / platform::pathOf(platform::userName());
    fs::create_directories(legacy);
    folder.write(fs::relative(legacy / "MBookCfg.xml", folder.path()).string(), "tool");
    start();
    EXPECT_EQ(read("MBSync.xml"), "tool");
}

TEST_F(StartUp, TheHostsConfigurationIsNotOverwrittenByTheTools)
{
    folder.write("data/Zorel/MBSync/MBookCfg.xml", "tool");
    folder.write("data/Zorel/MBSync/MBSync.xml", "host");
    start();
    EXPECT_EQ(read("MBSync.xml"), "host");
}

TEST_F(StartUp, TheToolAsHostUsesOnlyItsOwnFiles)
{
    folder.write("data/Zorel/MBSync/MBookCfg.xml", "tool");
    folder.write("data/Zorel/MBSync/MBSync.xml", "host");
    start(S_OK, "C:\\Programs\\MBSYNCCFG.EXE");
    EXPECT_THAT(opened, ElementsAre("MBookCfg.xml"));
    EXPECT_TRUE(exists("MBookCfg.log"));
    EXPECT_FALSE(exists("MBSync.log"));
    EXPECT_EQ(read("MBSync.xml"), "host");
}

TEST_F(StartUp, TheToolAsHostDoesNotCreateTheHostsConfiguration)
{
    folder.write("data/Zorel/MBSync/MBookCfg.xml", "tool");
    start(S_OK, "/opt/mbsynccfg");
    EXPECT_FALSE(exists("MBSync.xml"));
}

TEST_F(StartUp, TheToolIsRecognisedByItsNameInThePathInAnyCase)
{
    EXPECT_TRUE(hostIsConfigurationTool("C:\\x\\mbsynccfg.exe"));
    EXPECT_TRUE(hostIsConfigurationTool("C:\\x\\MBSyncCfg.Exe"));
    EXPECT_TRUE(hostIsConfigurationTool("/old mbsynccfg.exe files/mb"));
    EXPECT_TRUE(hostIsConfigurationTool("/opt/mbsynccfg"));
    EXPECT_FALSE(hostIsConfigurationTool("/opt/mb"));
    EXPECT_FALSE(hostIsConfigurationTool("/opt/mbsynccfg/mb"));
    EXPECT_FALSE(hostIsConfigurationTool(""));
}

TEST_F(StartUp, AStoreThatDoesNotOpenIsLoggedAndRetried)
{
    start(E_FAIL);
    EXPECT_FALSE(module.started());
    EXPECT_THAT(read("MBSync.log"), HasSubstr("Error -2147467259 occurred while opening configuration file " +
                                              (folder.data() / "MBSync.xml").string() + "\r\n"));
    start();
    EXPECT_TRUE(module.started());
    EXPECT_THAT(opened, ElementsAre("MBSync.xml", "MBSync.xml"));
}

TEST_F(StartUp, ARetriedStartRollsTheLogAgain)
{
    start(E_FAIL);
    mbtest::setNumber(Root::CurrentUser, settingsKey, u"MaxLogFileSize", 0);
    start(E_FAIL);
    EXPECT_TRUE(exists("MBSync.old.log"));
}

TEST_F(StartUp, StoppingClosesTheStoreAndThenWritesTheFooter)
{
    start();
    WriteLogText(logProgress, u"line");
    module.stop([&] { WriteLogText(logProgress, u"store closed"); });
    EXPECT_FALSE(module.started());
    const std::string log = read("MBSync.log");
    ASSERT_THAT(log, HasSubstr("store closed\r\n\r\nLogging stopped at "));
    stop();
    EXPECT_THAT(opened, ElementsAre("MBSync.xml")); // the store is already closed
    EXPECT_EQ(read("MBSync.log"), log);
}

TEST_F(StartUp, ConcurrentThreadsStartItOnce)
{
    std::atomic<int> opens = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] {
            module.ensureStarted([&](const fs::path&) {
                ++opens;
                return S_OK;
            });
        });
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(opens, 1);
}
