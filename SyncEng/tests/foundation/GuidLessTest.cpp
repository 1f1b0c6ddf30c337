#include "foundation/GuidLess.h"

#include <gtest/gtest.h>

namespace {

constexpr GUID zero{};

bool isOrdered(const GUID& low, const GUID& high) { return mb::GuidLess{}(low, high) && !mb::GuidLess{}(high, low); }

} // namespace

TEST(GuidLess, TheNumericPartsCompareFirstAndUnsigned)
{
    EXPECT_TRUE(isOrdered({0x7FFFFFFF, 0xFFFF, 0xFFFF, {0xFF}}, {0x80000000, 0, 0, {}}));
    EXPECT_TRUE(isOrdered({0, 0x7FFF, 0xFFFF, {0xFF}}, {0, 0x8000, 0, {}}));
    EXPECT_TRUE(isOrdered({0, 0, 0x7FFF, {0xFF}}, {0, 0, 0x8000, {}}));
}

TEST(GuidLess, TheLastBytesCompareInOrder)
{
    EXPECT_TRUE(isOrdered({0, 0, 0, {0x7F, 0xFF}}, {0, 0, 0, {0x80, 0}}));
    EXPECT_TRUE(isOrdered({0, 0, 0, {0, 0, 0, 0, 0, 0, 0, 1}}, {0, 0, 0, {0, 0, 0, 0, 0, 0, 0, 2}}));
    EXPECT_FALSE(mb::GuidLess{}(zero, zero));
}
