// Files of a later version of the program are refused with a message that names them, and are not changed.
#include "error_text.h"
#include "files.h"
#include "foundation/Log.h"
#include "registry.h"
#include "store/ConfigStore.h"
#include "store/CSyncHistory.h"
#include "store/ExportDecoded.h"
#include "store/StoreFile.h"
#include "text.h"

#include "TestFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace mb {
namespace {

using testing::ElementsAre;
namespace fs = std::filesystem;

constexpr GUID map{0x11111111, 0x2222, 0x3333, {0x44, 0x44, 0x55, 0x55, 0x55, 0x55, 0x55, 0x55}};
constexpr char plainLater[] = "<Scs Version=\"5\"><Sc><ST>T</ST><SN>cw==</SN><Ky><KN>azE=</KN><KV>djE=</KV></Ky></Sc></Scs>";

std::string sentenceFor(const fs::path& file, const std::string& version)
{
    return "\"" + platform::utf8(platform::textOf(file)) + "\" was written by a later version (" + version +
           ") of this program; this one knows versions up to 4. Update the program, or move the file away.";
}

class LaterVersion : public testing::Test {
protected:
    [[nodiscard]] std::vector<fs::path> files() const
    {
        std::vector<fs::path> all;
        for (const auto& entry : fs::directory_iterator(own)) all.push_back(entry.path());
        return all;
    }
    void put(const fs::path& path, const std::string& bytes) const
    {
        fs::create_directories(path.parent_path());
        folder.write(fs::relative(path, folder.path()).string(), bytes);
    }
    mbtest::TestFolder folder;
    fs::path own = folder.path() / "own", file = own / "store.xml";
};

struct Later {
    const char* name;
    std::string bytes, version;
};

class LaterStore : public LaterVersion, public testing::WithParamInterface<Later> {};

} // namespace

TEST_P(LaterStore, IsRefusedNamedAndKeepsItsBytes)
{
    const auto& [name, bytes, version] = GetParam();
    put(file, bytes);
    for (const bool create : {true, false}) {
        StoreFile store;
        EXPECT_EQ(store.Open(file, create), storeOfLaterVersion);
        EXPECT_EQ(platform::utf8(store.openFailure()), sentenceFor(file, version));
        EXPECT_FALSE(store.isOpen());
        std::u16string value;
        EXPECT_EQ(store.ReadValue(u"T", u"s", u"k1", value), E_POINTER);
        EXPECT_EQ(store.WriteValue(u"T", u"s", u"k1", u"other", false, true), E_POINTER);
        EXPECT_EQ(store.Close(), S_OK);
        EXPECT_EQ(folder.read(file), bytes);
        EXPECT_THAT(files(), ElementsAre(file));
    }
}

INSTANTIATE_TEST_SUITE_P(
    All, LaterStore,
    testing::Values(Later{"Plain", plainLater, "5"}, Later{"Empty", "<Scs Version=\"5\"/>", "5"},
                    Later{"Far", "<Scs Version=\"99999999999\"/>", "2147483647"},
                    Later{"SingleQuotes", "<Scs by='x' Version='12'></Scs>", "12"}, Later{"OfAnotherRoot", "<Store Version=\"5\"/>", "5"},
                    // Without the check of the version these would count as damaged.
                    Later{"CutOff", "<Scs Version=\"5\"><Sc><ST>T</ST>", "5"}, Later{"CutOffInItsVersion", "<Scs Version=\"5", "5"},
                    Later{"Unparsable", "<?xml version=\"1.0\"?>\r\n<Scs  by=\"x\" Version = '6' ><New a/></Scs>", "6"},
                    Later{"WithADeclaredType", "<!DOCTYPE Scs><Scs Version=\"7\"/>", "7"}),
    [](const auto& later) { return std::string(later.param.name); });

TEST_F(LaterVersion, IsAnyVersionAboveTheCurrentOne)
{
    for (const char* bytes : {"<Scs Version=\"4\"/>", "<Scs Version=\"3\"/>", "<Scs Version=\"-5\"/>", "<Scs Version=\"\"/>", "<Scs/>",
                              "<Scs Version=\"soon\"/>"}) {
        put(file, bytes);
        StoreFile store;
        EXPECT_EQ(store.Open(file, true), S_OK) << bytes;
        EXPECT_EQ(store.openFailure(), u"");
        EXPECT_EQ(folder.read(file), bytes) << "opening an older store does not rewrite it";
    }
}

