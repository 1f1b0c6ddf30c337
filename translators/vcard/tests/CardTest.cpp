#include "Card.h"

#include "CardText.h"
#include "Charset.h"
#include "LineReader.h"

namespace mb::vcard {
namespace {

std::vector<std::string> physicalLines(const std::string& text)
{
    std::vector<std::string> lines;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = std::min(text.find('\n', at), text.size() - 1) + 1;
        lines.push_back(text.substr(at, end - at));
        at = end;
    }
    return lines;
}

using Change = std::pair<std::string, std::string>;

Change changeOf(Card card, int type, std::u16string_view value)
{
    const std::string before = card.bytes();
    card.set(type, value);
    return difference(before, card.bytes());
}

std::string v30(const std::string& lines) { return "BEGIN:VCARD\r\nVERSION:3.0\r\n" + lines + "END:VCARD\r\n"; }
std::string v40(const std::string& lines) { return "BEGIN:VCARD\r\nVERSION:4.0\r\n" + lines + "END:VCARD\r\n"; }
std::string v21(const std::string& lines) { return "BEGIN:VCARD\r\nVERSION:2.1\r\n" + lines + "END:VCARD\r\n"; }

TEST(Card, ReadsEscapesOfVersion21OnlyInStructuredValues)
{
    const Card card = Card::parse(v21("N:;A\\;B\\\\;C\\\\\\;;D;\\:E;\\\\\\\\;\r\nFN:A;B\\C\\;D:E\\\\\r\n"));
    expectFields(card, {{ftLastName, u""},
                        {ftFirstName, u"A;B\\"},
                        {ftMiddleName, u"C\\;"},
                        {ftNamePrefix, u"D"},
                        {ftNameSuffix, u":E"},
                        {ftDisplayName, u"A;B\\C\\;D:E\\\\"}});
}

TEST(Card, ReadsRepeatedPropertiesInTheirOrder)
{
    const Card card =
        Card::parse(v30("EMAIL:a\r\nEMAIL;TYPE=PREF:b\r\nEMAIL:c\r\nURL:u1\r\nURL:u2\r\nURL:u3\r\nTEL;TYPE=CELL:1\r\nTEL;TYPE=CELL:2\r\n"
                        "ADR;TYPE=HOME:;;h;;;;\r\nADR;TYPE=WORK:;;w;;;;\r\nADR:;;o;;;;\r\nADR;TYPE=HOME:;;h2;;;;\r\n"));
    expectFields(card, {{ftEmail1, u"a"},
                        {ftEmail2, u"b"},
                        {ftEmail3, u"c"},
                        {ftWebPage, u"u1"},
                        {ftWebPage2, u"u2"},
                        {ftMobile, u"1"},
                        {ftMiscPhone1, u"2"},
                        {ftStreet1, u"w"},
                        {ftStreet2, u"h"},
                        {ftStreet3, u"o"}});
}

TEST(Card, ReadsPropertyNamesOfOtherPrograms)
{
    expectFields(
        Card::parse(v40("GENDER:M\r\nX-GENDER:male\r\nIMPP:aim:joe\r\nIMPP:xmpp:joe@x.org\r\nRELATED;TYPE=spouse;VALUE=text:Ann\r\n"
                        "TEL;VALUE=uri;TYPE=\"voice,home\":tel:+1-555\r\nTEL;TYPE=main:7\r\nTEL;TYPE=textphone:8\r\n")),
        {{ftGender, u"M"},
         {ftIMAIM, u"joe"},
         {ftIM, u"xmpp:joe@x.org"},
         {ftSpouseName, u"Ann"},
         {ftHomePhone, u"+1-555"},
         {ftMainPhone, u"7"},
         {ftPhoneTDD, u"8"}});
    expectFields(
        Card::parse(v30(
            "X-GENDER:male\r\nitem1.X-ABRELATEDNAMES:Ann\r\nitem1.X-ABLabel:_$!<Spouse>!$_\r\nitem2.TEL:5\r\nitem2.X-ABLabel:homeFax\r\n")),
        {{ftGender, u"male"}, {ftSpouseName, u"Ann"}, {ftHomeFax, u"5"}});
}

TEST(Card, EditsExactlyTheLineOfTheField)
{
    const Card card =
        Card::parse(v30("N:Doe;Jane;;;\r\nFN:Jane Doe\r\nitem1.TEL;TYPE=CELL;X-A=\"b:c\":1\r\nX-Odd:a\\\\b\r\nORG:A;B;C\r\n"));
    EXPECT_EQ(changeOf(card, ftMobile, u"2"), Change("item1.TEL;TYPE=CELL;X-A=\"b:c\":1\r\n", "item1.TEL;TYPE=CELL;X-A=\"b:c\":2\r\n"));
    EXPECT_EQ(changeOf(card, ftLastName, u"Roe; x"), Change("N:Doe;Jane;;;\r\n", "N:Roe\\; x;Jane;;;\r\n"));
    EXPECT_EQ(changeOf(card, ftDepartment, u""), Change("ORG:A;B;C\r\n", "ORG:A;;C\r\n"));
    EXPECT_EQ(changeOf(card, ftNotes, u"a\r\nb,c"), Change("", "NOTE:a\\nb\\,c\r\n"));
    EXPECT_EQ(changeOf(card, ftMobile, u""), Change("item1.TEL;TYPE=CELL;X-A=\"b:c\":1\r\n", ""));
    EXPECT_EQ(changeOf(card, ftBirthday, u"1980-03-21"), Change("", "BDAY:1980-03-21\r\n"));
    EXPECT_EQ(changeOf(card, ftCustom2, u"mine"), Change("", "X-MB-CUSTOM2:mine\r\n"));
}

TEST(Card, EditsInTheLineEndAndFoldingOfTheFile)
{
    EXPECT_EQ(changeOf(Card::parse("BEGIN:VCARD\nVERSION:3.0\nNOTE:a\n b\nEND:VCARD"), ftNotes, u"c"), Change("NOTE:a\n b\n", "NOTE:c\n"));
    EXPECT_EQ(changeOf(Card::parse("BEGIN:VCARD\r\r\nVERSION:3.0\r\r\nEND:VCARD\r\r\n"), ftTitle, u"c"), Change("", "TITLE:c\r\r\n"));
    EXPECT_EQ(changeOf(Card::parse("BEGIN:VCARD\nVERSION:3.0\nTITLE:x\r\nNOTE:y\nEND:VCARD\n"), ftTitle, u"c"),
              Change("TITLE:x\r\n", "TITLE:c\r\n"));
}

TEST(Card, FoldsAt75OctetsAndNotInsideACharacter)
{
    for (const std::string& start : {v30("TITLE:x\r\n"), v40("TITLE:x\r\n"), v21("TITLE;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:x\r\n")})
        for (std::size_t shift = 0; shift < 5; ++shift) {
            Card card = Card::parse(start);
            std::u16string text(shift, u'x');
            for (int i = 0; i < 80; ++i) text += u"ü€\U0001F642 ";
            text += u"end";
            card.set(ftTitle, text);
            for (const std::string& line : physicalLines(card.bytes())) {
                EXPECT_LE(line.size(), 75u + 2u);
                EXPECT_TRUE(isUtf8(line)) << line;
            }
            EXPECT_EQ(Card::parse(card.bytes()).get(ftTitle), text);
        }
}

TEST(Card, Version21StaysVersion21)
{
    const Card card = Card::parse(v21("N:Doe;Jane\r\nTEL;WORK;VOICE:1\r\n"));
    EXPECT_EQ(changeOf(card, ftPhone, u"2"), Change("TEL;WORK;VOICE:1\r\n", "TEL;WORK;VOICE:2\r\n"));
    EXPECT_EQ(changeOf(card, ftHomePhone, u"3"), Change("", "TEL;HOME;VOICE:3\r\n"));
    EXPECT_EQ(changeOf(card, ftLastName, u"Müller"),
              Change("N:Doe;Jane\r\n", "N;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:M=C3=BCller;Jane\r\n"));
    EXPECT_EQ(changeOf(card, ftNotes, u"a\nb, c"), Change("", "NOTE;ENCODING=QUOTED-PRINTABLE:a=0D=0Ab, c\r\n"));
    EXPECT_EQ(changeOf(card, ftMainPhone, u"4"), Change("", "TEL;X-MB-FIELD=25:4\r\n"));
    EXPECT_EQ(changeOf(card, ftEmail1, u"j@x.org"), Change("", "EMAIL;INTERNET:j@x.org\r\n"));
}

TEST(Card, WritesInTheCharsetOfTheFileWhereItCan)
{
    const Card ansi = Card::parse(v21("N:M\xFCller;J\xF6rg\r\n"));
    EXPECT_EQ(changeOf(ansi, ftLastName, u"Größe€"), Change("N:M\xFCller;J\xF6rg\r\n", "N:Gr\xF6\xDF"
                                                                                       "e\x80;J\xF6rg\r\n"));
    EXPECT_EQ(changeOf(ansi, ftLastName, u"Ł"),
              Change("N:M\xFCller;J\xF6rg\r\n", "N;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:=C5=81;J=C3=B6rg\r\n"));
    const Card later = Card::parse(v30("FN:M\xFCller\r\nTITLE:x\r\n"));
    EXPECT_EQ(changeOf(later, ftTitle, u"ü"), Change("TITLE:x\r\n", "TITLE:\xFC\r\n"));
    EXPECT_EQ(changeOf(later, ftTitle, u"Ł"), Change("TITLE:x\r\n", "TITLE;CHARSET=UTF-8:\xC5\x81\r\n"));
    const Card declared = Card::parse(v21("FN;CHARSET=WINDOWS-1251:\xCA\xE8\xBF\xE2\r\n"));
    EXPECT_EQ(changeOf(declared, ftDisplayName, u"Іван"),
              Change("FN;CHARSET=WINDOWS-1251:\xCA\xE8\xBF\xE2\r\n", "FN;CHARSET=WINDOWS-1251:\xB2\xE2\xE0\xED\r\n"));
}

TEST(Card, Version40WritesItsOwnForms)
{
    const Card card = Card::parse(v40("FN:x\r\nTEL;VALUE=uri;TYPE=home:tel:+1-555\r\n"));
    EXPECT_EQ(changeOf(card, ftBirthday, u"1980-03-21"), Change("", "BDAY:19800321\r\n"));
    EXPECT_EQ(changeOf(card, ftBirthday, u"in spring"), Change("", "BDAY;VALUE=text:in spring\r\n"));
    EXPECT_EQ(changeOf(card, ftPhone, u"1"), Change("", "TEL;TYPE=work,voice:1\r\n"));
    EXPECT_EQ(changeOf(card, ftHomePhone, u"+1 (555) 7"), Change("TEL;VALUE=uri;TYPE=home:tel:+1-555\r\n", "TEL;TYPE=home:+1 (555) 7\r\n"));
    EXPECT_EQ(changeOf(card, ftGender, u"F"), Change("", "GENDER:F\r\n"));
    EXPECT_EQ(changeOf(card, ftGender, u"other"), Change("", "GENDER:;other\r\n"));
    EXPECT_EQ(changeOf(card, ftIM, u"joe@x.org"), Change("", "IMPP:im:joe@x.org\r\n"));
    EXPECT_EQ(changeOf(card, ftIM, u"aim:joe"), Change("", "IMPP;X-MB-FIELD=50:aim:joe\r\n"));
}

TEST(CardEdit, AMarkIsDroppedWhereALaterFieldMakesItNeedless)
{
    Card card = Card::make("1", "\r\n", Version::V30);
    const std::string empty = card.bytes();
    const std::vector<std::pair<int, std::u16string_view>> written{{ftEmail3, u"c"},      {ftEmail2, u"b"},     {ftMiscPhone2, u"m2"},
                                                                   {ftMiscPhone1, u"m1"}, {ftOtherPhone, u"o"}, {ftWebPage2, u"w2"},
                                                                   {ftWebPage, u"w"},     {ftEmail1, u"a"}};
    for (const auto& [type, text] : written) card.set(type, text);
    EXPECT_NE(card.bytes().find("X-MB-FIELD"), std::string::npos);
    card.dropNeedlessMarks();
    EXPECT_EQ(card.bytes().find("X-MB-FIELD"), std::string::npos) << card.bytes();
    EXPECT_TRUE(card.readsBackFrom(card.bytes()));
    const Card again = Card::parse(card.bytes());
    for (const auto& [type, text] : written) EXPECT_EQ(toUtf8(again.get(type)), toUtf8(text)) << type;
    Card parsed = Card::parse(empty.substr(0, empty.find("END:")) + "EMAIL;X-MB-FIELD=29:a\r\nEND:VCARD\r\n");
    const std::string before = parsed.bytes();
    parsed.dropNeedlessMarks();
    EXPECT_EQ(parsed.bytes(), before) << "a line that was not written stays";
}

TEST(CardEdit, AMarkThatTellsTheFieldStays)
{
    Card card = Card::make("1", "\r\n", Version::V30);
    card.set(ftEmail2, u"b");
    card.set(ftDirectPhone, u"1");
    card.dropNeedlessMarks();
    EXPECT_EQ(toUtf8(Card::parse(card.bytes()).get(ftEmail2)), "b");
    EXPECT_EQ(toUtf8(Card::parse(card.bytes()).get(ftDirectPhone)), "1");
    EXPECT_EQ(toUtf8(card.get(ftOtherPhone)), "");
}

TEST(Card, ClearingOneOfSeveralDoesNotMoveTheOthers)
{
    Card card = Card::parse(v30("EMAIL:a\r\nEMAIL:b\r\nTEL;TYPE=CELL:1\r\nTEL;TYPE=CELL:2\r\n"));
    card.set(ftEmail1, u"");
    card.set(ftMobile, u"");
    const Card again = Card::parse(card.bytes());
    expectFields(again, {{ftEmail1, u""}, {ftEmail2, u"b"}, {ftMobile, u""}, {ftMiscPhone1, u"2"}});
    EXPECT_EQ(changeOf(again, ftEmail2, u""), Change("EMAIL:b\r\n", ""));
    EXPECT_EQ(changeOf(again, ftEmail1, u"c"), Change("EMAIL:\r\n", "EMAIL:c\r\n"));
}

TEST(Card, AGapBetweenFieldsIsKept)
{
    Card card = Card::make("u");
    card.set(ftEmail3, u"third@x.org");
    card.set(ftWebPage2, u"http://second");
    card.set(ftPhoneSales, u"sales");
    const Card again = Card::parse(card.bytes());
    expectFields(again, {{ftEmail1, u""},
                         {ftEmail2, u""},
                         {ftEmail3, u"third@x.org"},
                         {ftWebPage, u""},
                         {ftWebPage2, u"http://second"},
                         {ftPhoneSales, u"sales"},
                         {ftOtherPhone, u""}});
}

TEST(Card, PropertiesThatAVersionRequiresAreNotRemoved)
{
    EXPECT_EQ(changeOf(Card::parse(v30("FN:x\r\nN:a;;;;\r\n")), ftDisplayName, u""), Change("FN:x\r\n", "FN:\r\n"));
    EXPECT_EQ(changeOf(Card::parse(v30("FN:x\r\nN:a;;;;\r\n")), ftLastName, u""), Change("N:a;;;;\r\n", "N:;;;;\r\n"));
    EXPECT_EQ(changeOf(Card::parse(v40("FN:x\r\nN:a;;;;\r\n")), ftLastName, u""), Change("N:a;;;;\r\n", ""));
}

TEST(Card, NestedCardsAreKeptAndNotRead)
{
    const Card card =
        Card::parse("BEGIN:VCARD\nVERSION:2.1\nN:Boss\nAGENT:\nBEGIN:VCARD\nVERSION:2.1\nN:Agent\nTEL;WORK:9\nEND:VCARD\nEND:VCARD\n");
    expectFields(card, {{ftLastName, u"Boss"}, {ftPhone, u""}});
    EXPECT_EQ(changeOf(card, ftPhone, u"1"), Change("", "TEL;WORK;VOICE:1\n"));
}

TEST(Card, ANewLineIsNotJoinedByASoftBreak)
{
    Card card = Card::parse("BEGIN:VCARD\nVERSION:2.1\nTITLE:t\nNOTE;ENCODING=QUOTED-PRINTABLE:x=\nEND:VCARD\n");
    card.set(ftPhone, u"1");
    EXPECT_EQ(Card::parse(card.bytes()).get(ftPhone), u"1");
    EXPECT_EQ(Card::parse(card.bytes()).get(ftNotes),
              Card::parse("BEGIN:VCARD\nVERSION:2.1\nNOTE;ENCODING=QUOTED-PRINTABLE:x=\nEND:VCARD\n").get(ftNotes));
}

// Some programs end the last line of a value like the others.
TEST(Card, ASoftBreakBehindTheLastLineOfAValueIsNoText)
{
    const Card card = Card::parse(v21("ORG;ENCODING=QUOTED-PRINTABLE:a=\r\nb=\r\n\r\nTITLE;ENCODING=QUOTED-PRINTABLE:c=\r\n"));
    expectFields(card, {{ftCompany, u"ab"}, {ftTitle, u"c"}});
    EXPECT_EQ(changeOf(card, ftTitle, u"d="), Change("TITLE;ENCODING=QUOTED-PRINTABLE:c=\r\n", "TITLE;ENCODING=QUOTED-PRINTABLE:d=3D\r\n"));
}

TEST(Card, ANewLineIsInsertedBeforeEndEvenIfBlankLinesFollow)
{
    EXPECT_EQ(changeOf(Card::parse("\nBEGIN:VCARD\nVERSION:3.0\nEND:VCARD\n\n  \n"), ftTitle, u"t"), Change("", "TITLE:t\n"));
}

TEST(Card, ControlCharactersAndUnpairedSurrogatesAreNotWritten)
{
    Card card = Card::make("u");
    card.set(ftTitle, std::u16string_view(u"a\0b\x0001"
                                          u"c\tD\xD800",
                                          8));
    EXPECT_EQ(card.get(ftTitle), u"abc\tD\uFFFD");
    EXPECT_FALSE(scanCards(card.bytes()).error);
}

TEST(Card, ANewCardIsACompleteCardOfVersion40)
{
    Card card = Card::make("4fbe8971-0bc3-424c-9c26-36c3e1eff6b1");
    card.set(ftFirstName, u"Jane");
    card.set(ftLastName, u"Doe");
    card.completeName();
    EXPECT_EQ(card.bytes(), v40("UID:urn:uuid:4fbe8971-0bc3-424c-9c26-36c3e1eff6b1\r\nN:Doe;Jane;;;\r\nFN;DERIVED=true:Jane Doe\r\n"));
}

TEST(Card, ANewCardOfVersion30HasTheNamesThatItsVersionRequires)
{
    for (const Version version : {Version::V30, Version::V21}) {
        Card card = Card::make("4fbe8971-0bc3-424c-9c26-36c3e1eff6b1", "\n", version);
        EXPECT_EQ(card.version(), Version::V30) << "no new card is of version 2.1";
        card.set(ftCompany, u"Acme");
        card.completeName();
        std::string expected = v30("UID:urn:uuid:4fbe8971-0bc3-424c-9c26-36c3e1eff6b1\r\nN:;;;;\r\nORG:Acme\r\nFN;DERIVED=true:Acme\r\n");
        std::erase(expected, '\r');
        EXPECT_EQ(card.bytes(), expected);
        card.set(ftFirstName, u"Jane");
        card.completeName();
        expectFields(Card::parse(card.bytes()), {{ftFirstName, u"Jane"}, {ftDisplayName, u""}, {ftCompany, u"Acme"}});
        EXPECT_NE(card.bytes().find("\nFN;DERIVED=true:Jane\n"), std::string::npos);
    }
}

TEST(Card, ADerivedNameReadsAsEmptyFollowsItsSourcesAndYieldsToARealName)
{
    Card card = Card::parse(v40("FN;DERIVED=true:Jane Doe\r\nN:Doe;Jane;;;\r\n"));
    EXPECT_EQ(card.get(ftDisplayName), u"");
    card.completeName();
    EXPECT_EQ(card.bytes(), v40("FN;DERIVED=true:Jane Doe\r\nN:Doe;Jane;;;\r\n"));
    card.set(ftLastName, u"Roe");
    card.completeName();
    EXPECT_EQ(card.bytes(), v40("FN;DERIVED=true:Jane Roe\r\nN:Roe;Jane;;;\r\n"));
    EXPECT_TRUE(card.set(ftDisplayName, u"Jane Roe"));
    card.completeName();
    EXPECT_EQ(card.bytes(), v40("FN:Jane Roe\r\nN:Roe;Jane;;;\r\n"));
    card.set(ftDisplayName, u"");
    card.completeName();
    EXPECT_EQ(card.get(ftDisplayName), u"");
    Card old = Card::parse(v21("N:Doe;Jane;;;\r\n"));
    old.completeName();
    EXPECT_EQ(old.bytes(), v21("N:Doe;Jane;;;\r\n")) << "version 2.1 does not require FN";
}

TEST(Card, EveryVersionHoldsEveryField)
{
    for (const std::string& start : {v21("N:x\r\n"), v30("N:x;;;;\r\nFN:y\r\n"), v40("FN:y\r\n"), v21("N:\xFC\r\n"), v30("FN:\xFC\r\n"),
                                     Card::make("u", "\r\n", Version::V30).bytes(), Card::make("u").bytes()}) {
        Card card = Card::parse(start);
        Texts wanted;
        for (const Field& f : fields()) {
            if (f.shape == Shape::Image) continue; // not a text
            wanted[f.type] = f.type == ftBirthday     ? u"1980-03-21"
                             : f.type == ftCategories ? u"Ä, b"
                                                      : u"value; of, " + std::u16string(1, u'é') + u"\\ " + std::u16string(f.type, u'z');
            EXPECT_TRUE(card.set(f.type, wanted[f.type])) << int{f.type};
        }
        const Card again = Card::parse(card.bytes());
        expectFields(again, wanted);
        for (const Field& f : fields()) card.set(f.type, u"");
        for (const Field& f : fields()) EXPECT_EQ(Card::parse(card.bytes()).get(f.type), u"") << int{f.type} << "\n" << card.bytes();
    }
}

// Writes one part of a structured value whose other parts were joined from several lines, or end in a backslash.
TEST(Card, ALineBreakInAnotherPartOfTheValueStaysALineBreak)
{
    struct Case {
        std::string before;
        int field, other;
        std::u16string kept;
    };
    for (const Case& each : {Case{v30("ADR;TYPE=WORK:;;one\\\r\ntwo;City;;;\r\n"), ftCity1, ftStreet1, u"one\ntwo"},
                             Case{v40("ADR;TYPE=work:;;one\\\r\ntwo;City;;;\r\n"), ftCity1, ftStreet1, u"one\ntwo"},
                             Case{v21("ADR;WORK:;;one\\\r\ntwo;City;;;\r\n"), ftCity1, ftStreet1, u"one\ntwo"},
                             Case{v30("N:Doe;Ja\rne;;;\r\nFN:x\r\n"), ftLastName, ftFirstName, u"Ja\nne"},
                             Case{v30("N:Doe;Ja\\\rne;;;\r\nFN:x\r\n"), ftLastName, ftFirstName, u"Ja\\\nne"},
                             Case{v21("N:Doe;Ja\rne;;;\r\n"), ftLastName, ftFirstName, u"Ja\nne"}}) {
        ASSERT_FALSE(scanCards(each.before).error) << each.before;
        Card card = Card::parse(each.before);
        EXPECT_TRUE(card.set(each.field, u"new"));
        const std::string after = card.bytes();
        EXPECT_FALSE(scanCards(after).error) << after;
        expectFields(Card::parse(after), {{each.field, u"new"}, {each.other, each.kept}});
    }
}

TEST(Card, ATrailingBackslashDoesNotEscapeTheNextSeparator)
{
    Card card = Card::parse(v30("ORG:Acme\\\r\nFN:x\r\nN:x;;;;\r\n"));
    card.set(ftDepartment, u"Sales");
    expectFields(Card::parse(card.bytes()), {{ftCompany, u"Acme\\"}, {ftDepartment, u"Sales"}});
}

// The colon of the next line is behind a fold, so a backslash at the end of the value must not join that line.
TEST(Card, AValueThatEndsInABackslashDoesNotJoinTheNextLine)
{
    const std::string next = "X-LONG;NAME=first\r\n second:1\r\n";
    for (const std::string& before : {v21("NOTE:old\r\n" + next), v21("NOTE;ENCODING=QUOTED-PRINTABLE:old\r\n" + next),
                                      v30("NOTE:old\r\n" + next), v40("NOTE:old\r\n" + next)})
        for (const char16_t* value : {u"C:\\", u"C:\\\\", u"C:\\\\\\"}) {
            Card card = Card::parse(before);
            card.set(ftNotes, value);
            const std::string after = card.bytes();
            EXPECT_EQ(logicalLines(after).size(), logicalLines(before).size()) << after;
            EXPECT_NE(after.find(next), after.npos) << after;
            expectFields(Card::parse(after), {{ftNotes, value}});
        }
    for (std::size_t size = 60; size < 80; ++size) { // for any position of the fold
        Card card = Card::parse(v30("NOTE:old\r\n" + next));
        const std::u16string value = std::u16string(size, u'x') + u"\\\\";
        card.set(ftNotes, value);
        EXPECT_EQ(logicalLines(card.bytes()).size(), 5u) << card.bytes();
        for (const std::string& line : physicalLines(card.bytes())) {
            const std::size_t end = line.find_last_not_of("\r\n\\");
            EXPECT_EQ((line.find_last_not_of("\r\n") - end) % 2, 0u) << "an escape is split by a fold: " << line;
        }
        expectFields(Card::parse(card.bytes()), {{ftNotes, value}});
    }
}

// A soft line break may stand in front of the last words of a value.
TEST(Card, AValueThatEndsLikeACardDoesNotEndTheCard)
{
    for (std::size_t size = 0; size < 80; ++size)
        for (const char16_t* end : {u"END:VCARD", u"x.begin:vcard", u" END:VCARD"}) {
            const std::u16string value = u"\u00FC" + std::u16string(size, u'x') + end;
            Card card = Card::parse(v21("NOTE:old\r\n"));
            card.set(ftNotes, value);
            ASSERT_TRUE(card.readsBackFrom(card.bytes())) << card.bytes();
            expectFields(Card::parse(card.bytes()), {{ftNotes, value}});
        }
}

void expectOthersUnmoved(const std::string& before, int type, std::u16string_view value)
{
    Card card = Card::parse(before);
    const Card was = card;
    ASSERT_TRUE(card.set(type, value));
    const Card is = Card::parse(card.bytes());
    EXPECT_EQ(toUtf8(is.get(type)), toUtf8(value)) << card.bytes();
    for (const Field& other : fields())
        if (other.type != type) {
            EXPECT_EQ(toUtf8(is.get(other.type)), toUtf8(was.get(other.type))) << int{other.type} << "\n" << card.bytes();
        }
}

// A card with lines in UTF-8 and lines in another charset is read in one charset. An edit of the last line that is not UTF-8, or of the
// line that declares the charset, must not change how the other lines are read.
TEST(Card, AnEditChangesTheCharsetOfNoOtherLine)
{
    for (const bool old : {true, false}) {
        const auto card = [&](const std::string& lines) { return old ? v21("N:x\r\n" + lines) : v30("N:x;;;;\r\n" + lines); };
        const std::string name = "FN:M\xC3\xBCller\r\n",
                          title = "TITLE:Gr\xC3\xBC\xC3\x9F"
                                  "e\r\n",
                          note = "NOTE:gr\xFCn\r\n";
        for (const char16_t* value : {u"plain", u"grüner", u"日本", u""}) expectOthersUnmoved(card(name + title + note), ftNotes, value);
        const std::string declared = "NOTE;CHARSET=ISO-8859-5:\xBF\xE0\r\n", undeclared = "ROLE:\xBF\xE0\r\n";
        for (const char16_t* value : {u"plain", u"Прд", u"日本", u""}) {
            expectOthersUnmoved(card(name + title + declared), ftNotes, value);
            expectOthersUnmoved(card(name + undeclared + declared), ftNotes, value);
        }
        // The charset belongs to this line only: the card stays UTF-8.
        expectOthersUnmoved(card(name + "NOTE;CHARSET=ISO-8859-1:plain\r\n"), ftNotes, u"grün");
        expectOthersUnmoved(card("FN;ENCODING=QUOTED-PRINTABLE:=BF=E0\r\n" + declared), ftNotes, u"plain");
    }
}

TEST(Card, AValueThatWouldNotReadBackInTheCharsetOfItsLineIsWrittenInUtf8)
{
    const std::string latin = "FN:M\xFCller\r\n";
    for (const auto& [lines, value] : std::initializer_list<std::pair<std::string, std::u16string>>{
             {"NOTE;CHARSET=SHIFT_JIS:x\r\n", u"¥ 5"},                           // one code for two characters
             {"NOTE;CHARSET=UTF-16LE:x\r\n", u"ĊčĀ"},                            // a byte would end the line
             {latin + "NOTE;ENCODING=QUOTED-PRINTABLE:x\r\n", u"\u00C3\u00BC"}}) // the bytes look like UTF-8
        for (const std::string& before : {v21("N:x\r\n" + lines), v30("N:x;;;;\r\n" + lines)}) {
            Card card = Card::parse(before);
            card.set(ftNotes, value);
            EXPECT_TRUE(card.readsBackFrom(card.bytes())) << card.bytes();
            expectFields(Card::parse(card.bytes()), {{ftNotes, value}});
        }
}

TEST(Card, AnEditOfACardInOneCharsetKeepsTheBytesOfItsOtherLines)
{
    const std::string before = v30("N:x;;;;\r\nFN:M\xFCller\r\nNOTE:gr\xFCn\r\n");
    EXPECT_EQ(changeOf(Card::parse(before), ftNotes, u"plain"), Change("NOTE:gr\xFCn\r\n", "NOTE:plain\r\n"));
    EXPECT_EQ(changeOf(Card::parse(v30("N:x;;;;\r\nFN:M\xC3\xBCller\r\n")), ftDisplayName, u"Müller"), Change("", ""));
}

TEST(Card, TellsItsUidWithoutBeingParsed)
{
    EXPECT_EQ(uidOf(v30("FN:x\r\nUID: a\\,b \r\nUID:second\r\n")), "a\\,b");
    EXPECT_EQ(uidOf(v30("NOTE:UID:no\r\nX-UID:no\r\nitem1.uid;X=1:yes\r\n")), "yes");
    EXPECT_EQ(uidOf(v30("UI\r\n D:fol\r\n ded\r\n")), "folded");
    EXPECT_EQ(uidOf(v30("AGENT:\r\nBEGIN:VCARD\r\nUID:inner\r\nEND:VCARD\r\nUID:outer\r\n")), "outer");
    for (const std::string lines :
         {"FN:x\r\nUID: a\\,b \r\n", "NOTE:UID:no\r\nitem1.uid;X=1:yes\r\n", "UI\r\n D:fol\r\n ded\r\n", "UID:\r\nUID:2\r\n",
          "AGENT:\r\nBEGIN:VCARD\r\nUID:inner\r\nEND:VCARD\r\nUID:outer\r\n", "uid;CHARSET=ISO-8859-1:a\r\n",
          "UID;ENCODING=QUOTED-PRINTABLE:a=3Db=\r\nc\r\n", "UID;X=\"a:UID\":b\r\n", "X;A=\":UID\":c\r\n", "FN:x\r\n"})
        for (const std::string& card : {v30(lines), "BEGIN:VCARD\r\n" + lines + "VERSION:2.1\r\nEND:VCARD\r\n"})
            EXPECT_EQ(uidOf(card), Card::parse(card).uid()) << card;
}

// An algorithm that is not linear would take minutes for each of these cards.
TEST(Card, HugeCardsTakeLinearTime)
{
    constexpr int kMany = 100000;
    const auto repeated = [](const std::string& text) {
        std::string all;
        for (int i = 0; i < kMany; ++i) all += text;
        return all;
    };
    for (const std::string& lines :
         {repeated("a.TEL:1\r\na.X-ABLabel:x\r\n"), "NOTE;ENCODING=QUOTED-PRINTABLE;" + repeated(";") + ":" + repeated("=\r\n") + "\r\n",
          "NOTE:" + repeated("\r") + "\r\n", "NOTE" + repeated(";X=\"") + ":1\r\n", "N:" + repeated(";\\") + "\r\n",
          "NOTE:" + repeated("\r\n x") + "\r\n", "NOTE;BASE64:" + repeated("\\\\\r\n") + "\r\n", "NOTE:" + repeated("\\\r\n") + "\r\n",
          "NOTE:" + repeated("\r\n \\") + "\r\n", "EMAIL:" + repeated("a\r\nEMAIL:") + "\r\n"}) {
        const std::string text = v30(lines);
        ASSERT_FALSE(scanCards(text).error);
        Card card = Card::parse(text);
        EXPECT_EQ(card.bytes(), text);
        card.set(ftPhone, u"2");
        EXPECT_EQ(Card::parse(card.bytes()).get(ftPhone), u"2");
    }
}

} // namespace
} // namespace mb::vcard
