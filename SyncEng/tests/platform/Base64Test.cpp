#include "base64.h"

#include <gtest/gtest.h>
#include <random>

using namespace platform;

namespace {

TEST(Base64, EncodesByTheStandard)
{
    EXPECT_EQ(encodeBase64(""), "");
    EXPECT_EQ(encodeBase64("f"), "Zg==");
    EXPECT_EQ(encodeBase64("fo"), "Zm8=");
    EXPECT_EQ(encodeBase64("foo"), "Zm9v");
    EXPECT_EQ(encodeBase64("\xFB\xFF\xBF"), "+/+/");
}

TEST(Base64, DecodesWhatWasEncoded)
{
    std::mt19937 random(1);
    for (std::size_t length = 0; length < 200; ++length) {
        std::string bytes(length, '\0');
        for (char& c : bytes) c = static_cast<char>(random());
        const std::string encoded = encodeBase64(bytes);
        EXPECT_EQ(encoded.size() % 4, 0u);
        EXPECT_EQ(decodeBase64(encoded), bytes);
        EXPECT_EQ(decodedBase64Length("\r\n " + encoded), length);
    }
}

TEST(Base64, CharactersOutsideOfTheAlphabetAreSkipped)
{
    const std::string text("\r\n Zm\t9\0v%YmFy\xE4==", 17);
    EXPECT_EQ(decodeBase64(text), "foobar");
    EXPECT_EQ(decodeBase64("Zg"), "f") << "the padding may be missing";
    EXPECT_EQ(decodeBase64("Z"), "") << "six bits are no byte";
}

TEST(Base64, UnitsOfAnAsciiTextAreEncodedAsBytes)
{
    std::uint32_t all = 0;
    EXPECT_EQ(encodeBase64Units(std::u16string_view(u"Trans1"), all), encodeBase64("Trans1"));
    EXPECT_LT(all, 0x80u);
    (void)encodeBase64Units(std::u16string_view(u"\u00FC"), all);
    EXPECT_GE(all, 0x80u);
}

} // namespace
