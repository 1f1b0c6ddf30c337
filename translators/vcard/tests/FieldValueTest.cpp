// Fields whose text says more than one plain value: how it is read, and what is written for it.
#include "Card.h"

#include "CardText.h"

#include <random>

namespace mb::vcard {
namespace {

std::string cardWith(std::string_view version, const std::string& line)
{
    return "BEGIN:VCARD\r\nVERSION:" + std::string(version) + "\r\n" + line + "\r\nEND:VCARD\r\n";
}

std::string textOf(std::string_view version, const std::string& line, int type)
{
    return toUtf8(Card::parse(cardWith(version, line)).get(type));
}

// Returns the line after an edit of the field. The field has to read as the text then.
std::string edited(std::string_view version, const std::string& line, int type, std::string_view text)
{
    Card card = Card::parse(cardWith(version, line));
    card.set(type, fromUtf8(text));
    EXPECT_TRUE(card.readsBackFrom(card.bytes())) << card.bytes();
    EXPECT_EQ(toUtf8(Card::parse(card.bytes()).get(type)), text) << card.bytes();
    const std::string made = difference(cardWith(version, line), card.bytes()).second;
    return made.substr(0, made.find_last_not_of("\r\n") + 1);
}

// Expects that a new card gets the same line from the text that the field has.
void expectWrittenAgain(std::string_view version, const std::string& line, int type)
{
    EXPECT_EQ(edited(version, "X-NONE:", type, textOf(version, line, type)), line);
}

TEST(FieldValue, NicknamesAreAList)
{
    EXPECT_EQ(textOf("3.0", "NICKNAME:Rit,Ri", ftNickName), "Rit, Ri");
    EXPECT_EQ(textOf("3.0", "NICKNAME:Rit, Ri", ftNickName), "Rit, Ri");
    EXPECT_EQ(textOf("4.0", "NICKNAME:Chief\\, the,Boss", ftNickName), "Chief, the, Boss");
    EXPECT_EQ(textOf("2.1", "NICKNAME:Rit,Ri", ftNickName), "Rit, Ri");
    for (const char* version : {"2.1", "3.0", "4.0"}) {
        EXPECT_EQ(edited(version, "X-NONE:", ftNickName, "a, b"), "NICKNAME:a,b");
        for (const char* line : {"NICKNAME:Rit,Ri", "NICKNAME:Rit", "NICKNAME:a\\,b", "NICKNAME:a,,b", "NICKNAME:a\\;b,c\\\\"})
            expectWrittenAgain(version, line, ftNickName);
    }
}

TEST(FieldValue, AnEditOfOneNicknameKeepsTheSpellingOfTheOthers)
{
    EXPECT_EQ(edited("4.0", "NICKNAME:Chief\\, the,Boss", ftNickName, "Chief, the, Bosse"), "NICKNAME:Chief\\, the,Bosse");
    EXPECT_EQ(edited("4.0", "NICKNAME:Boss,Chief\\, the", ftNickName, "Boss, Ri, Chief, the"), "NICKNAME:Boss,Ri,Chief\\, the");
    EXPECT_EQ(edited("4.0", "NICKNAME:a,a\\, b", ftNickName, "a, b, a"), "NICKNAME:a\\, b,a");
    EXPECT_EQ(edited("4.0", "NICKNAME:Ri,Rit", ftNickName, "Rita, Rit"), "NICKNAME:Rita,Rit");
    EXPECT_EQ(edited("2.1", "NICKNAME:Chief\\, the,Boss", ftNickName, "Chief, the, Bosse"), "NICKNAME:Chief\\, the,Bosse");
    EXPECT_EQ(edited("3.0", "NICKNAME:a;b,c", ftNickName, "a;b, d"), "NICKNAME:a;b,d");
    EXPECT_EQ(edited("3.0", "NICKNAME:Rit,Ri", ftNickName, ""), "");
}

TEST(FieldValue, AnyTextIsReadBackAsAList)
{
    std::mt19937 random(static_cast<std::uint32_t>(testing::UnitTest::GetInstance()->random_seed()));
    constexpr std::string_view pieces[] = {"a", "b", ",", " ", ", ", "\\", ";", "\n", ":", "\xC3\xBC", "\\,"};
    for (int i = 0; i < 3000 && !testing::Test::HasFailure(); ++i) {
        const auto text = [&] {
            std::string made;
            for (auto n = random() % 6; n > 0; --n) made += pieces[random() % std::size(pieces)];
            return made;
        };
        const std::string version = random() % 3 == 0 ? "2.1" : random() % 2 ? "3.0" : "4.0", before = text(), after = text();
        SCOPED_TRACE("seed " + std::to_string(testing::UnitTest::GetInstance()->random_seed()) + ": " + before);
        Card card = Card::parse(cardWith(version, "X-NONE:"));
        card.set(ftNickName, fromUtf8(before));
        edited(version, logicalLines(card.bytes())[before.empty() ? 2 : 3], ftNickName, after);
    }
}

TEST(FieldValue, ADateKeepsItsTimeAndMayLackItsYear)
{
    EXPECT_EQ(textOf("4.0", "BDAY:19531015T231000Z", ftBirthday), "1953-10-15T23:10:00Z");
    EXPECT_EQ(textOf("4.0", "BDAY:19531015T23-05", ftBirthday), "1953-10-15T23-05");
    EXPECT_EQ(textOf("3.0", "BDAY;VALUE=date-time:1953-10-15T23:10:00-05:00", ftBirthday), "1953-10-15T23:10:00-05:00");
    EXPECT_EQ(textOf("4.0", "BDAY:--0412", ftBirthday), "--04-12");
    EXPECT_EQ(textOf("3.0", "BDAY:--04-12", ftBirthday), "--04-12");
    for (const char* line : {"BDAY:19531015T231000Z", "BDAY:19531015T2310-0500", "BDAY:19531015T231000.5+0100", "BDAY:19531015T23",
                             "BDAY:--0412", "BDAY:1985-04", "BDAY:1985", "BDAY:--04", "BDAY:---12", "BDAY:T102200", "BDAY:T10Z",
                             "BDAY:19531015", "BDAY;VALUE=text:circa 1800"})
        expectWrittenAgain("4.0", line, ftBirthday);
    for (const char* line :
         {"BDAY;VALUE=date-time:1953-10-15T23:10:00Z", "BDAY:1953-10-15", "BDAY:--04-12", "BDAY:1985-04", "BDAY:1985", "BDAY:circa 1800"})
        expectWrittenAgain("3.0", line, ftBirthday);
}

TEST(FieldValue, ATimeOfMidnightOrOfUnknownFormIsNotPartOfADate)
{
    for (const char* line : {"BDAY:1953-10-15T00:00:00Z", "BDAY;VALUE=date-time:19531015T000000", "BDAY:1953-10-15 00:00",
                             "BDAY:19531015T00:00:00.000-05:00", "BDAY:1953-10-15 at noon", "BDAY:1953-10-15T25"})
        for (const char* version : {"2.1", "3.0", "4.0"}) EXPECT_EQ(textOf(version, line, ftBirthday), "1953-10-15") << line;
}

TEST(FieldValue, AnEditedDateHasTheFormOfItsVersion)
{
    EXPECT_EQ(edited("4.0", "BDAY;VALUE=text:circa 1800", ftBirthday, "--04-12"), "BDAY:--0412");
    EXPECT_EQ(edited("4.0", "BDAY:--0412", ftBirthday, "1985-04-12T10:22:00Z"), "BDAY:19850412T102200Z");
    EXPECT_EQ(edited("4.0", "BDAY:19850412", ftBirthday, "T10:22"), "BDAY;VALUE=text:T10:22");
    EXPECT_EQ(edited("3.0", "BDAY:--0412", ftBirthday, "--04-13"), "BDAY:--0413");
    EXPECT_EQ(edited("3.0", "BDAY:19850412", ftBirthday, "1985-04-12T10:22:00Z"), "BDAY;VALUE=date-time:19850412T102200Z");
    EXPECT_EQ(edited("3.0", "BDAY;VALUE=date-time:1985-04-12T10:22:00Z", ftBirthday, "1985-04-13"), "BDAY:1985-04-13");
    EXPECT_EQ(edited("3.0", "BDAY;VALUE=date:1985-04-12", ftBirthday, "1985-04-12T10:22:00Z"), "BDAY;VALUE=date-time:1985-04-12T10:22:00Z");
    EXPECT_EQ(edited("2.1", "BDAY:1985-04-12", ftBirthday, "1985-04-12T10:22:00Z"), "BDAY:1985-04-12T10:22:00Z");
}

TEST(FieldValue, AGenderKeepsItsTextWhenTheSexIsEdited)
{
    EXPECT_EQ(textOf("4.0", "GENDER:M;male person", ftGender), "M");
    EXPECT_EQ(edited("4.0", "GENDER:M;male person", ftGender, "O"), "GENDER:O;male person");
    EXPECT_EQ(edited("4.0", "GENDER:M;it depends\\, ask", ftGender, "F"), "GENDER:F;it depends\\, ask");
    EXPECT_EQ(edited("4.0", "GENDER:M;male person", ftGender, "neither"), "GENDER:;neither");
    EXPECT_EQ(edited("4.0", "GENDER:;neither", ftGender, "F"), "GENDER:F");
    EXPECT_EQ(edited("4.0", "GENDER:M;male person", ftGender, ""), "");
    EXPECT_EQ(edited("3.0", "X-GENDER:male", ftGender, "F"), "X-GENDER:F");
}

TEST(FieldValue, ATelephoneNumberMayHaveAnExtension)
{
    const std::string line = "TEL;VALUE=uri;TYPE=cell:tel:+1-555-0100;ext=7";
    EXPECT_EQ(textOf("4.0", line, ftMobile), "+1-555-0100 ext. 7");
    EXPECT_EQ(textOf("4.0", "TEL;VALUE=uri;TYPE=cell:TEL:+1-555-0100;ext=7;isub=12", ftMobile), "+1-555-0100;ext=7;isub=12");
    EXPECT_EQ(textOf("4.0", "TEL;TYPE=cell:+1-555-0100 ext. 7", ftMobile), "+1-555-0100 ext. 7");
    EXPECT_EQ(edited("4.0", line, ftMobile, "+1-555-0199 ext. 8"), "TEL;VALUE=uri;TYPE=cell:tel:+1-555-0199;ext=8");
    EXPECT_EQ(edited("4.0", line, ftMobile, "+1-555-0199"), "TEL;VALUE=uri;TYPE=cell:tel:+1-555-0199");
    EXPECT_EQ(edited("4.0", line, ftMobile, "(555) 0199 ext. 8"), "TEL;TYPE=cell:(555) 0199 ext. 8");
    EXPECT_EQ(edited("4.0", line, ftMobile, "+1-555-0100;ext=8;isub=12"), "TEL;VALUE=uri;TYPE=cell:tel:+1-555-0100;ext=8;isub=12");
    for (const char* text : {"+1-555-0199 ext. 8 or 9", "ext. 8", "+", "+1-555;ext=7", "1;\\x", "+1-555 ext. ", "1 ext. 2 ext. 3", "1;,"})
        EXPECT_EQ(edited("4.0", line, ftMobile, text).substr(0, 14), "TEL;TYPE=cell:") << text;
}

TEST(FieldValue, AComponentThatIsAListStaysOneWhenItIsEdited)
{
    const std::string line = "N:Doe;Jane;Philip,Paul;;Jr.,M.D.\\, ret.";
    EXPECT_EQ(textOf("4.0", line, ftMiddleName), "Philip,Paul");
    EXPECT_EQ(edited("4.0", line, ftMiddleName, "Philip,Paula"), "N:Doe;Jane;Philip,Paula;;Jr.,M.D.\\, ret.");
    EXPECT_EQ(edited("4.0", line, ftMiddleName, "Philip"), "N:Doe;Jane;Philip;;Jr.,M.D.\\, ret.");
    EXPECT_EQ(edited("4.0", line, ftNameSuffix, "Sr.,M.D., ret."), "N:Doe;Jane;Philip,Paul;;Sr.,M.D.\\, ret.");
    EXPECT_EQ(edited("4.0", line, ftLastName, "Doe,Roe"), "N:Doe\\,Roe;Jane;Philip,Paul;;Jr.,M.D.\\, ret.");
    EXPECT_EQ(edited("3.0", "N:;;Philip, Paul;;", ftMiddleName, "Philip, Paula"), "N:;;Philip, Paula;;");
    EXPECT_EQ(edited("2.1", "N:;;Philip,Paul;;", ftMiddleName, "Philip,Paula"), "N:;;Philip,Paula;;");
    EXPECT_EQ(edited("3.0", "ADR:;;1 Mill Lane,Floor 2;;;;", ftStreet3, "1 Mill Lane,Floor 3"), "ADR:;;1 Mill Lane,Floor 3;;;;");
    EXPECT_EQ(edited("3.0", "ORG:Acme;x,y\\", ftDepartment, "y\\,z"), "ORG:Acme;y\\\\,z");
    EXPECT_EQ(edited("3.0", "ORG:Acme\\, Ltd.", ftCompany, "Acme, Inc."), "ORG:Acme\\, Inc.");
}

TEST(FieldValue, ACategoryKeepsItsCommaWhenAnotherIsAdded)
{
    const std::string line = "CATEGORIES:Friends,Choir\\, second row";
    for (const char* version : {"2.1", "3.0", "4.0"}) {
        EXPECT_EQ(edited(version, line, ftCategories, "Friends, Choir, second row, Work"), line + ",Work");
        EXPECT_EQ(edited(version, line, ftCategories, "Choir, second row"), "CATEGORIES:Choir\\, second row");
        EXPECT_EQ(edited(version, line, ftCategories, "Choir, Work"), "CATEGORIES:Choir,Work");
    }
    Card card = Card::parse(cardWith("3.0", line));
    card.set(ftCategories, u" Work,Friends ,, Choir,second row");
    EXPECT_EQ(card.get(ftCategories), u"Work, Friends, Choir, second row");
    EXPECT_NE(card.bytes().find("CATEGORIES:Work,Friends,Choir,second row\r\n"), std::string::npos) << card.bytes();
    EXPECT_EQ(edited("3.0", "CATEGORIES:a,b\\", ftCategories, "b\\, a"), "CATEGORIES:b\\\\,a") << "no backslash escapes the comma";
}

// An algorithm that is not linear would take minutes.
TEST(FieldValue, HugeListsTakeLinearTime)
{
    std::string list = "a";
    for (int i = 0; i < 100000; ++i) list += "," + std::to_string(i);
    for (const char* version : {"2.1", "3.0"}) {
        const std::string line = "NICKNAME:" + list;
        std::string text = textOf(version, line, ftNickName);
        edited(version, line, ftNickName, text + "0");
        edited(version, line, ftNickName, text + ",  0"); // one value with many commas
        edited(version, "N:" + list, ftLastName, list + "0");
        edited(version, "CATEGORIES:" + list, ftCategories, text + "0");
    }
}

} // namespace
} // namespace mb::vcard
