#include "Card.h"

#include "Charset.h"
#include "FileText.h"
#include "LineReader.h"
#include "Samples.h"

#include <gtest/gtest.h>
#include <random>

namespace mb::vcard {
namespace {

std::vector<std::string> cardTexts(const std::string& bytes)
{
    std::vector<std::string> texts;
    const auto file = openText(bytes);
    if (!file) return texts;
    for (const CardSpan& span : scanCards(file->text).cards) texts.push_back(file->text.substr(span.begin, span.end - span.begin));
    return texts;
}

Card sample(const std::string& name, std::size_t index = 0)
{
    const auto files = samples();
    return files.contains(name) ? Card::parse(cardTexts(files.at(name)).at(index)) : Card::make("absent");
}

bool haveSamples() { return samples().contains("fkvcards__v3.vcf"); }

void expectFields(const Card& card, const std::map<int, std::u16string>& wanted)
{
    for (const auto& [type, text] : wanted) EXPECT_EQ(toUtf8(card.get(type)), toUtf8(text)) << "field " << type;
}

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

std::vector<std::string> logicalLines(const std::string& text)
{
    std::vector<std::string> lines;
    LineReader reader(text);
    for (RawLine line; reader.next(line);) lines.emplace_back(line.bytes);
    return lines;
}

// Returns the removed and the added lines. All other lines must be equal and in the same order.
std::pair<std::string, std::string> difference(const std::string& before, const std::string& after)
{
    const auto a = logicalLines(before), b = logicalLines(after);
    std::size_t head = 0;
    while (head < a.size() && head < b.size() && a[head] == b[head]) ++head;
    std::size_t tail = 0;
    while (tail < a.size() - head && tail < b.size() - head && a[a.size() - 1 - tail] == b[b.size() - 1 - tail]) ++tail;
    std::string gone, made;
    for (std::size_t i = head; i < a.size() - tail; ++i) gone += a[i];
    for (std::size_t i = head; i < b.size() - tail; ++i) made += b[i];
    return {gone, made};
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

TEST(Card, KeepsEverySampleByteForByte)
{
    for (const auto& [name, bytes] : samples())
        for (const std::string& text : cardTexts(bytes)) EXPECT_EQ(Card::parse(text).bytes(), text) << name;
}

TEST(Card, SettingThePresentValueChangesNoByte)
{
    for (const auto& [name, bytes] : samples())
        for (const std::string& text : cardTexts(bytes)) {
            Card card = Card::parse(text);
            for (const Field& f : fields()) {
                EXPECT_FALSE(card.set(f.type, card.get(f.type))) << name << " field " << int{f.type};
                ASSERT_EQ(card.bytes(), text) << name << " field " << int{f.type};
            }
        }
}

TEST(Card, ReadsAnEvolutionExport)
{
    if (!haveSamples()) return;
    expectFields(sample("ezvcard__John_Doe_EVOLUTION.vcf"), {{1, u"Mr."},
                                                             {2, u"John"},
                                                             {3, u"Richter, James"},
                                                             {4, u"Doe"},
                                                             {5, u"Sr."},
                                                             {6, u"Money Counter"},
                                                             {7, u"IBM"},
                                                             {68, u"Accounting"},
                                                             {13, u"15 Crescent moon drive"},
                                                             {14, u"Albaney"},
                                                             {17, u"United States of America"},
                                                             {19, u"VIP"},
                                                             {20, u"905-555-1234"},
                                                             {24, u"905-666-1234"},
                                                             {29, u"john.doe@ibm.com"},
                                                             {36, u"http://www.ibm.com"},
                                                             {43, u"1980-03-22"},
                                                             {46, u"johnny5@aol.com"},
                                                             {67, u"Maria"},
                                                             {72, u"Big Blue"},
                                                             {73, u"Little Red"},
                                                             {74, u"Johny"},
                                                             {79, u"Mr. John Richter, James Doe Sr."}});
}

TEST(Card, ReadsPhonesOfAnAppleExport)
{
    if (!haveSamples()) return;
    expectFields(sample("ezvcard__John_Doe_IPHONE.vcf"), {{24, u"905-555-1234"},
                                                          {22, u"905-666-1234"},
                                                          {20, u"905-777-1234"},
                                                          {63, u"905-888-1234"},
                                                          {21, u"905-999-1234"},
                                                          {27, u"905-111-1234"},
                                                          {82, u"905-222-1234"},
                                                          {36, u"http://www.ibm.com"},
                                                          {8, u"Street4\nBuilding 6\nFloor 8"},
                                                          {43, u"2012-06-06"},
                                                          {3, u"Richter,James"}});
}

TEST(Card, ReadsVersion21WithQuotedPrintable)
{
    if (!haveSamples()) return;
    expectFields(sample("ezvcard__outlook-2003.vcf"), {{18, u"This is the note field!!\nSecond line\n\nThird line is empty\n"},
                                                       {43, u"1980-03-21"},
                                                       {71, u"TheProfession"},
                                                       {7, u"Company, The"},
                                                       {68, u"TheDepartment"},
                                                       {8, u"123 Main St"},
                                                       {29, u"jdoe@hotmail.com"},
                                                       {21, u"BusinessFaxPhone"}});
    expectFields(sample("ezvcard__John_Doe_ANDROID.vcf", 2), {{4, u"Ñ Ñ Ñ Ñ "}, {24, u"123456789"}});
}

TEST(Card, ReadsDeclaredAndUndeclared8BitText)
{
    if (!haveSamples()) return;
    expectFields(sample("fkvcards__AnsiIssueNoEncoding.vcf"), {{13, u"Lämmerweg 12"}});
    expectFields(sample("fkvcards__German.vcf"), {{79, u"Sören Täve Nüßlebaum"}, {52, u"Mößlitz"}});
    expectFields(sample("fkvcards__Ukrainian.vcf"), {{52, u"Київ"}});
    expectFields(sample("aosp__v30_japanese.vcf"), {{79, u"伊能 圭一 伊予"}});
    expectFields(sample("aosp__v21_japanese_2.vcf"), {{4, u"安藤"}, {18, u"メモ"}, {16, u"150-8512"}});
}

TEST(Card, ReadsEscapesOfVersion21OnlyInStructuredValues)
{
    const Card card = Card::parse(v21("N:;A\\;B\\\\;C\\\\\\;;D;\\:E;\\\\\\\\;\r\nFN:A;B\\C\\;D:E\\\\\r\n"));
    expectFields(card, {{4, u""}, {2, u"A;B\\"}, {3, u"C\\;"}, {1, u"D"}, {5, u":E"}, {79, u"A;B\\C\\;D:E\\\\"}});
}

TEST(Card, ReadsRepeatedPropertiesInTheirOrder)
{
    const Card card =
        Card::parse(v30("EMAIL:a\r\nEMAIL;TYPE=PREF:b\r\nEMAIL:c\r\nURL:u1\r\nURL:u2\r\nURL:u3\r\nTEL;TYPE=CELL:1\r\nTEL;TYPE=CELL:2\r\n"
                        "ADR;TYPE=HOME:;;h;;;;\r\nADR;TYPE=WORK:;;w;;;;\r\nADR:;;o;;;;\r\nADR;TYPE=HOME:;;h2;;;;\r\n"));
    expectFields(card,
                 {{29, u"a"}, {30, u"b"}, {31, u"c"}, {36, u"u1"}, {78, u"u2"}, {24, u"1"}, {89, u"2"}, {8, u"w"}, {13, u"h"}, {51, u"o"}});
}

TEST(Card, ReadsPropertyNamesOfOtherPrograms)
{
    expectFields(
        Card::parse(v40("GENDER:M\r\nX-GENDER:male\r\nIMPP:aim:joe\r\nIMPP:xmpp:joe@x.org\r\nRELATED;TYPE=spouse;VALUE=text:Ann\r\n"
                        "TEL;VALUE=uri;TYPE=\"voice,home\":tel:+1-555\r\nTEL;TYPE=main:7\r\nTEL;TYPE=textphone:8\r\n")),
        {{76, u"M"}, {46, u"joe"}, {50, u"xmpp:joe@x.org"}, {67, u"Ann"}, {22, u"+1-555"}, {25, u"7"}, {86, u"8"}});
    expectFields(
        Card::parse(v30(
            "X-GENDER:male\r\nitem1.X-ABRELATEDNAMES:Ann\r\nitem1.X-ABLabel:_$!<Spouse>!$_\r\nitem2.TEL:5\r\nitem2.X-ABLabel:homeFax\r\n")),
        {{76, u"male"}, {67, u"Ann"}, {63, u"5"}});
}

TEST(Card, EditsExactlyTheLineOfTheField)
{
    const Card card =
        Card::parse(v30("N:Doe;Jane;;;\r\nFN:Jane Doe\r\nitem1.TEL;TYPE=CELL;X-A=\"b:c\":1\r\nX-Odd:a\\\\b\r\nORG:A;B;C\r\n"));
    EXPECT_EQ(changeOf(card, 24, u"2"), Change("item1.TEL;TYPE=CELL;X-A=\"b:c\":1\r\n", "item1.TEL;TYPE=CELL;X-A=\"b:c\":2\r\n"));
    EXPECT_EQ(changeOf(card, 4, u"Roe; x"), Change("N:Doe;Jane;;;\r\n", "N:Roe\\; x;Jane;;;\r\n"));
    EXPECT_EQ(changeOf(card, 68, u""), Change("ORG:A;B;C\r\n", "ORG:A;;C\r\n"));
    EXPECT_EQ(changeOf(card, 18, u"a\r\nb,c"), Change("", "NOTE:a\\nb\\,c\r\n"));
    EXPECT_EQ(changeOf(card, 24, u""), Change("item1.TEL;TYPE=CELL;X-A=\"b:c\":1\r\n", ""));
    EXPECT_EQ(changeOf(card, 43, u"1980-03-21"), Change("", "BDAY:1980-03-21\r\n"));
    EXPECT_EQ(changeOf(card, 38, u"mine"), Change("", "X-MB-CUSTOM2:mine\r\n"));
}

TEST(Card, EditsInTheLineEndAndFoldingOfTheFile)
{
    EXPECT_EQ(changeOf(Card::parse("BEGIN:VCARD\nVERSION:3.0\nNOTE:a\n b\nEND:VCARD"), 18, u"c"), Change("NOTE:a\n b\n", "NOTE:c\n"));
    EXPECT_EQ(changeOf(Card::parse("BEGIN:VCARD\r\r\nVERSION:3.0\r\r\nEND:VCARD\r\r\n"), 6, u"c"), Change("", "TITLE:c\r\r\n"));
    EXPECT_EQ(changeOf(Card::parse("BEGIN:VCARD\nVERSION:3.0\nTITLE:x\r\nNOTE:y\nEND:VCARD\n"), 6, u"c"),
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
            card.set(6, text);
            for (const std::string& line : physicalLines(card.bytes())) {
                EXPECT_LE(line.size(), 75u + 2u);
                EXPECT_TRUE(isUtf8(line)) << line;
            }
            EXPECT_EQ(Card::parse(card.bytes()).get(6), text);
        }
}

TEST(Card, Version21StaysVersion21)
{
    const Card card = Card::parse(v21("N:Doe;Jane\r\nTEL;WORK;VOICE:1\r\n"));
    EXPECT_EQ(changeOf(card, 20, u"2"), Change("TEL;WORK;VOICE:1\r\n", "TEL;WORK;VOICE:2\r\n"));
    EXPECT_EQ(changeOf(card, 22, u"3"), Change("", "TEL;HOME;VOICE:3\r\n"));
    EXPECT_EQ(changeOf(card, 4, u"Müller"), Change("N:Doe;Jane\r\n", "N;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:M=C3=BCller;Jane\r\n"));
    EXPECT_EQ(changeOf(card, 18, u"a\nb, c"), Change("", "NOTE;ENCODING=QUOTED-PRINTABLE:a=0D=0Ab, c\r\n"));
    EXPECT_EQ(changeOf(card, 25, u"4"), Change("", "TEL;X-MB-FIELD=25:4\r\n"));
    EXPECT_EQ(changeOf(card, 29, u"j@x.org"), Change("", "EMAIL;INTERNET:j@x.org\r\n"));
}

TEST(Card, WritesInTheCharsetOfTheFileWhereItCan)
{
    const Card ansi = Card::parse(v21("N:M\xFCller;J\xF6rg\r\n"));
    EXPECT_EQ(changeOf(ansi, 4, u"Größe€"), Change("N:M\xFCller;J\xF6rg\r\n", "N:Gr\xF6\xDF"
                                                                              "e\x80;J\xF6rg\r\n"));
    EXPECT_EQ(changeOf(ansi, 4, u"Ł"), Change("N:M\xFCller;J\xF6rg\r\n", "N;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:=C5=81;J=C3=B6rg\r\n"));
    const Card later = Card::parse(v30("FN:M\xFCller\r\nTITLE:x\r\n"));
    EXPECT_EQ(changeOf(later, 6, u"ü"), Change("TITLE:x\r\n", "TITLE:\xFC\r\n"));
    EXPECT_EQ(changeOf(later, 6, u"Ł"), Change("TITLE:x\r\n", "TITLE;CHARSET=UTF-8:\xC5\x81\r\n"));
    const Card declared = Card::parse(v21("FN;CHARSET=WINDOWS-1251:\xCA\xE8\xBF\xE2\r\n"));
    EXPECT_EQ(changeOf(declared, 79, u"Іван"),
              Change("FN;CHARSET=WINDOWS-1251:\xCA\xE8\xBF\xE2\r\n", "FN;CHARSET=WINDOWS-1251:\xB2\xE2\xE0\xED\r\n"));
}

TEST(Card, Version40WritesItsOwnForms)
{
    const Card card = Card::parse(v40("FN:x\r\nTEL;VALUE=uri;TYPE=home:tel:+1-555\r\n"));
    EXPECT_EQ(changeOf(card, 43, u"1980-03-21"), Change("", "BDAY:19800321\r\n"));
    EXPECT_EQ(changeOf(card, 43, u"in spring"), Change("", "BDAY;VALUE=text:in spring\r\n"));
    EXPECT_EQ(changeOf(card, 20, u"1"), Change("", "TEL;TYPE=work,voice:1\r\n"));
    EXPECT_EQ(changeOf(card, 22, u"+1 (555) 7"), Change("TEL;VALUE=uri;TYPE=home:tel:+1-555\r\n", "TEL;TYPE=home:+1 (555) 7\r\n"));
    EXPECT_EQ(changeOf(card, 76, u"F"), Change("", "GENDER:F\r\n"));
    EXPECT_EQ(changeOf(card, 76, u"other"), Change("", "GENDER:;other\r\n"));
    EXPECT_EQ(changeOf(card, 50, u"joe@x.org"), Change("", "IMPP:im:joe@x.org\r\n"));
    EXPECT_EQ(changeOf(card, 50, u"aim:joe"), Change("", "IMPP;X-MB-FIELD=50:aim:joe\r\n"));
}

TEST(Card, ClearingOneOfSeveralDoesNotMoveTheOthers)
{
    Card card = Card::parse(v30("EMAIL:a\r\nEMAIL:b\r\nTEL;TYPE=CELL:1\r\nTEL;TYPE=CELL:2\r\n"));
    card.set(29, u"");
    card.set(24, u"");
    const Card again = Card::parse(card.bytes());
    expectFields(again, {{29, u""}, {30, u"b"}, {24, u""}, {89, u"2"}});
    EXPECT_EQ(changeOf(again, 30, u""), Change("EMAIL:b\r\n", ""));
    EXPECT_EQ(changeOf(again, 29, u"c"), Change("EMAIL:\r\n", "EMAIL:c\r\n"));
}

TEST(Card, AGapBetweenFieldsIsKept)
{
    Card card = Card::make("u");
    card.set(31, u"third@x.org");
    card.set(78, u"http://second");
    card.set(65, u"sales");
    const Card again = Card::parse(card.bytes());
    expectFields(again, {{29, u""}, {30, u""}, {31, u"third@x.org"}, {36, u""}, {78, u"http://second"}, {65, u"sales"}, {28, u""}});
}

TEST(Card, PropertiesThatAVersionRequiresAreNotRemoved)
{
    EXPECT_EQ(changeOf(Card::parse(v30("FN:x\r\nN:a;;;;\r\n")), 79, u""), Change("FN:x\r\n", "FN:\r\n"));
    EXPECT_EQ(changeOf(Card::parse(v30("FN:x\r\nN:a;;;;\r\n")), 4, u""), Change("N:a;;;;\r\n", "N:;;;;\r\n"));
    EXPECT_EQ(changeOf(Card::parse(v40("FN:x\r\nN:a;;;;\r\n")), 4, u""), Change("N:a;;;;\r\n", ""));
}

TEST(Card, NestedCardsAreKeptAndNotRead)
{
    const Card card =
        Card::parse("BEGIN:VCARD\nVERSION:2.1\nN:Boss\nAGENT:\nBEGIN:VCARD\nVERSION:2.1\nN:Agent\nTEL;WORK:9\nEND:VCARD\nEND:VCARD\n");
    expectFields(card, {{4, u"Boss"}, {20, u""}});
    EXPECT_EQ(changeOf(card, 20, u"1"), Change("", "TEL;WORK;VOICE:1\n"));
}

TEST(Card, ANewLineIsNotJoinedByASoftBreak)
{
    Card card = Card::parse("BEGIN:VCARD\nVERSION:2.1\nTITLE:t\nNOTE;ENCODING=QUOTED-PRINTABLE:x=\nEND:VCARD\n");
    card.set(20, u"1");
    EXPECT_EQ(Card::parse(card.bytes()).get(20), u"1");
    EXPECT_EQ(Card::parse(card.bytes()).get(18),
              Card::parse("BEGIN:VCARD\nVERSION:2.1\nNOTE;ENCODING=QUOTED-PRINTABLE:x=\nEND:VCARD\n").get(18));
}

TEST(Card, ANewLineIsInsertedBeforeEndEvenIfBlankLinesFollow)
{
    EXPECT_EQ(changeOf(Card::parse("\nBEGIN:VCARD\nVERSION:3.0\nEND:VCARD\n\n  \n"), 6, u"t"), Change("", "TITLE:t\n"));
}

TEST(Card, ControlCharactersAndUnpairedSurrogatesAreNotWritten)
{
    Card card = Card::make("u");
    card.set(6, std::u16string_view(u"a\0b\x0001"
                                    u"c\tD\xD800",
                                    8));
    EXPECT_EQ(card.get(6), u"abc\tD\uFFFD");
    EXPECT_FALSE(scanCards(card.bytes()).error);
}

TEST(Card, ANewCardIsACompleteCardOfVersion40)
{
    Card card = Card::make("4fbe8971-0bc3-424c-9c26-36c3e1eff6b1");
    card.set(2, u"Jane");
    card.set(4, u"Doe");
    card.completeName();
    EXPECT_EQ(card.bytes(), v40("UID:urn:uuid:4fbe8971-0bc3-424c-9c26-36c3e1eff6b1\r\nN:Doe;Jane;;;\r\nFN;DERIVED=true:Jane Doe\r\n"));
}

TEST(Card, ADerivedNameReadsAsEmptyFollowsItsSourcesAndYieldsToARealName)
{
    Card card = Card::parse(v40("FN;DERIVED=true:Jane Doe\r\nN:Doe;Jane;;;\r\n"));
    EXPECT_EQ(card.get(79), u"");
    card.completeName();
    EXPECT_EQ(card.bytes(), v40("FN;DERIVED=true:Jane Doe\r\nN:Doe;Jane;;;\r\n"));
    card.set(4, u"Roe");
    card.completeName();
    EXPECT_EQ(card.bytes(), v40("FN;DERIVED=true:Jane Roe\r\nN:Roe;Jane;;;\r\n"));
    EXPECT_TRUE(card.set(79, u"Jane Roe"));
    card.completeName();
    EXPECT_EQ(card.bytes(), v40("FN:Jane Roe\r\nN:Roe;Jane;;;\r\n"));
    card.set(79, u"");
    card.completeName();
    EXPECT_EQ(card.get(79), u"");
    Card old = Card::parse(v21("N:Doe;Jane;;;\r\n"));
    old.completeName();
    EXPECT_EQ(old.bytes(), v21("N:Doe;Jane;;;\r\n")) << "version 2.1 does not require FN";
}

TEST(Card, EveryVersionHoldsEveryField)
{
    for (const std::string& start : {v21("N:x\r\n"), v30("N:x;;;;\r\nFN:y\r\n"), v40("FN:y\r\n"), v21("N:\xFC\r\n"), v30("FN:\xFC\r\n")}) {
        Card card = Card::parse(start);
        std::map<int, std::u16string> wanted;
        for (const Field& f : fields()) {
            if (f.shape == Shape::Image) continue; // not a text
            wanted[f.type] = f.type == 43   ? u"1980-03-21"
                             : f.type == 19 ? u"Ä, b"
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
    for (const Case& each :
         {Case{v30("ADR;TYPE=WORK:;;one\\\r\ntwo;City;;;\r\n"), 9, 8, u"one\ntwo"},
          Case{v40("ADR;TYPE=work:;;one\\\r\ntwo;City;;;\r\n"), 9, 8, u"one\ntwo"},
          Case{v21("ADR;WORK:;;one\\\r\ntwo;City;;;\r\n"), 9, 8, u"one\ntwo"}, Case{v30("N:Doe;Ja\rne;;;\r\nFN:x\r\n"), 4, 2, u"Ja\nne"},
          Case{v30("N:Doe;Ja\\\rne;;;\r\nFN:x\r\n"), 4, 2, u"Ja\\\nne"}, Case{v21("N:Doe;Ja\rne;;;\r\n"), 4, 2, u"Ja\nne"}}) {
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
    card.set(68, u"Sales");
    expectFields(Card::parse(card.bytes()), {{7, u"Acme\\"}, {68, u"Sales"}});
}

// The colon of the next line is behind a fold, so a backslash at the end of the value must not join that line.
TEST(Card, AValueThatEndsInABackslashDoesNotJoinTheNextLine)
{
    const std::string next = "X-LONG;NAME=first\r\n second:1\r\n";
    for (const std::string& before : {v21("NOTE:old\r\n" + next), v21("NOTE;ENCODING=QUOTED-PRINTABLE:old\r\n" + next),
                                      v30("NOTE:old\r\n" + next), v40("NOTE:old\r\n" + next)})
        for (const char16_t* value : {u"C:\\", u"C:\\\\", u"C:\\\\\\"}) {
            Card card = Card::parse(before);
            card.set(18, value);
            const std::string after = card.bytes();
            EXPECT_EQ(logicalLines(after).size(), logicalLines(before).size()) << after;
            EXPECT_NE(after.find(next), after.npos) << after;
            expectFields(Card::parse(after), {{18, value}});
        }
    for (std::size_t size = 60; size < 80; ++size) { // for any position of the fold
        Card card = Card::parse(v30("NOTE:old\r\n" + next));
        const std::u16string value = std::u16string(size, u'x') + u"\\\\";
        card.set(18, value);
        EXPECT_EQ(logicalLines(card.bytes()).size(), 5u) << card.bytes();
        for (const std::string& line : physicalLines(card.bytes())) {
            const std::size_t end = line.find_last_not_of("\r\n\\");
            EXPECT_EQ((line.find_last_not_of("\r\n") - end) % 2, 0u) << "an escape is split by a fold: " << line;
        }
        expectFields(Card::parse(card.bytes()), {{18, value}});
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
        for (const char16_t* value : {u"plain", u"grüner", u"日本", u""}) expectOthersUnmoved(card(name + title + note), 18, value);
        const std::string declared = "NOTE;CHARSET=ISO-8859-5:\xBF\xE0\r\n", undeclared = "ROLE:\xBF\xE0\r\n";
        for (const char16_t* value : {u"plain", u"Прд", u"日本", u""}) {
            expectOthersUnmoved(card(name + title + declared), 18, value);
            expectOthersUnmoved(card(name + undeclared + declared), 18, value);
        }
        // The charset belongs to this line only: the card stays UTF-8.
        expectOthersUnmoved(card(name + "NOTE;CHARSET=ISO-8859-1:plain\r\n"), 18, u"grün");
        expectOthersUnmoved(card("FN;ENCODING=QUOTED-PRINTABLE:=BF=E0\r\n" + declared), 18, u"plain");
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
            card.set(18, value);
            EXPECT_TRUE(card.readsBackFrom(card.bytes())) << card.bytes();
            expectFields(Card::parse(card.bytes()), {{18, value}});
        }
}

TEST(Card, AnEditOfACardInOneCharsetKeepsTheBytesOfItsOtherLines)
{
    const std::string before = v30("N:x;;;;\r\nFN:M\xFCller\r\nNOTE:gr\xFCn\r\n");
    EXPECT_EQ(changeOf(Card::parse(before), 18, u"plain"), Change("NOTE:gr\xFCn\r\n", "NOTE:plain\r\n"));
    EXPECT_EQ(changeOf(Card::parse(v30("N:x;;;;\r\nFN:M\xC3\xBCller\r\n")), 79, u"Müller"), Change("", ""));
}

// After a random edit the field reads back what was set, and every other field and line is unchanged.
TEST(Card, RandomEditsChangeNothingElse)
{
    std::mt19937 random(20240521);
    const auto files = samples();
    for (const auto& [name, bytes] : files) {
        auto texts = cardTexts(bytes);
        if (texts.size() > 3) texts.resize(3);
        for (const std::string& text : texts) {
            Card card = Card::parse(text);
            for (int step = 0; step < 40; ++step) {
                const Field& field = fields()[random() % fields().size()];
                const std::u16string value = random() % 3 == 0  ? u""
                                             : field.type == 43 ? u"2001-02-03"
                                                                : u"v" + std::u16string(1 + random() % 90, u'ö');
                const std::string before = card.bytes();
                if (field.shape == Shape::Image) {
                    const std::string picture = value.empty() ? "" : "\xFF\xD8\xFF" + std::string(value.size(), 'x');
                    card.setImage(field.type, picture);
                    ASSERT_EQ(Card::parse(card.bytes()).image(field.type), picture) << name;
                } else {
                    card.set(field.type, value);
                }
                const Card was = Card::parse(before), is = Card::parse(card.bytes());
                for (const Field& other : fields()) {
                    if (other.type == field.type) continue;
                    ASSERT_EQ(is.get(other.type), was.get(other.type))
                        << name << " field " << int{other.type} << " after " << int{field.type};
                    ASSERT_EQ(is.image(other.type), was.image(other.type)) << name << " after " << int{field.type};
                }
                if (field.shape == Shape::Image) continue;
                ASSERT_EQ(is.get(field.type), value) << name << " field " << int{field.type} << "\n" << before << "\n->\n" << card.bytes();
                const auto [gone, made] = difference(before, card.bytes());
                ASSERT_LE(logicalLines(gone).size(), 1u) << gone;
                ASSERT_LE(logicalLines(made).size(), 1u) << made;
            }
        }
    }
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
        card.set(20, u"2");
        EXPECT_EQ(Card::parse(card.bytes()).get(20), u"2");
    }
}

TEST(Card, TruncatedCardsNeverCrash)
{
    for (const auto& [name, bytes] : samples()) {
        const std::size_t step = bytes.size() / 60 + 1;
        for (std::size_t n = 0; n < bytes.size(); n += step) {
            const std::string cut = bytes.substr(0, n) + "\nEND:VCARD\n";
            for (const std::string& text : cardTexts(cut)) {
                Card card = Card::parse(text);
                EXPECT_EQ(card.bytes(), text) << name;
                card.set(20, u"1");
                EXPECT_EQ(Card::parse(card.bytes()).get(20), u"1") << name << " cut at " << n;
            }
        }
    }
}

} // namespace
} // namespace mb::vcard
