#include "foundation/Format.h"

#include <gtest/gtest.h>

using mb::Format;
using mb::FormatStrings;

TEST(Format, FillsTextsAndNumbersInOrder)
{
    EXPECT_EQ(Format(u"Conflict %d of %d", 2, 7), u"Conflict 2 of 7");
    EXPECT_EQ(Format(u"%s has %d records", std::u16string(u"Outlook"), -1), u"Outlook has -1 records");
    EXPECT_EQ(Format(u"%I64d", std::int64_t{-9'223'372'036'854'775'807}), u"-9223372036854775807");
    EXPECT_EQ(Format(u"%x", 0xBEEF), u"beef");
}

TEST(Format, AHexadecimalResultCodeHas32Bits) { EXPECT_EQ(Format(u"0x%x", std::int32_t(0x80004005)), u"0x80004005"); }

TEST(Format, AMissingArgumentIsWrittenAsNothing)
{
    EXPECT_EQ(Format(u"a %s b %d c"), u"a  b  c");
    EXPECT_EQ(Format(u"%s-%s", u"x"), u"x-");
}

TEST(Format, ASurplusArgumentIsIgnored) { EXPECT_EQ(Format(u"%d", 1, 2, u"three"), u"1"); }

TEST(Format, AnArgumentOfAnotherTypeIsWrittenInItsOwnForm)
{
    EXPECT_EQ(Format(u"%s", 5), u"5");
    EXPECT_EQ(Format(u"%d", u"five"), u"five");
}

TEST(Format, OtherPercentSignsStay)
{
    EXPECT_EQ(Format(u"100%", 1), u"100%");
    EXPECT_EQ(Format(u"50%% of %d", 8), u"50% of 8");
    EXPECT_EQ(Format(u"%q %I64", 1), u"%q %I64");
    EXPECT_EQ(Format(u"", 1), u"");
}

TEST(Format, DirectivesInAnArgumentAreText) { EXPECT_EQ(Format(u"%s %d", u"%s%d%n", 3), u"%s%d%n 3"); }

TEST(FormatStrings, ReplacesEachPlaceholderByTheNextText)
{
    EXPECT_EQ(FormatStrings(u"%s and %s", u"one", std::u16string(u"two")), u"one and two");
    EXPECT_EQ(FormatStrings(u"no place", u"one"), u"no place");
}

TEST(FormatStrings, ASurplusTextIsIgnoredAndASurplusPlaceholderStays)
{
    EXPECT_EQ(FormatStrings(u"%s", u"one", u"two"), u"one");
    EXPECT_EQ(FormatStrings(u"%s %s", u"one"), u"one %s");
}

TEST(FormatStrings, APlaceholderInsideATextIsText) { EXPECT_EQ(FormatStrings(u"%s|%s", u"%s", u"two"), u"%s|two"); }

TEST(FormatStrings, ALongTextIsNotCut)
{
    const std::u16string longValue(100'000, u'x');
    EXPECT_EQ(FormatStrings(u"<%s>", longValue), u"<" + longValue + u">");
}
