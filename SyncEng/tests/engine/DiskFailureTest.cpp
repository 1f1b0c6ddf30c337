// Every call that puts the engine's own files on disk fails once, in each way a disk fails. The stores of contacts are not touched by that;
// the history must be of before or of after, and the next run must end well.
#include "FailureStory.h"
#include "posix/file_calls.h"

#include <cerrno>

namespace {

using mbtest::Story;
using platform::fileCalls;

enum class Call { Open, Write, ShortWrite, Flush, Rename };

// What is to fail: the n-th call of one kind.
struct Plan {
    Call call = Call::Open;
    int n = 0, met = 0;
    bool due(Call made) { return made == call && ++met == n; }
};

platform::FileCalls real;
Plan plan;

int failing(int code)
{
    errno = code;
    return -1;
}

int planOpen(const char* path, int flags, mode_t mode) { return plan.due(Call::Open) ? failing(EACCES) : real.open(path, flags, mode); }

ssize_t planWrite(int file, const void* bytes, std::size_t count)
{
    if (plan.due(Call::Write)) return failing(ENOSPC);
    // A disk that fills up in the middle.
    if (plan.call == Call::ShortWrite && plan.met > 0) return failing(ENOSPC);
    if (plan.due(Call::ShortWrite)) return real.write(file, bytes, count / 2);
    return real.write(file, bytes, count);
}

int planFlush(int file) { return plan.due(Call::Flush) ? failing(EIO) : real.flush(file); }
int planRename(const char* from, const char* to) { return plan.due(Call::Rename) ? failing(EACCES) : real.rename(from, to); }

// The disk fails by the plan while it lives.
class FailingDisk {
public:
    FailingDisk(Call call, int n)
    {
        plan = {call, n, 0};
        real = fileCalls;
        fileCalls.open = planOpen;
        fileCalls.write = planWrite;
        fileCalls.flush = planFlush;
        fileCalls.rename = planRename;
    }
    FailingDisk(const FailingDisk&) = delete;
    FailingDisk& operator=(const FailingDisk&) = delete;
    ~FailingDisk() { fileCalls = real; }
    [[nodiscard]] bool failed() const { return plan.met >= plan.n; }
};

std::string nameOf(const testing::TestParamInfo<Call>& info)
{
    switch (info.param) {
    case Call::Open: return "Open";
    case Call::Write: return "Write";
    case Call::ShortWrite: return "ShortWrite";
    case Call::Flush: return "Flush";
    default: return "Rename";
    }
}

class DiskFailure : public testing::TestWithParam<Call> {};

} // namespace

TEST_P(DiskFailure, OfAnyCallLeavesAStateThatTheNextRunMends)
{
    int calls = 0;
    for (int n = 1;; ++n) {
        SCOPED_TRACE(n);
        Story story;
        {
            const FailingDisk disk(GetParam(), n);
            (void)story.s.sync();
            if (!disk.failed()) break;
        }
        ++calls;
        EXPECT_EQ(story.s.sync(), S_OK);
        expectHappyEnd(story);
        if (HasFailure()) return;
    }
    EXPECT_GT(calls, 0);
}

INSTANTIATE_TEST_SUITE_P(Calls, DiskFailure, testing::Values(Call::Open, Call::Write, Call::ShortWrite, Call::Flush, Call::Rename), nameOf);
