// The library as the engine uses it: found beside the host, through the contact parser.
#include "foundation/PhoneNumber.h"
#include "PhoneFixture.h"

namespace {

class PhoneParserTest : public mbtest::PhoneFixture {
protected:
    static std::string normal(std::u16string_view phone) { return platform::utf8(mb::NormalizePhoneNumber(phone, 0)); }
    static void expectAsWritten(std::initializer_list<const char16_t*> phones)
    {
        for (const char16_t* phone : phones) EXPECT_EQ(normal(phone), "") << platform::utf8(phone);
    }
};

} // namespace

TEST_F(PhoneParserTest, ANumberIsSplitIntoItsParts)
{
    const mb::PhoneParts parts = mb::ContactParser().ParsePhone(u"+1 (212) 555-1234 ext. 56");
    EXPECT_EQ(parts.country, u"1");
    EXPECT_EQ(parts.area, u"212");
    EXPECT_EQ(parts.local, u"5551234");
    EXPECT_EQ(parts.extension, u"56");
    EXPECT_EQ(normal(u"+1 (212) 555-1234 ext. 56"), "+1 212 5551234 ext. 56");
}

TEST_F(PhoneParserTest, EqualNumbersHaveOneForm)
{
    for (const char16_t* same : {u"(212) 555-1234", u"212.555.1234", u"1-212-555-1234", u"+1 212 5551234", u"tel:+1-212-555-1234"})
        EXPECT_EQ(normal(same), "+1 212 5551234") << platform::utf8(same);
    EXPECT_EQ(normal(u"+49 30 123456"), normal(u"+49(0)30/123456"));
    EXPECT_EQ(normal(u"+49 30 123456"), "+49 30 123456");
}

TEST_F(PhoneParserTest, ANumberWithoutItsCountryIsOfTheUsersOwn)
{
    live("de_DE.UTF-8");
    EXPECT_EQ(normal(u"030 123456"), "+49 30 123456");
    live("C");
    EXPECT_EQ(normal(u"030 123456"), "");
    EXPECT_EQ(normal(u"+49 30 123456"), "+49 30 123456");
}

TEST_F(PhoneParserTest, WhatCannotBeParsedGivesEmptyFields)
{
    for (const std::u16string& bad :
         {std::u16string(u"call me"), std::u16string(u"+"), std::u16string(5000, u'1'), std::u16string(u"\xD800")}) {
        const mb::PhoneParts parts = mb::ContactParser().ParsePhone(bad);
        EXPECT_EQ(parts.country + parts.area + parts.local + parts.extension, u"");
    }
}

TEST_F(PhoneParserTest, ANumberWithARemarkStaysAsWritten)
{
    expectAsWritten({u"212-555-1234 home", u"212-555-1234 pm", u"home 212-555-1234", u"212-555-1234 (Ann)", u"212-555-1234 pm x12",
                     u"212-555-1234 x12 pm", u"Tel. 212-555-1234", u"+1 212 555 1234 ext. 12 ext. 13", u"+1 212 555 1234 or 555 1235",
                     u"212 555 1234 / 212 555 1235", u"212 555 1234 ?", u"212 555 1234, 9", u"+1 212 555 1234 ext."});
}

TEST_F(PhoneParserTest, ANumberWithADialledCodeStaysAsWritten)
{
    expectAsWritten({u"*67 212 555 1234", u"*82 1 212 555 1234", u"#31# 212 555 1234", u"212 555 1234,,12", u"212 555 1234;9",
                     u"212 555 1234#", u"212+5551234", u"++1 212 555 1234", u"+1 212 555 1234 +"});
}

TEST_F(PhoneParserTest, AShortNumberStaysAsWritten)
{
    expectAsWritten({u"911", u"411", u"+1 911"});
    live("de_DE.UTF-8");
    expectAsWritten({u"112", u"110", u"116117", u"116 117"});
    live("fr_FR.UTF-8");
    expectAsWritten({u"17", u"3631"});
}

TEST_F(PhoneParserTest, ANumberThatIsNotPossibleInItsCountryStaysAsWritten)
{
    expectAsWritten({u"020 7946 0958", u"00 44 20 7946 0958", u"0049 30 123456", u"212 555 12345", u"+1 212 555 12", u"+999 123456"});
}

