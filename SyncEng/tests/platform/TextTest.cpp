#include "com.h"
#include <gtest/gtest.h>

TEST(Text, ABstrKeepsItsLengthWithZerosInside)
{
    const com::Bstr text(std::u16string_view(u"a\0b", 3));
    EXPECT_EQ(SysStringLen(text.get()), 3u);
    EXPECT_EQ(SysStringByteLen(text.get()), 6u);
    EXPECT_EQ(text.view(), std::u16string_view(u"a\0b", 3));
    EXPECT_EQ(text.get()[3], 0);
}

TEST(Text, ANullBstrIsTheEmptyText)
{
    EXPECT_EQ(SysStringLen(nullptr), 0u);
    EXPECT_TRUE(com::viewOf(BSTR{}).empty());
    SysFreeString(nullptr);
}

TEST(Text, AnOddByteLengthIsKept)
{
    BSTR bytes = SysAllocStringByteLen("abc", 3);
    EXPECT_EQ(SysStringByteLen(bytes), 3u);
    EXPECT_EQ(SysStringLen(bytes), 1u);
    SysFreeString(bytes);
}

TEST(Text, ATooLongTextIsRefused) { EXPECT_EQ(SysAllocStringLen(nullptr, 0xFFFFFFFFu), nullptr); }

TEST(Text, ACopyIsIndependent)
{
    com::Bstr a(u"one");
    com::Bstr b = a;
    a = com::Bstr(u"two");
    EXPECT_EQ(b.view(), u"one");
}
