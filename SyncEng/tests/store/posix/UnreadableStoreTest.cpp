#include "UnreadableStore.h"

#include <unistd.h>

namespace mb {
namespace {

// Permissions do not apply to the superuser, so the superuser becomes another user while this lives.
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

// The folder is writable, so that the file could be renamed and replaced.
TEST_F(UnreadableStore, AFileThatTheUserMayNotReadIsRefusedAndNotChanged)
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

// /proc/self/mem is a regular file whose first byte cannot be read: reading it is an I/O error.
TEST_F(UnreadableStore, AFileWithAReadErrorIsRefusedAndNotMoved)
{
    std::filesystem::create_symlink("/proc/self/mem", file);
    expectRefused(readFault, "The system could not read it.");
    EXPECT_EQ(std::filesystem::read_symlink(file), "/proc/self/mem");
}

TEST_F(UnreadableStore, AnUnreadableHistoryIsNotDeletedForANewMap)
{
    constexpr GUID map{0x11111111, 0x2222, 0x3333, {0x44, 0x44, 0x55, 0x55, 0x55, 0x55, 0x55, 0x55}};
    const auto path = folder.data() / "{11111111-2222-3333-4444-555555555555}.xml";
    std::filesystem::create_directories(folder.data());
    std::filesystem::create_symlink("/proc/self/mem", path);
    EXPECT_EQ(CSyncHistory::DeleteHistoryFile(map), readFault);
    EXPECT_TRUE(std::filesystem::is_symlink(path));
    std::filesystem::remove(path);
    folder.write("data/Zorel/MBSync/{11111111-2222-3333-4444-555555555555}.xml", "<Scs><Sc>");
    EXPECT_EQ(CSyncHistory::DeleteHistoryFile(map), S_OK) << "a damaged history may be deleted";
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(UnreadableStore, AFolderInPlaceOfTheFileIsRefusedAndKept)
{
    std::filesystem::create_directory(file);
    folder.write("store.xml/inside", "1");
    expectRefused(readFault, "The system could not read it.");
    EXPECT_EQ(folder.read(file / "inside"), "1");
}

} // namespace mb