// It is dialled within its area alone, and the area is not known.
TEST_F(PhoneParserTest, ANumberWithoutItsAreaStaysAsWritten) { expectAsWritten({u"555-1234", u"5551234", u"555-1234 x12"}); }

TEST_F(PhoneParserTest, LettersOnTheKeysStayAsWrittenSinceDigitsWouldNotSayTheSame)
{
    expectAsWritten({u"1-800-FLOWERS", u"+1 800 FLOWERS", u"1 800 555 CARS", u"1-800-FLOWERS x12"});
}

// The carrier's code and the 15 of a mobile number would be lost.
TEST_F(PhoneParserTest, ANumberOfWhichThePlanWouldDropMoreThanATrunkPrefixStaysAsWritten)
{
    live("pt_BR.UTF-8");
    EXPECT_EQ(normal(u"11 91234-5678"), "+55 11 912345678");
    EXPECT_EQ(normal(u"0 11 91234-5678"), "+55 11 912345678");
    expectAsWritten({u"0 15 11 91234-5678"});
    live("es_AR.UTF-8");
    EXPECT_EQ(normal(u"+54 9 11 1234-5678"), "+54 911 12345678");
    expectAsWritten({u"011 15 1234-5678"});
}

TEST_F(PhoneParserTest, OrdinaryNumbersAreSplitWithTheirCountryAndWithout)
{
    for (const char16_t* same : {u"212 555 1234", u"(212)555-1234", u"[212] 555.1234", u"1 (212) 555-1234", u"+1(212)555-1234",
                                 u"(+1) 212 555 1234", u"011 1 212 555 1234", u" 212\u00A0555\u20111234 ", u"TEL:+1-212-555-1234",
                                 u"\uFF12\uFF11\uFF12 \uFF15\uFF15\uFF15 \uFF11\uFF12\uFF13\uFF14"})
        EXPECT_EQ(normal(same), "+1 212 5551234") << platform::utf8(same);
    EXPECT_EQ(normal(u"011 44 20 7946 0958"), "+44 20 79460958");
    EXPECT_EQ(normal(u"011 20 2 2345 6789"), "+20 2 23456789");
    EXPECT_EQ(normal(u"+800 1234 5678"), "+800 1234 5678");
}

TEST_F(PhoneParserTest, AnExtensionIsSplitOffHoweverItIsAnnounced)
{
    for (const char16_t* same :
         {u"212-555-1234 ext. 12", u"212-555-1234 x12", u"212-555-1234x12", u"212 555 1234 Ext 12", u"212 555 1234, extension 12",
          u"212 555 1234 extn: 12", u"+1 212 555 1234 #12", u"(212) 555-1234 (ext. 12)", u"tel:+1-212-555-1234;ext=12"})
        EXPECT_EQ(normal(same), "+1 212 5551234 ext. 12") << platform::utf8(same);
}

TEST_F(PhoneParserTest, NationalFormsAreSplitByThePlanOfTheUsersCountry)
{
    struct {
        const char* locale;
        const char16_t* written;
        const char* normal;
    } const known[] = {{"de_DE.UTF-8", u"030/123456", "+49 30 123456"},           {"de_DE.UTF-8", u"0171 2345678", "+49 171 2345678"},
                       {"de_DE.UTF-8", u"00 44 20 7946 0958", "+44 20 79460958"}, {"en_GB.UTF-8", u"020 7946 0958", "+44 20 79460958"},
                       {"en_GB.UTF-8", u"44 20 7946 0958", "+44 20 79460958"},    {"de_AT.UTF-8", u"(01) 531 15-0", "+43 1 531150"},
                       {"fr_FR.UTF-8", u"06 12 34 56 78", "+33 6 12345678"},      {"it_IT.UTF-8", u"02 1234 5678", "+39 02 12345678"},
                       {"ru_RU.UTF-8", u"8 (495) 123-45-67", "+7 495 1234567"},   {"hu_HU.UTF-8", u"06 1 234 5678", "+36 1 2345678"}};
    for (const auto& [locale, written, expected] : known) {
        live(locale);
        EXPECT_EQ(normal(written), expected) << locale << " " << platform::utf8(written);
    }
}
