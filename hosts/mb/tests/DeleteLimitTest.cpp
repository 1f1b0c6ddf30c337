#include "DeleteLimit.h"
#include "Failure.h"

#include <gtest/gtest.h>

using namespace mbhost;

TEST(DeleteLimitTest, TheDefaultAllowsHalfOfAStoreOfMoreThanThree)
{
    const DeleteLimit limit;
    EXPECT_TRUE(limit.allows(3, 3));
    EXPECT_TRUE(limit.allows(4, 2));
    EXPECT_FALSE(limit.allows(4, 3));
    EXPECT_FALSE(limit.allows(10, 10));
    EXPECT_TRUE(limit.allows(12, 6));
    EXPECT_FALSE(limit.allows(11, 6));
    EXPECT_FALSE(limit.allows(100, 51));
    EXPECT_TRUE(limit.allows(0, 0));
}

TEST(DeleteLimitTest, BesideAnEmptyStoreASmallStoreIsLimitedToo)
{
    EXPECT_FALSE(DeleteLimit().allowsOfAnySize(3, 3));
    EXPECT_FALSE(DeleteLimit().allowsOfAnySize(1, 1));
    EXPECT_TRUE(DeleteLimit().allowsOfAnySize(4, 2));
    EXPECT_TRUE(DeleteLimit("3").allowsOfAnySize(3, 3));
    EXPECT_TRUE(DeleteLimit("100%").allowsOfAnySize(1, 1));
    EXPECT_TRUE(DeleteLimit("none").allowsOfAnySize(2, 2));
}

TEST(DeleteLimitTest, ANumberAndAPercentageApplyToStoresOfAnySize)
{
    EXPECT_TRUE(DeleteLimit("3").allows(4, 3));
    EXPECT_FALSE(DeleteLimit("3").allows(1000, 4));
    EXPECT_FALSE(DeleteLimit("0").allows(2, 1));
    EXPECT_TRUE(DeleteLimit("25%").allows(4, 1));
    EXPECT_FALSE(DeleteLimit("25%").allows(4, 2));
    EXPECT_TRUE(DeleteLimit("100%").allows(4, 4));
    EXPECT_FALSE(DeleteLimit("0%").allows(4, 1));
}

TEST(DeleteLimitTest, NoneIsNoLimit) { EXPECT_TRUE(DeleteLimit("none").allows(1000, 1000)); }

TEST(DeleteLimitTest, AnyOtherTextIsWrongUsage)
{
    for (const char* text : {"", "%", "-1", "half", "3x", "101%", "3 %", "99999999999999999999"}) {
        try {
            (void)DeleteLimit(text);
            ADD_FAILURE() << text;
        } catch (const Failure& failure) {
            EXPECT_EQ(failure.code(), exitUsage) << text;
        }
    }
}

TEST(DeleteLimitTest, TheLimitOfAMapIsAPercentageOfAStoreOfMoreThanThree)
{
    EXPECT_TRUE(DeleteLimit::ofMap(80).allows(10, 8));
    EXPECT_FALSE(DeleteLimit::ofMap(80).allows(10, 9));
    EXPECT_TRUE(DeleteLimit::ofMap(80).allows(3, 3));
    EXPECT_TRUE(DeleteLimit::ofMap(0).allows(1000, 1000));
    EXPECT_EQ(DeleteLimit::ofMap(80).text(), "80%");
}
