#include "foundation/FieldValue.h"

#include "foundation/PhoneNumber.h"
#include "interfaces.h"
#include "text.h"
#include <gtest/gtest.h>

using namespace mb;

TEST(TrimFieldValue, BlanksAtBothEndsAreRemoved)
{
    EXPECT_TRUE(platform::equalNoCase(TrimFieldValue(u"  Smith "), TrimFieldValue(u"sMITH")));
}

TEST(TrimFieldValue, ALeadingLineEndIsRemovedAndALoneLineFeedWithTheNextCharacter)
{
    EXPECT_EQ(TrimFieldValue(u"\r\nabc"), u"abc");
    EXPECT_EQ(TrimFieldValue(u"\nabc"), u"bc");
    EXPECT_EQ(TrimFieldValue(u"\rabc"), u"bc");
    EXPECT_EQ(TrimFieldValue(u"\n"), u"");
}

TEST(TrimFieldValue, ATrailingLineEndIsRemoved) { EXPECT_EQ(TrimFieldValue(u"abc\r\n"), u"abc"); }

TEST(TrimFieldValue, ABlankBeforeTheTrailingLineEndStays) { EXPECT_EQ(TrimFieldValue(u"abc \r\n"), u"abc "); }

TEST(TrimFieldValue, TabsAndInnerBlanksStay)
{
    EXPECT_EQ(TrimFieldValue(u"\ta b\t"), u"\ta b\t");
    EXPECT_EQ(TrimFieldValue(u""), u"");
    EXPECT_EQ(TrimFieldValue(u" \r\n "), u"");
}

TEST(PhoneNumber, AnExtensionAloneHasNoPrefix) { EXPECT_EQ(composePhoneNumber({u"", u"", u"", u"12"}, 0), u"12"); }

TEST(PhoneNumber, AFullNumberHasAllParts)
{
    EXPECT_EQ(composePhoneNumber({u"1", u"212", u"5551234", u"9"}, 0), u"+1 212 5551234 ext. 9");
    EXPECT_EQ(composePhoneNumber({u"", u"212", u"5551234", u""}, 0), u"212 5551234");
    EXPECT_EQ(composePhoneNumber({u"", u"212", u"5551234", u""}, 2), u"+1 212 5551234");
    EXPECT_EQ(composePhoneNumber({}, 1), u"");
}

TEST(PrefixWebAddress, OnlyAWebPageWithoutASchemeGetsOne)
{
    EXPECT_EQ(PrefixWebAddress(u"HTTP://x.org", ftWebPage), u"HTTP://x.org");
    EXPECT_EQ(PrefixWebAddress(u"HttpS://x.org", ftWebPage), u"HttpS://x.org");
    EXPECT_EQ(PrefixWebAddress(u"x.org", ftWebPage), u"http://x.org");
    EXPECT_EQ(PrefixWebAddress(u"", ftWebPage), u"http://");
    EXPECT_EQ(PrefixWebAddress(u"x.org", ftLastName), u"x.org");
}

TEST(EscapeQuotes, EveryDoubleQuoteBecomesAnEntity)
{
    EXPECT_EQ(EscapeQuotes(u"a\"b\"\"c"), u"a&quot;b&quot;&quot;c");
    EXPECT_EQ(EscapeQuotes(u"it's"), u"it's");
}

TEST(ReplaceLineBreaks, EachLineEndBecomesOneBlank)
{
    EXPECT_EQ(ReplaceLineBreaks(u"a\r\nb\rc\nd\n\re"), u"a b c d  e");
    EXPECT_EQ(ReplaceLineBreaks(u""), u"");
}

TEST(TruncateText, ATextOfExactlyTheMaximumIsUnchanged)
{
    EXPECT_EQ(TruncateText(u"abcde", 5, true), u"abcde");
    EXPECT_EQ(TruncateText(u"abcdef", 5, true), u"abcde...");
    EXPECT_EQ(TruncateText(u"abcdef", 5, false), u"abcde");
    EXPECT_EQ(TruncateText(u"a", 0, false), u"");
}

TEST(CategoriesForDisplay, ABlankFollowsEachInnerComma)
{
    EXPECT_EQ(CategoriesForDisplay(u"a,b, c"), u"a, b, c");
    EXPECT_EQ(CategoriesForDisplay(u"a,b,"), u"a, b");
    EXPECT_EQ(CategoriesForDisplay(u",,"), u", ");
    EXPECT_EQ(CategoriesForDisplay(u"a, b"), u"a, b");
}

TEST(CategoriesForDisplay, ATrailingCommaStaysWithoutAnotherChange)
{
    EXPECT_EQ(CategoriesForDisplay(u"a,"), u"a,");
    EXPECT_EQ(CategoriesForDisplay(u"a, b,"), u"a, b,");
    EXPECT_EQ(CategoriesForDisplay(u","), u",");
}

TEST(CategoriesFromDisplay, ABlankBehindACommaIsRemoved)
{
    EXPECT_EQ(CategoriesFromDisplay(u"a, b,c,  d"), u"a,b,c, d");
    EXPECT_EQ(CategoriesFromDisplay(CategoriesForDisplay(u"a,b")), u"a,b");
}

TEST(LowerJoin, OnlyTheFirstTextKeepsItsCase) { EXPECT_EQ(LowerJoin(u"Trans1", u"C:\\Ä", u"DB"), u"Trans1c:\\ädb"); }
