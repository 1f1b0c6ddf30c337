// The code page of encoded texts on Windows: that of the thread's locale.
#include "store/CBase64.h"

#include <gtest/gtest.h>
#include <windows.h>

namespace {

class CodePage : public testing::Test {
protected:
    ~CodePage() override { SetThreadLocale(former); }
    const LCID former = GetThreadLocale();
};

} // namespace

TEST_F(CodePage, TextOfTheThreadsLocaleRoundTrips)
{
    ASSERT_TRUE(SetThreadLocale(MAKELCID(MAKELANGID(LANG_GREEK, SUBLANG_GREEK_GREECE), SORT_DEFAULT)));
    EXPECT_EQ(mb::encodeBase64(u"\u03B1\u03B2\u03B3"), "4eLj"); // bytes E1 E2 E3 of code page 1253
    EXPECT_EQ(mb::decodeBase64("4eLj"), u"\u03B1\u03B2\u03B3");
}

TEST_F(CodePage, ACharacterOutsideOfItIsReadAsTheDefaultCharacter)
{
    ASSERT_TRUE(SetThreadLocale(MAKELCID(MAKELANGID(LANG_ENGLISH, SUBLANG_ENGLISH_US), SORT_DEFAULT)));
    EXPECT_EQ(mb::decodeBase64(mb::encodeBase64(u"Zo\u00EB \u4F60")), u"Zo\u00EB ?");
}
