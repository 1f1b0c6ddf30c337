// The code page of encoded texts on Linux: UTF-8.
#include "store/CBase64.h"

#include <gtest/gtest.h>

TEST(CodePage, TextOfAllAlphabetsRoundTrips)
{
    const std::u16string text = u"Żółć \u4F60\u597D \U0001F600 שלום";
    EXPECT_EQ(mb::decodeBase64(mb::encodeBase64(text)), text);
}
