#include "Progress.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <limits>

using namespace mbhost;

TEST(ProgressTest, OutsideATerminalNothingIsWritten)
{
    const auto progress = com::make<Progress>();
    testing::internal::CaptureStderr();
    EXPECT_EQ(progress->OnProgress(spSync, 50.0), S_OK);
    EXPECT_EQ(progress->OnProgress2(com::Bstr(u"Loading.").get(), 10.0), S_OK);
    EXPECT_EQ(progress->OnProgress2(nullptr, std::numeric_limits<double>::quiet_NaN()), S_OK);
    progress->finish();
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

// An interrupt holds for the rest of the process, so it is tested in a process of its own.
TEST(ProgressDeathTest, AfterAnInterruptTheEngineIsToldToAbort)
{
    const auto interruptReachesTheEngine = [] {
        const auto progress = com::make<Progress>();
        if (progress->OnProgress(spSync, 50.0) != S_OK || interrupted()) return false;
        noteInterrupt();
        return interrupted() && progress->OnProgress(spSync, 51.0) == E_ABORT &&
               progress->OnProgress2(com::Bstr(u"Loading.").get(), 51.0) == E_ABORT;
    };
    EXPECT_EXIT(std::_Exit(interruptReachesTheEngine() ? 0 : 1), testing::ExitedWithCode(0), "");
    EXPECT_FALSE(interrupted());
}

TEST(ProgressTest, TheLineFitsTheTerminal)
{
    EXPECT_EQ(progressLine(50, "Loading.", 79), "[###############...............]  50% Loading.");
    EXPECT_EQ(progressLine(100, "Searching for conflicting duplicates.", 60),
              "[##############################] 100% Searching for conflic…");
    EXPECT_EQ(progressLine(7, "Searching for conflicting duplicates.", 39), "  7% Searching for conflicting duplica…");
    EXPECT_EQ(progressLine(7, "Loading.", 19), "  7% Loading.");
}
