#include "process_lock.h"

#include "files.h"
#include "host.h"
#include "TestFolder.h"
#include "text.h"
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <thread>

using platform::lockHolder;
using platform::ProcessLock;
using namespace std::chrono_literals;
namespace fs = std::filesystem;

namespace {

class ProcessLocks : public testing::Test {
protected:
    // What another thread of this process gets.
    [[nodiscard]] std::error_code takenElsewhere(std::chrono::milliseconds patience = 0ms) const
    {
        std::error_code result;
        std::thread([&] {
            ProcessLock other;
            result = other.take(file, patience);
        }).join();
        return result;
    }
    mbtest::TestFolder folder;
    fs::path file = folder.path() / "map.lock";
};

} // namespace

TEST_F(ProcessLocks, AreRefusedToAnotherThreadUntilTheyAreReleased)
{
    ProcessLock lock;
    EXPECT_FALSE(lock);
    EXPECT_FALSE(lock.take(file));
    EXPECT_TRUE(lock);
    EXPECT_EQ(takenElsewhere(), std::errc::device_or_resource_busy);
    lock.release();
    EXPECT_FALSE(lock);
    EXPECT_FALSE(takenElsewhere());
}

TEST_F(ProcessLocks, AreTakenAgainByTheThreadThatHoldsThemAndReleasedByItsLastOne)
{
    ProcessLock first, second;
    ASSERT_FALSE(first.take(file));
    ASSERT_FALSE(second.take(file));
    second.release();
    EXPECT_EQ(takenElsewhere(), std::errc::device_or_resource_busy);
    first.release();
    EXPECT_FALSE(takenElsewhere());
}

TEST_F(ProcessLocks, OfTwoFilesAreTwo)
{
    ProcessLock lock;
    ASSERT_FALSE(lock.take(folder.path() / "other.lock"));
    EXPECT_FALSE(takenElsewhere());
}

TEST_F(ProcessLocks, AreWaitedForAsLongAsWasSaid)
{
    ProcessLock lock;
    ASSERT_FALSE(lock.take(file));
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(takenElsewhere(120ms), std::errc::device_or_resource_busy);
    EXPECT_GE(std::chrono::steady_clock::now() - start, 120ms);

    std::error_code other;
    std::thread waiting([&] {
        ProcessLock late;
        other = late.take(file, 30s);
    });
    std::this_thread::sleep_for(50ms);
    lock.release();
    waiting.join();
    EXPECT_FALSE(other);
}

TEST_F(ProcessLocks, NameTheirHolderWhileTheyAreHeldAndLeaveNoFile)
{
    EXPECT_EQ(lockHolder(file), u"");
    ProcessLock lock;
    ASSERT_FALSE(lock.take(file));
    EXPECT_EQ(lockHolder(file),
              platform::textOf(platform::executablePath().stem()) + u", process " + platform::utf16(std::to_string(platform::processId())));
    {
        ProcessLock again;
        ASSERT_FALSE(again.take(file));
    }
    EXPECT_NE(lockHolder(file), u"") << "the first one still holds it";
    lock.release();
    EXPECT_FALSE(fs::exists(file));
}

TEST_F(ProcessLocks, TellTheFirstNoteOfTheirHolder)
{
    ProcessLock lock, again;
    ASSERT_FALSE(lock.take(file));
    EXPECT_EQ(platform::lockNote(file), u"");
    lock.release();
    ASSERT_FALSE(lock.take(file, {}, "may ask"));
    ASSERT_FALSE(again.take(file, {}, "asks nothing"));
    EXPECT_EQ(platform::lockNote(file), u"may ask");
    EXPECT_TRUE(lockHolder(file).ends_with(platform::utf16(std::to_string(platform::processId()))));
    again.release();
    lock.release();
    EXPECT_EQ(platform::lockNote(file), u"");
}

TEST_F(ProcessLocks, AreTakenWhereAnEndedProcessLeftTheFile)
{
    folder.write("map.lock", "mb, process 1");
    ProcessLock lock;
    EXPECT_FALSE(lock.take(file));
    EXPECT_EQ(takenElsewhere(), std::errc::device_or_resource_busy);
}
