#include "UnreadableStore.h"

#include <unistd.h>

namespace mb {
namespace {

// Rights hold for all but the superuser, who is another user while this lives; any other user has none to drop.
class WithoutRights {
public:
    WithoutRights() : dropped_(geteuid() == 0 && seteuid(65534) == 0) {}
    WithoutRights(const WithoutRights&) = delete;
    WithoutRights& operator=(const WithoutRights&) = delete;
    ~WithoutRights()
    {
        if (dropped_ && seteuid(0) != 0) std::abort();
    }

private:
    bool dropped_;
};

constexpr char held[] = "<Scs Version=\"4\"><Sc><ST>T</ST><SN>cw==</SN><Ky><KN>azE=</KN><KV>djE=</KV></Ky></Sc></Scs>";

} // namespace

// The folder is everyone's, so that the file could be renamed and replaced.
TEST_F(UnreadableStore, AFileThatTheUserMayNotReadIsRefusedAndStaysAsItIs)
{
    folder.write("store.xml", held);
    std::filesystem::permissions(folder.path(), std::filesystem::perms::all);
    std::filesystem::permissions(file, std::filesystem::perms::none);
    {
        const WithoutRights user;
        ASSERT_NE(::access(folder.path().c_str(), W_OK), -1);
        expectRefused(E_ACCESSDENIED, "Access is denied.");
    }
    std::filesystem::permissions(file, std::filesystem::perms::owner_all);
    EXPECT_EQ(folder.read(file), held);
    StoreFile store;
    EXPECT_EQ(store.Open(file, true), S_OK) << "it opens once it can be read";
    std::u16string value;
    EXPECT_EQ(store.ReadValue(u"T", u"s", u"k1", value), S_OK);
    EXPECT_EQ(value, u"v1");
}

// The first byte of a process's memory is nowhere: a plain file, whose reading is an input error.
TEST_F(UnreadableStore, AFileWhoseReadingFailsOnTheDiskIsRefusedAndStaysWhereItIs)
{
    std::filesystem::create_symlink("/proc/self/mem", file);
    expectRefused(readFault, "The system could not read it.");
    EXPECT_EQ(std::filesystem::read_symlink(file), "/proc/self/mem");
}

TEST_F(UnreadableStore, AHistoryIsNotDeletedToMakeRoomForANewMap)
{
    constexpr GUID map{0x11111111, 0x2222, 0x3333, {0x44, 0x44, 0x55, 0x55, 0x55, 0x55, 0x55, 0x55}};
    const auto path = folder.data() / "{11111111-2222-3333-4444-555555555555}.xml";
    std::filesystem::create_directories(folder.data());
    std::filesystem::create_symlink("/proc/self/mem", path);
    EXPECT_EQ(CSyncHistory::DeleteHistoryFile(map), readFault);
    EXPECT_TRUE(std::filesystem::is_symlink(path));
    std::filesystem::remove(path);
    folder.write("data/Zorel/MBSync/{11111111-2222-3333-4444-555555555555}.xml", "<Scs><Sc>");
    EXPECT_EQ(CSyncHistory::DeleteHistoryFile(map), S_OK) << "a damaged one is of no use to anyone";
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(UnreadableStore, AFolderInPlaceOfTheFileIsRefusedAndStays)
{
    std::filesystem::create_directory(file);
    folder.write("store.xml/inside", "1");
    expectRefused(readFault, "The system could not read it.");
    EXPECT_EQ(folder.read(file / "inside"), "1");
}

} // namespace mb
