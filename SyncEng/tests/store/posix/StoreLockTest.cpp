// The engine's locks where the file system has none.
#include "store/StoreLock.h"

#include "platform/posix/file_calls.h"
#include "store/StoreFile.h"
#include "TestFolder.h"
#include <cerrno>
#include <cstdlib>
#include <gtest/gtest.h>
#include <sys/file.h>

using namespace mb;

namespace {

class WithoutLocks : public testing::Test {
protected:
    WithoutLocks()
    {
        platform::fileCalls.lock = [](int, int) {
            errno = ENOLCK;
            return -1;
        };
    }
    ~WithoutLocks() override
    {
        platform::fileCalls = calls;
        ::unsetenv("MB_WITHOUT_LOCKS");
    }
    mbtest::TestFolder folder;
    const platform::FileCalls calls = platform::fileCalls;
    const GUID map{0x11223344, 0x5566, 0x7788, {1, 2, 3, 4, 5, 6, 7, 8}};
};

} // namespace

TEST_F(WithoutLocks, AMapIsNotRunUnlessTheUserSaysSo)
{
    StoreLock lock;
    EXPECT_EQ(lock.takeMap(map), codeNoLocks);
    EXPECT_NE(lock.failure().find(u"MB_WITHOUT_LOCKS"), std::u16string::npos);
    for (const char* no : {"", "0"}) {
        ::setenv("MB_WITHOUT_LOCKS", no, 1);
        EXPECT_EQ(lock.takeMap(map), codeNoLocks);
    }
    ::setenv("MB_WITHOUT_LOCKS", "1", 1);
    EXPECT_EQ(lock.takeMap(map), S_OK);
    EXPECT_TRUE(std::filesystem::is_empty(folder.data()));
}

TEST_F(WithoutLocks, AStoreIsNotSynchronizedUnlessTheUserSaysSo)
{
    StoreLock lock;
    EXPECT_EQ(lock.takeStore({map, u"/Contacts"}, false), codeNoLocks);
    EXPECT_NE(lock.failure().find(u"MB_WITHOUT_LOCKS"), std::u16string::npos);
    ::setenv("MB_WITHOUT_LOCKS", "1", 1);
    EXPECT_EQ(lock.takeStore({map, u"/Contacts"}, false), S_OK);
    EXPECT_TRUE(std::filesystem::is_empty(folder.data()));
}

TEST(LockFileNamesOfLinks, AreThoseOfWhatTheyLeadTo)
{
    const mbtest::TestFolder folder;
    std::filesystem::create_directory(folder.path() / "Contacts");
    std::filesystem::create_directory_symlink(folder.path() / "Contacts", folder.path() / "link");
    const auto nameOf = [&](const char* name) { return LockFileName({{}, (folder.path() / name).u16string()}); };
    EXPECT_EQ(nameOf("link"), nameOf("Contacts"));
}

TEST_F(WithoutLocks, TheConfigurationIsReadAndNotChanged)
{
    StoreFile store;
    platform::fileCalls = calls;
    ASSERT_EQ(store.OpenShared(folder.path() / "maps.xml"), S_OK);
    platform::fileCalls.lock = [](int, int) {
        errno = ENOLCK;
        return -1;
    };
    const std::string before = folder.read(folder.path() / "maps.xml");
    EXPECT_EQ(store.WriteValue(u"TrMap", u"A", u"Name", u"one", false, true), codeNoLocks);
    {
        SaveScope scope(store);
        EXPECT_EQ(store.WriteValue(u"TrMap", u"A", u"Name", u"one", false, true), codeNoLocks);
        EXPECT_EQ(scope.finish(), codeNoLocks);
    }
    EXPECT_EQ(folder.read(folder.path() / "maps.xml"), before);
    StoreFile other;
    EXPECT_EQ(other.OpenShared(folder.path() / "maps.xml"), S_OK);
    EXPECT_EQ(StoreFile().OpenShared(folder.path() / "new.xml"), codeNoLocks);
    ::setenv("MB_WITHOUT_LOCKS", "1", 1);
    EXPECT_EQ(store.WriteValue(u"TrMap", u"A", u"Name", u"one", false, true), S_OK);
}
