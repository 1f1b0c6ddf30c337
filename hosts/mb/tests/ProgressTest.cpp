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

TEST(ProgressTest, AnInterruptReachesTheEngineAsAnAbort)
{
    const auto progress = com::make<Progress>();
    EXPECT_EQ(progress->OnProgress(spSync, 50.0), S_OK);
    noteInterrupt();
    EXPECT_TRUE(interrupted());
    EXPECT_EQ(progress->OnProgress(spSync, 51.0), E_ABORT);
    EXPECT_EQ(progress->OnProgress2(com::Bstr(u"Loading.").get(), 51.0), E_ABORT);
}
