#include "foundation/TextBase64.h"

#include "com.h"
#include <cstdint>
#include <gtest/gtest.h>

using namespace mb;

TEST(TextBase64, EncodesAndPads)
{
    EXPECT_EQ(encodeTextBase64(""), "");
    EXPECT_EQ(encodeTextBase64("f"), "Zg==");
    EXPECT_EQ(encodeTextBase64("fo"), "Zm8=");
    EXPECT_EQ(encodeTextBase64("foo"), "Zm9v");
    EXPECT_EQ(encodeTextBase64("\xFB\xEF\xFF"), "++//");
}

TEST(TextBase64, PaddingCanBeLeftOut)
{
    EXPECT_EQ(encodeTextBase64("f", base64NoPadding), "Zg");
    EXPECT_EQ(encodeTextBase64("fo", base64NoPadding), "Zm8");
}

TEST(TextBase64, LinesBreakAfter76CharactersUnlessSwitchedOff)
{
    const std::string bytes(115, '\0'); // 57 bytes make a full line
    EXPECT_EQ(encodeTextBase64(bytes), std::string(76, 'A') + "\r\n" + std::string(76, 'A') + "\r\nAA==");
    EXPECT_EQ(encodeTextBase64(bytes, base64NoLineBreaks), std::string(154, 'A') + "==");
    EXPECT_EQ(encodeTextBase64(std::string(57, '\0')), std::string(76, 'A'));
}

TEST(TextBase64, TheLengthIsThatOfTheEncodedText)
{
    for (std::size_t size = 0; size < 400; ++size)
        for (const unsigned flags : {0u, 1u, 2u, 3u})
            ASSERT_EQ(encodedTextBase64Length(size, flags), encodeTextBase64(std::string(size, 'x'), flags).size()) << size << " " << flags;
}

TEST(TextBase64, ALengthBeyondTheSignedRangeIsAFailure)
{
    for (const std::size_t size : {std::size_t{INT32_MAX} / 4 * 3 + 8, std::size_t{INT32_MAX}, SIZE_MAX}) {
        try {
            (void)encodedTextBase64Length(size);
            FAIL() << size;
        } catch (const com::Error& error) {
            EXPECT_EQ(error.code(), E_FAIL);
        }
    }
}

TEST(TextBase64, DecodingReversesEncodingForAllLengths)
{
    std::string bytes;
    for (int i = 0; i < 300; ++i) {
        ASSERT_EQ(decodeTextBase64(encodeTextBase64(bytes)), bytes);
        ASSERT_EQ(decodeTextBase64(encodeTextBase64(bytes, base64NoPadding)), bytes);
        bytes += static_cast<char>(i * 37);
    }
}

TEST(TextBase64, DecodingSkipsInvalidCharactersAndStopsAtAZero)
{
    EXPECT_EQ(decodeTextBase64("Z-m\r\n9\xFFv"), "foo");
    EXPECT_EQ(decodeTextBase64(std::string_view("Zm9v\0Zm9v", 9)), "foo");
    EXPECT_EQ(decodeTextBase64("Z"), "");
}
