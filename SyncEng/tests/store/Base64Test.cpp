#include "store/CBase64.h"

#include <gtest/gtest.h>

namespace mb {

TEST(Base64, TheEmptyTextStaysEmpty)
{
    EXPECT_EQ(CBase64(u"", true).EncodedText(), u"");
    EXPECT_EQ(CBase64(u"", false).PlainText(), u"");
    EXPECT_EQ(CBase64().EncodedText(), u"");
}

TEST(Base64, OneToFourBytesRoundTrip)
{
    const std::pair<const char16_t*, const char16_t*> known[] = {
        {u"a", u"YQ=="}, {u"ab", u"YWI="}, {u"abc", u"YWJj"}, {u"abcd", u"YWJjZA=="}};
    for (const auto& [plain, encoded] : known) {
        EXPECT_EQ(CBase64(plain, true).EncodedText(), encoded);
        EXPECT_EQ(CBase64(encoded, false).PlainText(), plain);
    }
}

TEST(Base64, BlanksAndLineEndsInsideTheTextAreSkipped) { EXPECT_EQ(CBase64(u" YW\r\nJj\tZA == ", false).PlainText(), u"abcd"); }

TEST(Base64, ThePlainTextEndsAtItsFirstZero) { EXPECT_EQ(decodeBase64("YQBi"), u"a"); }

TEST(Base64, AByteOutsideOfTheAlphabetGivesBytesAndNoError)
{
    EXPECT_TRUE(decodeBase64("YW*j").starts_with(u"a\x7F")) << "its value is 254";
    EXPECT_TRUE(decodeBase64("YWJj*").starts_with(u"abc"));
}

TEST(Base64, TheTopBitOfALetterIsIgnored)
{
    const std::string marked = {static_cast<char>('Y' | 0x80), 'Q', '=', '='};
    EXPECT_EQ(decodeBase64(marked), u"a");
}

} // namespace mb
