// Locks between processes, and file systems that fail.
#include "process_lock.h"

#include "ChildProcess.h"
#include "posix/file_calls.h"
#include "TestFolder.h"
#include "text.h"
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using platform::ProcessLock;
using namespace std::chrono_literals;
namespace fs = std::filesystem;

namespace {

class LockFiles : public testing::Test {
protected:
    ~LockFiles() override { platform::fileCalls = calls; }
    // A process that takes the lock, says so, and waits to be killed.
    pid_t holdInAProcess()
    {
        int ready[2];
        EXPECT_EQ(::pipe2(ready, O_CLOEXEC), 0);
        const pid_t child = ::fork();
        if (child == 0) {
            ProcessLock held;
            const char answer = held.take(file) ? 'n' : 'y';
            (void)!::write(ready[1], &answer, 1);
            for (;;) ::pause();
        }
        char answer = 0;
        EXPECT_EQ(::read(ready[0], &answer, 1), 1);
        EXPECT_EQ(answer, 'y');
        ::close(ready[0]);
        ::close(ready[1]);
        return child;
    }
    static void end(pid_t child)
    {
        ::kill(child, SIGKILL);
        ::waitpid(child, nullptr, 0);
    }
    mbtest::TestFolder folder;
    fs::path file = folder.path() / "map.lock";
    const platform::FileCalls calls = platform::fileCalls;
};

} // namespace

TEST_F(LockFiles, AreRefusedWhileAnotherProcessHoldsThemAndFreeOnceItIsKilled)
{
    const pid_t child = holdInAProcess();
    ProcessLock lock;
    EXPECT_EQ(lock.take(file), std::errc::device_or_resource_busy);
    EXPECT_TRUE(platform::lockHolder(file).ends_with(u"process " + platform::utf16(std::to_string(child))));
    end(child);
    EXPECT_FALSE(lock.take(file));
}

TEST_F(LockFiles, AreNotTakenAlongByAProgramThatIsStarted)
{
    ProcessLock lock;
    ASSERT_FALSE(lock.take(file));
    const pid_t child = ::fork();
    if (child == 0) {
        ::execl("/bin/sleep", "sleep", "60", nullptr);
        ::_exit(1);
    }
    std::error_code after = std::make_error_code(std::errc::device_or_resource_busy);
    lock.release();
    std::thread([&] { // another thread: what the first one held was not left open in the child
        ProcessLock other;
        after = other.take(file, 5s);
    })
        .join();
    EXPECT_FALSE(after);
    end(child);
}

TEST_F(LockFiles, TellApartAFileSystemWithoutLocksAndAFolderThatTakesNoFile)
{
    for (const int reason : {ENOLCK, EOPNOTSUPP, ENOSYS, EINVAL}) {
        static int error;
        error = reason;
        platform::fileCalls.lock = [](int, int) {
            errno = error;
            return -1;
        };
        ProcessLock lock;
        EXPECT_EQ(lock.take(file, 5s), std::errc::no_lock_available) << reason;
        EXPECT_FALSE(lock);
    }
    platform::fileCalls = calls;
    ProcessLock lock;
    EXPECT_EQ(lock.take(folder.path() / "absent" / "map.lock", 5s), std::errc::no_such_file_or_directory);
}

TEST_F(LockFiles, AreTheUsersAlone)
{
    const mode_t mask = ::umask(0);
    ProcessLock lock;
    ASSERT_FALSE(lock.take(file));
    ::umask(mask);
    struct stat info {};
    ASSERT_EQ(::stat(file.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0600u);
}

// The former holder deletes the file when it ends. Whoever opened it in between must not take that lock for the one of the name.
TEST_F(LockFiles, OfADeletedFileAreLocksOfNothing)
{
    static fs::path* name;
    name = &file;
    static int attempts;
    attempts = 0;
    platform::fileCalls.lock = [](int descriptor, int operation) {
        if (++attempts == 1) fs::remove(*name);
        return ::flock(descriptor, operation);
    };
    ProcessLock lock;
    ASSERT_FALSE(lock.take(file));
    EXPECT_EQ(attempts, 2);
    EXPECT_TRUE(fs::exists(file));
}
