// The library as the engine uses it: found beside the host, through the contact parser.
#include "foundation/ContactParser.h"
#include "foundation/PhoneNumber.h"
#include "RegistryValues.h"
#include "TestFolder.h"
#include "text.h"

#include <cstdlib>
#include <gtest/gtest.h>

namespace {

class PhoneParserTest : public testing::Test {
protected:
    PhoneParserTest()
    {
        mbtest::setText(platform::Root::CurrentUser, u"Software\\Zorel\\Mirabook\\Main", u"Path",
                        platform::utf16(PHONE_LIBRARY_FOLDER) + u"/mb");
        live("en_US.UTF-8");
    }
    static void live(const char* locale) { setenv("LC_ALL", locale, 1); }
    static std::u16string normal(std::u16string_view phone) { return mb::NormalizePhoneNumber(phone, 0); }
    mbtest::TestFolder folder;
};

} // namespace

TEST_F(PhoneParserTest, ANumberIsSplitIntoItsParts)
{
    const mb::PhoneParts parts = mb::ContactParser().ParsePhone(u"+1 (212) 555-1234 ext. 56");
    EXPECT_EQ(parts.country, u"1");
    EXPECT_EQ(parts.area, u"212");
    EXPECT_EQ(parts.local, u"5551234");
    EXPECT_EQ(parts.extension, u"56");
    EXPECT_EQ(normal(u"+1 (212) 555-1234 ext. 56"), u"+1 212 5551234 ext. 56");
}

TEST_F(PhoneParserTest, EqualNumbersHaveOneForm)
{
    for (const char16_t* same : {u"(212) 555-1234", u"212.555.1234", u"1-212-555-1234", u"+1 212 5551234", u"tel:+1-212-555-1234"})
        EXPECT_EQ(normal(same), u"+1 212 5551234") << platform::utf8(same);
    EXPECT_EQ(normal(u"+49 30 123456"), normal(u"+49(0)30/123456"));
    EXPECT_EQ(normal(u"+49 30 123456"), u"+49 30 123456");
}

TEST_F(PhoneParserTest, ANumberWithoutItsCountryIsOfTheUsersOwn)
{
    live("de_DE.UTF-8");
    EXPECT_EQ(normal(u"030 123456"), u"+49 30 123456");
    live("C");
    EXPECT_EQ(normal(u"030 123456"), u"");
    EXPECT_EQ(normal(u"+49 30 123456"), u"+49 30 123456");
}

TEST_F(PhoneParserTest, WhatCannotBeParsedGivesEmptyFields)
{
    for (const std::u16string& bad :
         {std::u16string(u"call me"), std::u16string(u"+"), std::u16string(5000, u'1'), std::u16string(u"\xD800")}) {
        const mb::PhoneParts parts = mb::ContactParser().ParsePhone(bad);
        EXPECT_EQ(parts.country + parts.area + parts.local + parts.extension, u"");
    }
}
