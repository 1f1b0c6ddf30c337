// Both platforms write the same files, byte for byte, and read each other's: golden/present holds a store and a history that any of them
// writes, golden/earlier those that earlier versions wrote on POSIX systems, with empty values spelt in another way.
#include "store/CSyncHistory.h"

#include "files.h"
#include "TestFolder.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace mb {
namespace {

namespace fs = std::filesystem;

constexpr GUID map{0x11111111, 0x2222, 0x3333, {0x44, 0x44, 0x55, 0x55, 0x55, 0x55, 0x55, 0x55}};
constexpr char storeName[] = "store.xml", historyName[] = "{11111111-2222-3333-4444-555555555555}.xml";

struct Value {
    const char16_t *type, *section, *key;
    std::u16string text;
};

// ASCII only, apart from encoding: other characters are stored in the code page of the machine that wrote them.
const Value values[] = {{u"TrMap", u"{11111111-2222-3333-4444-555555555555}", u"Trans1", u"{86705195-E5F6-4FBC-AD43-E85ED5843B9A}"},
                        {u"Trans1Cfg", u"sect & <ion>", u"Database", u"C:\\cards & more\\<1>.db"},
                        {u"Trans1Cfg", u"sect & <ion>", u"empty", u""},
                        {u"Trans1Cfg", u"a 'name'", u"\"key\"", u"]]> &amp; ~"},
                        {u"Trans2Cfg", u"s", u"lines", u"one\r\ntwo\nthree\rfour\tfive"}};

const HistoryEntry entry1{u"a/e#1", 46000.123456789, u"b", false}, entry2{u"b", 46001.5, u"a/e#1", false};

FieldValueMap fields()
{
    FieldValueMap made;
    made[2] = u"Zoe";
    made[4] = u"O'Neill & Sons";
    made[20] = u"+1 (555) 0100";
    return made;
}

class GoldenFiles : public testing::TestWithParam<const char*> {
protected:
    fs::path golden(const char* name) const { return fs::path(GOLDEN_FOLDER) / GetParam() / name; }
    mbtest::TestFolder folder;
};

void writeStore(const fs::path& file)
{
    StoreFile store;
    ASSERT_EQ(store.Open(file, true), S_OK);
    for (const Value& v : values) ASSERT_EQ(store.WriteValue(v.type, v.section, v.key, v.text, false, false), S_OK);
    ASSERT_EQ(store.Save(), S_OK);
}

void writeHistory()
{
    CSyncHistory history(nullptr);
    ASSERT_EQ(history.Open(map), S_OK);
    ASSERT_EQ(history.WriteEntry(u"Trans1", entry1), S_OK);
    ASSERT_EQ(history.WriteEntry(u"Trans2", entry2), S_OK);
    ASSERT_EQ(history.WriteFieldData(u"Trans1", entry1.Id, fields(), false, false), S_OK);
    ASSERT_EQ(history.SetLastSyncTime(u"Trans1", 46002.25), S_OK);
    ASSERT_EQ(history.SetDatabase(u"Trans2", u"/home/zoe/cards"), S_OK);
}

} // namespace

TEST_P(GoldenFiles, TheStoreIsRead)
{
    fs::copy_file(golden(storeName), folder.path() / storeName);
    StoreFile store;
    ASSERT_EQ(store.Open(folder.path() / storeName, false), S_OK);
    for (const Value& v : values) {
        std::u16string text = u"before";
        EXPECT_EQ(store.ReadValue(v.type, v.section, v.key, text), S_OK) << golden(storeName);
        EXPECT_EQ(text, v.text) << golden(storeName);
    }
}

TEST_P(GoldenFiles, TheHistoryIsRead)
{
    fs::create_directories(folder.data());
    fs::copy_file(golden("history.xml"), folder.data() / historyName);
    CSyncHistory history(nullptr);
    ASSERT_EQ(history.Open(map), S_OK);
    for (const auto& [side, expected] : {std::pair{u"Trans1", entry1}, std::pair{u"Trans2", entry2}}) {
        std::vector<HistoryEntry> entries;
        ASSERT_EQ(history.LoadEntries(side, entries, false, true), S_OK);
        ASSERT_EQ(entries.size(), 1u);
        EXPECT_EQ(entries[0].Id, expected.Id);
        EXPECT_EQ(entries[0].ModifiedTime, expected.ModifiedTime);
        EXPECT_EQ(entries[0].MappedId, expected.MappedId);
    }
    FieldValueMap found;
    ASSERT_EQ(history.ReadFieldData(u"Trans1", entry1.Id, found), S_OK);
    const FieldValueMap wanted = fields();
    EXPECT_TRUE(std::ranges::equal(found, wanted));
    DATE time = 0;
    EXPECT_EQ(history.GetLastSyncTime(u"Trans1", time), S_OK);
    EXPECT_EQ(time, 46002.25);
    std::u16string database;
    EXPECT_EQ(history.GetDatabase(u"Trans2", database), S_OK);
    EXPECT_EQ(database, u"/home/zoe/cards");
}

TEST(GoldenFile, IsWrittenByteForByte)
{
    const mbtest::TestFolder folder;
    const fs::path golden = fs::path(GOLDEN_FOLDER) / "present";
    writeStore(folder.path() / storeName);
    writeHistory();
    EXPECT_EQ(folder.read(folder.path() / storeName), folder.read(golden / storeName));
    EXPECT_EQ(folder.read(folder.data() / historyName), folder.read(golden / "history.xml"));
    if (const char* keep = std::getenv("MB_GOLDEN_OUT")) { // to update the golden files
        fs::copy_file(folder.path() / storeName, fs::path(keep) / storeName, fs::copy_options::overwrite_existing);
        fs::copy_file(folder.data() / historyName, fs::path(keep) / "history.xml", fs::copy_options::overwrite_existing);
    }
}

INSTANTIATE_TEST_SUITE_P(Of, GoldenFiles, testing::Values("present", "earlier"),
                         [](const auto& version) { return std::string(version.param); });

} // namespace mb
