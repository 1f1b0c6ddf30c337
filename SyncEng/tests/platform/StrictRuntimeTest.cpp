// Behaviour of our own runtime that Windows does not guarantee.
#include "com.h"
#include <gtest/gtest.h>

TEST(StrictRuntime, AnImpossibleSizeIsRefused)
{
    SAFEARRAYBOUND bounds[] = {{0xFFFFFFFF, 0}, {0xFFFFFFFF, 0}};
    EXPECT_EQ(SafeArrayCreate(VT_I4, 2, bounds), nullptr);
}

TEST(StrictRuntime, AnInvalidMonthIsAMismatchAndLeavesTheDateUnchanged)
{
    DATE date = 7;
    EXPECT_EQ(VarDateFromStr(const_cast<OLECHAR*>(com::ole(u"2001-13-01")), 1024, 0x80000000, &date), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(date, 7.0);
}
