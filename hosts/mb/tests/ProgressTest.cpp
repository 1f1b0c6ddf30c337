#include "Progress.h"

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

TEST(ProgressTest, AfterAnInterruptTheEngineIsToldToAbort)
{
    const auto progress = com::make<Progress>();
    EXPECT_EQ(progress->OnProgress(spSync, 50.0), S_OK);
    noteInterrupt();
    EXPECT_TRUE(interrupted());
    EXPECT_EQ(progress->OnProgress(spSync, 51.0), E_ABORT);
    EXPECT_EQ(progress->OnProgress2(com::Bstr(u"Loading.").get(), 51.0), E_ABORT);
}

TEST(ProgressTest, TheLineFitsTheTerminal)
{
    EXPECT_EQ(progressLine(50, "Loading.", 79), "[###############...............]  50% Loading.");
    EXPECT_EQ(progressLine(100, "Searching for conflicting duplicates.", 60),
              "[##############################] 100% Searching for conflic…");
    EXPECT_EQ(progressLine(7, "Searching for conflicting duplicates.", 39), "  7% Searching for conflicting duplica…");
    EXPECT_EQ(progressLine(7, "Loading.", 19), "  7% Loading.");
}
