// Every call that puts the engine's own files on disk fails once, in each way a disk fails. The stores of contacts are not touched by that;
// the history must be of before or of after, and the next run must end well.
#include "FailureStory.h"
#include "posix/file_calls.h"

#include <cerrno>

namespace {

using mbtest::Story;
using platform::fileCalls;

enum class Call { Open, Write, ShortWrite, Flush, Rename };

// What is to fail: the n-th call of one kind. Where a target is named, only renames to that file count.
struct Plan {
    Call call = Call::Open;
    int n = 0, met = 0;
    std::string target{};
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
int planRename(const char* from, const char* to)
{
    const bool counts = plan.target.empty() || plan.target == to;
    return counts && plan.due(Call::Rename) ? failing(EACCES) : real.rename(from, to);
}

// The disk fails by the plan while it lives.
class FailingDisk {
public:
    FailingDisk(Call call, int n, const std::string& target = {})
    {
        plan = {call, n, 0, target};
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

// The categories' history is saved first. It must not name a place that the map did not move to.
TEST(DiskFailureOfAMove, OfTheContactsHistoryLeavesThatOfTheCategoriesAsItWas)
{
    mbtest::SyncScenario s;
    s.one().options.categories = s.two().options.categories = true;
    s.two().options.database = u"/home/ada/old.vcf";
    s.one().addCategory(u"Friends");
    ASSERT_EQ(s.sync(), S_OK);
    GUID categories{};
    ASSERT_EQ(s.maps()->GetCategoryGuid(s.map(), &categories), S_OK);
    {
        const FailingDisk disk(Call::Rename, 1, s.historyFile().string());
        com::Bstr message;
        LONG known = 0, missing = 0;
        const auto mover = s.maps().as<IStoreMove>();
        EXPECT_TRUE(FAILED(
            mover->MoveStore(s.map(), idTrans2, com::Bstr(u"/media/phone/old.vcf").get(), VARIANT_FALSE, &known, &missing, message.put())));
        EXPECT_TRUE(disk.failed());
    }
    for (const GUID& history : {s.map(), categories}) {
        com::Bstr one, two;
        ASSERT_EQ(s.maps()->GetLastSyncDatabase(history, one.put(), two.put()), S_OK);
        EXPECT_EQ(two.text(), u"/home/ada/old.vcf");
    }
}

INSTANTIATE_TEST_SUITE_P(Calls, DiskFailure, testing::Values(Call::Open, Call::Write, Call::ShortWrite, Call::Flush, Call::Rename), nameOf);
