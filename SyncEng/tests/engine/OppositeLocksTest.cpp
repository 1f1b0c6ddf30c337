// Two processes that lock the same two stores in step: neither tries a lock before the other has tried its former one.
#include "engine/RunLocks.h"
#include "posix/file_calls.h"
#include "SyncScenario.h"
#include "text.h"

#include <cerrno>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using mb::ContactStore;
using mb::RunLocks;

int otherProcess = -1; // a socket
int (*lockFile)(int file, int operation) = nullptr;

// Waits after each lock, got or refused, until the other process has tried its lock too, or has ended.
int lockAndMeet(int file, int operation)
{
    const int result = lockFile(file, operation);
    const int error = errno;
    char byte = 0;
    if (::send(otherProcess, &byte, 1, MSG_NOSIGNAL) == 1) (void)!::read(otherProcess, &byte, 1);
    errno = error;
    return result;
}

// The sockets are the one of this process and the one of the other process.
HRESULT takeAndMeet(RunLocks& locks, const std::vector<ContactStore>& stores, int own, int other)
{
    ::close(other);
    otherProcess = own;
    lockFile = platform::fileCalls.lock;
    platform::fileCalls.lock = lockAndMeet;
    const HRESULT result = locks.take(stores, false);
    platform::fileCalls.lock = lockFile;
    ::close(own);
    return result;
}

} // namespace

TEST(OppositeLocks, OfTwoProcessesThatNameTheStoresInOppositeOrdersOneGetsBoth)
{
    const mbtest::SyncScenario s;
    const auto store = [&](const char* name) { return ContactStore{mbtest::fakeClass1, platform::textOf(s.folder.path() / name)}; };
    int sockets[2];
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, sockets), 0);
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        RunLocks locks;
        const HRESULT result = takeAndMeet(locks, {store("B"), store("A")}, sockets[1], sockets[0]);
        ::_exit(result == S_OK ? 1 : result == mb::codeInUse ? 2 : 3);
    }
    RunLocks locks;
    const HRESULT result = takeAndMeet(locks, {store("A"), store("B")}, sockets[0], sockets[1]);
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), result == S_OK ? 2 : 1) << "the other process: 1 got both stores, 2 was refused";
    EXPECT_TRUE(result == S_OK || result == mb::codeInUse) << result;
}