TEST_F(LaterVersion, IsNotAssumedForADamagedFileOfTheCurrentOne)
{
    for (const std::string bytes : {"<Scs Version=\"4\"><Sc>", "<Scs Version=", "<Scs Version=\"", "<Scs NoVersion><Sc a=\"5\">"}) {
        std::filesystem::remove(file.string() + ".damaged");
        put(file, bytes);
        EXPECT_EQ(StoreFile().Open(file, true), S_OK) << bytes;
        EXPECT_EQ(folder.read(file.string() + ".damaged"), bytes);
    }
}

TEST_F(LaterVersion, AStoreThatOpensAfterwardsReportsNoFailure)
{
    put(file, plainLater);
    StoreFile store;
    ASSERT_EQ(store.Open(file, true), storeOfLaterVersion);
    fs::remove(file);
    EXPECT_EQ(store.Open(file, true), S_OK);
    EXPECT_EQ(store.openFailure(), u"");
}

TEST_F(LaterVersion, TheRefusalIsLoggedAsAFailure)
{
    put(file, plainLater);
    const fs::path log = folder.path() / "test.log";
    for (const DWORD level : {logFailures, ~logFailures}) {
        LogLevelMask = level;
        ResetLog();
        fs::remove(log);
        OpenLog(log, 1024);
        EXPECT_EQ(StoreFile().Open(file, true), storeOfLaterVersion);
        CloseLog();
        LogLevelMask = 0;
        EXPECT_EQ(folder.read(log).find(sentenceFor(file, "5")) != std::string::npos, level == logFailures) << level;
    }
}

TEST_F(LaterVersion, AHistoryIsNeitherOpenedNorDeleted)
{
    const fs::path path = folder.data() / "{11111111-2222-3333-4444-555555555555}.xml";
    put(path, plainLater);
    CSyncHistory history(nullptr);
    EXPECT_EQ(history.Open(map), storeOfLaterVersion);
    EXPECT_EQ(platform::utf8(history.openFailure()), sentenceFor(path, "5"));
    EXPECT_EQ(history.SetLastSyncStatus(u"Trans1", 1), E_POINTER);
    EXPECT_EQ(history.Clear(), E_POINTER);
    EXPECT_EQ(CSyncHistory::DeleteHistoryFile(map), storeOfLaterVersion);
    EXPECT_EQ(folder.read(path), plainLater);
}

TEST_F(LaterVersion, TheConfigurationStoreIsNotOpened)
{
    put(file, plainLater);
    EXPECT_EQ(OpenConfigStore(file), storeOfLaterVersion);
    EXPECT_FALSE(configStoreIsOpen());
    EXPECT_EQ(ConfigStore().WriteValue(u"TrMap", u"s", u"k", u"v", false, true), E_POINTER);
    EXPECT_EQ(CloseConfigStore(), S_OK);
    EXPECT_EQ(folder.read(file), plainLater);
    EXPECT_EQ(platform::utf8(ConfigStore().openFailure()), sentenceFor(file, "5"));
}

TEST_F(LaterVersion, AHistoryIsNotExportedDecoded)
{
    put(file, plainLater);
    ASSERT_TRUE(platform::createKeyPath(platform::Root::CurrentUser, u"Software\\Zorel\\MBSyncEng"));
    const auto key = platform::RegistryKey::open(platform::Root::CurrentUser, u"Software\\Zorel\\MBSyncEng");
    ASSERT_TRUE(key && key->setNumber(u"EnableDecrypt", 1));
    (void)platform::takeErrorText();
    EXPECT_EQ(DecryptHistoryFile(file, own / "decoded.xml"), storeOfLaterVersion);
    EXPECT_EQ(platform::utf8(platform::takeErrorText()), sentenceFor(file, "5"));
    EXPECT_THAT(files(), ElementsAre(file));
}

TEST_F(LaterVersion, ARevertDoesNotLoadAFileThatHasBecomeOne)
{
    StoreFile store;
    fs::create_directories(own);
    ASSERT_EQ(store.Open(file, true), S_OK);
    ASSERT_EQ(store.WriteValue(u"T", u"s", u"k", u"v", false, false), S_OK);
    put(file, plainLater);
    EXPECT_EQ(store.Revert(), E_FAIL);
    EXPECT_FALSE(store.isOpen());
    EXPECT_EQ(store.Close(), S_OK);
    EXPECT_EQ(folder.read(file), plainLater);
}

} // namespace mb
