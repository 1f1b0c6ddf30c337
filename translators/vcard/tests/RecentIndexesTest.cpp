#include "RecentIndexes.h"

#include <chrono>
#include <gtest/gtest.h>

namespace mb::vcard {
namespace {

// What an index knows that listed one file `age` ago.
ListedFiles listedBefore(std::chrono::milliseconds age)
{
    ListedFiles files;
    files.files.resize(1);
    files.listed = std::chrono::nanoseconds(std::chrono::system_clock::now().time_since_epoch() - age).count();
    return files;
}

TEST(RecentIndexes, WhatIsKeptIsTakenOnceAndForItsFolderOnly)
{
    RecentIndexes recent, other;
    recent.keep("/a", listedBefore(std::chrono::milliseconds(0)));
    EXPECT_FALSE(recent.take("/b"));
    EXPECT_FALSE(other.take("/a"));
    const auto taken = recent.take("/a");
    ASSERT_TRUE(taken);
    EXPECT_EQ(taken->files.size(), 1u);
    EXPECT_FALSE(recent.take("/a"));
}

TEST(RecentIndexes, WhatWasListedTwoSecondsAgoOrInTheFutureIsForgotten)
{
    RecentIndexes recent;
    for (const int milliseconds : {2100, -60'000}) {
        recent.keep("/a", listedBefore(std::chrono::milliseconds(milliseconds)));
        EXPECT_FALSE(recent.take("/a")) << milliseconds;
    }
    recent.keep("/a", listedBefore(std::chrono::milliseconds(500)));
    EXPECT_TRUE(recent.take("/a"));
}

} // namespace
} // namespace mb::vcard
