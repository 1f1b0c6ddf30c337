// What a card holds besides its fields: reading it as a text, and setting it line by line.
#include "CardText.h"
#include "DetailsText.h"

#include <algorithm>
#include <gmock/gmock.h>

namespace mb::vcard {
namespace {

std::string cardOf(const std::string& version, const std::string& lines)
{
    return "BEGIN:VCARD\r\nVERSION:" + version + "\r\n" + lines + "END:VCARD\r\n";
}

// The details without the own lines.
std::string detailsOf(const Card& card)
{
    std::string text;
    const std::u16string details = card.wholeDetails();
    for (const std::u16string_view line : plugin::detailsLines(details))
        if (!line.starts_with(u"VERSION:") && !line.starts_with(u"UID:")) text += toUtf8(line) + '\n';
    return text;
}

std::string detailsOf(const std::string& version, const std::string& lines) { return detailsOf(Card::parse(cardOf(version, lines))); }

using Change = std::pair<std::string, std::string>;

// Returns the lines that setDetails() removes and adds. No field may change, and the card has to read back.
Change changeOf(const std::string& version, const std::string& lines, std::u16string_view details)
{
    const std::string before = cardOf(version, lines);
    const Card was = Card::parse(before);
    Card card = was;
    const bool changed = card.setDetails(details);
    EXPECT_EQ(changed, card.bytes() != before) << card.bytes();
    EXPECT_TRUE(card.readsBackFrom(card.bytes())) << card.bytes();
    const Card is = Card::parse(card.bytes());
    for (const Field& field : fields()) {
        EXPECT_EQ(toUtf8(is.get(field.type)), toUtf8(was.get(field.type))) << int{field.type} << "\n" << card.bytes();
        EXPECT_EQ(is.imageSize(field.type), was.imageSize(field.type)) << int{field.type};
    }
    return difference(before, card.bytes());
}

TEST(Details, AreTheLinesThatNoFieldHolds)
{
    EXPECT_EQ(detailsOf("4.0",
                        "UID:urn:uuid:1\r\nREV:20240101T000000Z\r\nPRODID:x\r\nFN:Jane\r\nLANG:fr\r\nNOTE:field\r\nNOTE:second\\, x\r\n"
                        "item1.X-ABDATE:20200202\r\nitem1.X-ABLabel:First day\r\nRELATED;TYPE=friend:urn:uuid:2\r\nX-MB-CUSTOM1:mine\r\n"),
              "LANG:fr\nNOTE:second\\, x\nitem1.X-ABDATE:20200202\nitem1.X-ABLABEL:First day\nRELATED;TYPE=friend:urn:uuid:2\n");
    EXPECT_EQ(Card::parse(cardOf("3.0", "UID: a\\,b \r\nFN:Jane\r\nX-ANNIVERSARY:2004-05-21\r\n")).details(),
              u"ANNIVERSARY:20040521\nUID:a\\,b\nVERSION:3.0");
    EXPECT_EQ(Card::parse(cardOf("2.1", "N:Doe;Jane;;;\r\n")).details(), u"VERSION:2.1");
}

TEST(Details, HoldNoLineThatIsNoProperty)
{
    EXPECT_EQ(
        detailsOf("3.0",
                  "# comment\r\n\r\nno colon\r\nBAD NAME:x\r\nAGENT:\r\nBEGIN:VCARD\r\nN:Agent\r\nX-IN:1\r\nEND:VCARD\r\nX-OUT:2\r\n"),
        "X-OUT:2\n");
    EXPECT_EQ(detailsOf("3.0", "AGENT:BEGIN:VCARD\\nFN:Agent\\nEND:VCARD\\n\r\nX-LAST:\r\n"),
              "AGENT:BEGIN:VCARD\\nFN:Agent\\nEND:VCARD\\n\nX-LAST:\n")
        << "a card that is a value travels";
}

TEST(Details, ACardInsideOfACardStaysWhereItIs)
{
    const std::string agent = "AGENT:\r\n\r\nBEGIN:VCARD\r\nVERSION:2.1\r\nN:Agent\r\nEND:VCARD\r\n";
    EXPECT_EQ(changeOf("2.1", "N:Doe;;;;\r\nX-A:1\r\n" + agent, u""), (Change{"X-A:1\r\n", ""}));
    EXPECT_EQ(changeOf("2.1", "N:Doe;;;;\r\n" + agent + "X-A:1\r\n", u"AGENT:BEGIN:VCARD\\nFN:Agent\\nEND:VCARD"),
              (Change{"X-A:1\r\n", "AGENT;ENCODING=QUOTED-PRINTABLE:BEGIN:VCARD=0D=0AFN:Agent=0D=0AEND:VCAR=44\r\n"}));
}

TEST(Details, ThePostalLabelOfAnAddressIsALineBehindItInTheOlderVersions)
{
    const std::string address = "ADR;TYPE=HOME:;;1 Mill Lane;Town;;;\r\n", label = "LABEL;TYPE=HOME:1 Mill Lane\\nTown\\, \"X\"\r\n";
    const char16_t* const both = u"@13;LABEL=\"1 Mill Lane\\nTown, ^'X^'\"";
    EXPECT_EQ(detailsOf("3.0", "FN:x\r\n" + address + label), toUtf8(both) + '\n');
    EXPECT_EQ(detailsOf("4.0", "FN:x\r\nADR;TYPE=home;LABEL=\"1 Mill Lane\\nTown, ^'X^'\":;;1 Mill Lane;Town;;;\r\n"), toUtf8(both) + '\n');
    EXPECT_EQ(changeOf("3.0", "FN:x\r\nN:x;;;;\r\n" + address, both), (Change{"", label}));
    EXPECT_EQ(changeOf("3.0", "FN:x\r\nN:x;;;;\r\n" + address + label, both), Change());
    EXPECT_EQ(changeOf("3.0", "FN:x\r\nN:x;;;;\r\n" + address + label, u"@13;LABEL=other"), (Change{label, "LABEL;TYPE=HOME:other\r\n"}));
    EXPECT_EQ(changeOf("3.0", "FN:x\r\nN:x;;;;\r\n" + address + label, u""), (Change{label, ""}));
    EXPECT_EQ(changeOf("2.1", "N:x;;;;\r\nADR;HOME:;;1;;;;\r\n", u"@13;LABEL=\"1, Mill Lane\""),
              (Change{"", "LABEL;HOME:1, Mill Lane\r\n"}));
    EXPECT_EQ(changeOf("4.0", "FN:x\r\nADR;TYPE=home:;;1;;;;\r\n", both),
              (Change{"ADR;TYPE=home:;;1;;;;\r\n", "ADR;LABEL=\"1 Mill Lane\\nTown, ^'X^'\";TYPE=home:;;1;;;;\r\n"}));
}

TEST(Details, APostalLabelThatIsNotClearlyOfAnAddressIsALineOfItsOwn)
{
    const std::string address = "ADR;TYPE=HOME:;;1;;;;\r\n";
    for (const std::string& others :
         {"LABEL;TYPE=WORK:w\r\n" + address, address + "LABEL;TYPE=WORK:w\r\n", address + "X-A:1\r\nLABEL;TYPE=HOME:h\r\n",
          address + "item1.LABEL;TYPE=HOME:h\r\n", address + "LABEL;LANGUAGE=de;TYPE=HOME:h\r\n", address + "LABEL;TYPE=HOME:a,b\r\n"}) {
        const std::string text = detailsOf("3.0", "FN:x\r\n" + others);
        EXPECT_THAT(text, testing::HasSubstr("LABEL;")) << others;
        EXPECT_THAT(text, testing::Not(testing::HasSubstr("@13"))) << others;
    }
    EXPECT_EQ(changeOf("3.0", "FN:x\r\nN:x;;;;\r\n" + address, u"@13;LABEL=\"a\\,b\"").second, "ADR;LABEL=\"a\\,b\";TYPE=HOME:;;1;;;;\r\n")
        << "a label that would not come back the same stays a parameter";
}

TEST(Details, ALineThatIsNoLabelOfAnAddressDoesNotBecomeOne)
{
    const std::string name = "FN:x\r\nN:x;;;;\r\n", address = "ADR;TYPE=HOME:;;1;;;;\r\n", label = "LABEL;TYPE=HOME:h\r\n";
    EXPECT_EQ(changeOf("3.0", name + address, u"LABEL;TYPE=home:h"), (Change{"", label}));
    const auto after = [&](const std::string& lines, std::u16string_view details) {
        Card card = Card::parse(cardOf("3.0", name + lines));
        card.setDetails(details);
        return detailsOf(card);
    };
    EXPECT_EQ(after(address, u"LABEL;TYPE=home:h"), "LABEL;TYPE=home:h\n");
    EXPECT_EQ(after(address + "X-A:1\r\n" + label, u"LABEL;TYPE=home:h"), "LABEL;TYPE=home:h\n") << "the line between them was removed";
}

TEST(Details, TheTextOfAGenderIsKeptInTheOlderVersions)
{
    const char16_t* const both = u"@76;X-MB-VALUE=\"M;male person\"";
    EXPECT_EQ(detailsOf("4.0", "FN:x\r\nGENDER:M;male person\r\n"), toUtf8(both) + '\n');
    EXPECT_EQ(changeOf("3.0", "FN:x\r\nN:x;;;;\r\nX-GENDER:M\r\n", both), (Change{"X-GENDER:M\r\n", "GENDER:M;male person\r\n"}));
    const std::string older = detailsOf("3.0", "FN:x\r\nN:x;;;;\r\nGENDER:M;male person\r\n");
    EXPECT_EQ(changeOf("4.0", "FN:x\r\nGENDER:M\r\n", fromUtf8(older)), (Change{"GENDER:M\r\n", "GENDER:M;male person\r\n"}));
}

TEST(Details, HoldALineOfFieldsThatAreAllEmpty)
{
    EXPECT_EQ(detailsOf("4.0", "FN:x\r\nEMAIL:\r\nEMAIL:b\r\nADR;TYPE=home:PO Box 7;;;;;;\r\n"), "EMAIL:\nADR;TYPE=home:PO Box 7;;;;;;\n");
    EXPECT_EQ(detailsOf("3.0", "FN:\r\nN:;;;;\r\n"), "") << "the version requires these lines";
    EXPECT_EQ(detailsOf("4.0", "FN;DERIVED=true:Jane\r\nN:;Jane;;;\r\n"), "");
}

TEST(Details, NameWhatAFieldHoldsBesidesItsValue)
{
    EXPECT_EQ(detailsOf("4.0", "FN:x\r\nTEL;TYPE=cell:1\r\nTEL;TYPE=work,voice:2\r\nEMAIL:a\r\nADR;TYPE=work:;;s;;;;\r\n"), "")
        << "all as in a new card";
    EXPECT_EQ(detailsOf("3.0", "FN:x\r\nTEL;TYPE=CELL:1\r\nTEL;TYPE=VOICE;TYPE=WORK:2\r\nEMAIL;TYPE=INTERNET:a\r\n"), "");
    EXPECT_EQ(detailsOf("2.1", "N:x;;;;\r\nTEL;CELL:1\r\nTEL;WORK;VOICE:2\r\nEMAIL;INTERNET:a\r\n"), "");
    EXPECT_EQ(detailsOf("4.0", "FN;LANGUAGE=de:x\r\nTEL;TYPE=cell,work;PREF=1:1\r\nTEL;TYPE=cell:2\r\nEMAIL;TYPE=home:a\r\n"),
              "@24;PREF=1;TYPE=cell,work\n@29;TYPE=home\n@79;LANGUAGE=de\n@89;TYPE=cell\n");
    EXPECT_EQ(detailsOf("3.0", "FN:x\r\nTEL;TYPE=CELL,PREF:1\r\nEMAIL:a\r\n"), "@24;PREF=1\n@29;TYPE=\n");
    EXPECT_EQ(detailsOf("2.1", "N:x;;;;\r\nTEL;CELL;PREF:1\r\nTEL;X-MB-FIELD=25:2\r\n"), "@24;PREF=1\n");
    EXPECT_EQ(detailsOf("4.0", "FN:x\r\nTEL;TYPE=cell;X-MB-FIELD=65:2\r\n"), "@65;TYPE=cell\n");
}

TEST(Details, NameTheLabelsOfAField)
{
    EXPECT_EQ(detailsOf("3.0", "FN:x\r\nitem1.TEL;TYPE=CELL:1\r\nitem1.X-ABLabel:Boat\\, \"A\"\r\nitem2.ADR;TYPE=HOME:;;s;;;;\r\n"
                               "item2.X-ABADR:us\r\nwork.EMAIL;TYPE=INTERNET:a\r\n"),
              "@13;X-ABADR=us\n@24;X-ABLABEL=\"Boat\\, ^'A^'\"\n@29;X-MB-GROUP=work\n");
    EXPECT_EQ(
        detailsOf("3.0", "FN:x\r\nitem1.TEL;TYPE=CELL:1\r\nitem1.EMAIL;TYPE=INTERNET:a\r\nitem1.X-ABLabel:Boat\r\nitem1.X-MORE:m\r\n"),
        "item1.X-MORE:m\n@24;X-ABLABEL=Boat;X-MB-GROUP=item1\n@29;X-MB-GROUP=item1\n");
}

TEST(Details, NameThePartsOfAValueThatNoFieldHolds)
{
    EXPECT_EQ(detailsOf("4.0", "FN:x\r\nADR;TYPE=work:PO Box 7;Floor\\, 2;s;c;;;\r\nORG:A;B;C;D\r\nN:a;b\r\n"),
              "@1;X-MB-PARTS=2\n@7;P2=C;P3=D\n@8;P0=PO Box 7;P1=\"Floor\\, 2\"\n");
    EXPECT_EQ(detailsOf("3.0", "FN:x\r\nADR;TYPE=WORK:;;1 High Street, Flat 2;c;;;\r\n"), "@8;X-MB-ESCAPES=none\n");
}

TEST(Details, NameTheValueOfAFieldThatANewLineWouldSpellDifferently)
{
    EXPECT_EQ(detailsOf("4.0", "FN:x\r\nTEL;VALUE=uri;TYPE=cell:tel:+1-555\r\nIMPP:aim:joe\r\n"),
              "@24;VALUE=uri;X-MB-VALUE=\"tel:+1-555\"\n@46;X-MB-NAME=IMPP;X-MB-VALUE=\"aim:joe\"\n");
}

TEST(Details, AreSetLineByLine)
{
    const std::string lines = "UID:1\r\nFN:x\r\nLANG:fr\r\nX-a;b=c:1\r\nKEY:k\r\n";
    EXPECT_EQ(changeOf("4.0", lines, u"LANG:fr\nX-A;B=c:1\nKEY:k"), Change("", ""));
    EXPECT_EQ(changeOf("4.0", lines, u"KEY:k\nLANG:fr\nX-A;B=c:1\nUID:2\nVERSION:3.0\nREV:1\nPRODID:1"), Change("", ""));
    EXPECT_EQ(changeOf("4.0", lines, u"LANG:fr\nX-A;B=c:2\nKEY:k"), Change("X-a;b=c:1\r\nKEY:k\r\n", "KEY:k\r\nX-A;B=c:2\r\n"));
    EXPECT_EQ(changeOf("4.0", lines, u"LANG:fr\nX-A;B=c:1\nKEY:k\nKEY:k"), Change("", "KEY:k\r\n"));
    EXPECT_EQ(changeOf("4.0", lines, u""), Change("LANG:fr\r\nX-a;b=c:1\r\nKEY:k\r\n", ""));
    EXPECT_EQ(changeOf("3.0", "FN:x\r\n", u"ANNIVERSARY:20040521\nTZ:Europe/Paris"),
              Change("", "X-ANNIVERSARY:2004-05-21\r\nTZ;VALUE=text:Europe/Paris\r\n"));
}

TEST(Details, FromOutsideCannotEndOrForgeACard)
{
    EXPECT_EQ(
        changeOf("4.0", "FN:x\r\n",
                 u"END:VCARD\nBEGIN:VCARD\nX-A:1\r\nNOTE;ENCODING=QUOTED-PRINTABLE:=\na.END:VCARD\n@79;X-MB-NAME=END;X-MB-VALUE=VCARD\n"
                 u"@79;X-MB-GROUP=\"a:b\"\n@79;X-MB-NAME=\"A:B\"\n@24;TYPE=cell\n@3000;X=1\n@9;P0=1\n@80000;X=1"),
        Change("", "X-A:1\r\n"));
    EXPECT_EQ(changeOf("4.0", "FN:x\r\nTEL;TYPE=cell:1\r\n", u"@24;X-MB-NAME=UID\nX-A:ends in \\"), Change("", "X-A:ends in \\\\\r\n"));
}

TEST(Details, ALineThatWouldBecomeAFieldIsMarked)
{
    EXPECT_EQ(
        changeOf("4.0", "FN:x\r\n", u"EMAIL:a\nTEL;TYPE=cell:1\nNICKNAME:n\nADR;TYPE=home:PO Box 7;;;;;;"),
        Change("", "EMAIL;X-MB-FIELD=0:a\r\nTEL;TYPE=cell;X-MB-FIELD=0:1\r\nNICKNAME;X-MB-FIELD=0:n\r\nADR;TYPE=home:PO Box 7;;;;;;\r\n"));
    Card card = Card::parse(cardOf("4.0", "FN:x\r\nEMAIL;X-MB-FIELD=0:a\r\n"));
    EXPECT_EQ(detailsOf(card), "EMAIL:a\n");
    EXPECT_EQ(card.get(ftEmail1), u"");
    card.set(ftEmail1, u"b");
    EXPECT_EQ(Card::parse(card.bytes()).get(ftEmail1), u"b");
    EXPECT_EQ(detailsOf(card), "EMAIL:a\n");
}

TEST(Details, AValueThatIsNotThatOfTheFieldIsIgnoredWithItsKind)
{
    EXPECT_EQ(changeOf("4.0", "FN:x\r\nTEL;TYPE=cell:1\r\n", u"@24;PREF=1;VALUE=uri;X-MB-VALUE=\"tel:2\""),
              Change("TEL;TYPE=cell:1\r\n", "TEL;PREF=1;TYPE=cell:1\r\n"));
    EXPECT_EQ(changeOf("4.0", "FN:x\r\nTEL;TYPE=cell:1\r\n", u"@24;VALUE=uri;X-MB-VALUE=\"tel:1\""),
              Change("TEL;TYPE=cell:1\r\n", "TEL;TYPE=cell;VALUE=uri:tel:1\r\n"));
}

TEST(Details, AnEmptyLineThatHoldsAPlaceIsAddedBeforeALineThatWouldTakeIt)
{
    std::string lines = "FN:x\r\n";
    for (int field = ftEmail2; field <= ftEmail7; ++field) lines += "EMAIL;X-MB-FIELD=" + std::to_string(field) + ":a\r\n";
    EXPECT_EQ(changeOf("4.0", lines, u"EMAIL:eighth\nEMAIL:"), Change("", "EMAIL:\r\nEMAIL:eighth\r\n"));
}

TEST(Details, AMarkOfALineThatWasNotWrittenStays)
{
    EXPECT_EQ(changeOf("4.0", "FN:x\r\nTEL;TYPE=cell;X-MB-FIELD=24:1\r\n", u"LANG:fr"), Change("", "LANG:fr\r\n"));
}

TEST(Details, APictureThatWouldBecomeTheFieldIsMarked)
{
    const std::string jpeg = "data:image/jpeg;base64,/9j/AAAA", png = "data:image/png;base64,iVBORw0KGgo=";
    EXPECT_EQ(changeOf("4.0", "FN:x\r\n", fromUtf8("PHOTO:" + jpeg)), Change("", "PHOTO;X-MB-FIELD=0:" + jpeg + "\r\n"));
    EXPECT_EQ(changeOf("4.0", "FN:x\r\nPHOTO:" + jpeg + "\r\n", fromUtf8("PHOTO:" + png + "\n@40;X-CROP=1")),
              Change("PHOTO:" + jpeg + "\r\n", "PHOTO;X-CROP=1:" + jpeg + "\r\nPHOTO:" + png + "\r\n"));
    EXPECT_EQ(changeOf("3.0", "FN:x\r\n", fromUtf8("PHOTO:" + png)), Change("", "PHOTO;ENCODING=b;TYPE=PNG:iVBORw0KGgo=\r\n"));
}

TEST(Details, TheLineOfAnEmptyFieldGoesOnlyIfNoOtherLineMovesIntoTheField)
{
    EXPECT_EQ(changeOf("4.0", "FN:x\r\nEMAIL:\r\n", u""), Change("EMAIL:\r\n", ""));
    EXPECT_EQ(changeOf("4.0", "FN:x\r\nEMAIL:\r\nEMAIL:b\r\n", u""), Change("", ""));
    EXPECT_EQ(changeOf("4.0", "FN:x\r\nADR;TYPE=home:PO Box 7;;;;;;\r\nADR;TYPE=home:;;s;;;;\r\n", u"ADR;TYPE=home:;;s;;;;"),
              Change("ADR;TYPE=home:PO Box 7;;;;;;\r\n", "ADR;TYPE=home:\r\n"));
}

TEST(Details, AnAnnotationChangesTheLineOfItsFieldOnly)
{
    const std::string lines = "FN:x\r\nTEL;TYPE=cell:1\r\nADR;TYPE=work:;;s;c;;;\r\nX-odd:1\r\n";
    EXPECT_EQ(changeOf("4.0", lines, u"X-ODD:1\n@24;TYPE=cell,work;PREF=1"),
              Change("TEL;TYPE=cell:1\r\n", "TEL;PREF=1;TYPE=cell,work:1\r\n"));
    EXPECT_EQ(changeOf("3.0", lines, u"X-ODD:1\n@24;TYPE=cell,work;PREF=1"),
              Change("TEL;TYPE=cell:1\r\n", "TEL;TYPE=CELL,WORK,PREF:1\r\n"));
    EXPECT_EQ(changeOf("4.0", lines, u"X-ODD:1\n@24;X-ABLABEL=Boat"),
              Change("TEL;TYPE=cell:1\r\n", "item1.TEL;TYPE=cell:1\r\nitem1.X-ABLabel:Boat\r\n"));
    EXPECT_EQ(changeOf("4.0", lines, u"X-ODD:1\n@8;P0=PO Box 7"),
              Change("ADR;TYPE=work:;;s;c;;;\r\n", "ADR;TYPE=work:PO Box 7;;s;c;;;\r\n"));
    EXPECT_EQ(changeOf("4.0", "FN:x\r\nitem1.TEL;PREF=1;TYPE=cell:1\r\nitem1.X-ABLabel:Boat\r\n", u""),
              Change("item1.TEL;PREF=1;TYPE=cell:1\r\nitem1.X-ABLabel:Boat\r\n", "TEL;TYPE=cell:1\r\n"));
    EXPECT_EQ(changeOf("4.0", "FN:x\r\nitem1.TEL;TYPE=cell:1\r\nitem1.X-ABLabel:Boat\r\n", u"@24;X-ABLABEL=Ship"),
              Change("item1.X-ABLabel:Boat\r\n", "item1.X-ABLabel:Ship\r\n"));
}

TEST(Details, AnAnnotationThatWouldChangeAFieldIsNotApplied)
{
    EXPECT_EQ(changeOf("4.0", "FN:x\r\nTEL;TYPE=cell:1\r\n", u"@24;X-MB-VALUE=2;PREF=1"),
              Change("TEL;TYPE=cell:1\r\n", "TEL;PREF=1;TYPE=cell:1\r\n"));
    EXPECT_EQ(changeOf("4.0", "FN:x\r\nADR;TYPE=work:;;s;c;;;\r\n", u"@8;P0=\"a;b\""), Change("", ""));
    EXPECT_EQ(changeOf("4.0", "FN:x\r\nTEL;TYPE=cell:1\r\n", u"@24;X-MB-NAME=EMAIL"), Change("", ""));
}

// The types of a line and its field may disagree: then the line is marked with its field.
TEST(Details, TheFieldOfALineWithOtherTypesIsMarkedWhereItHasToBe)
{
    const std::string two = "FN:x\r\nTEL;TYPE=cell:1\r\nTEL;TYPE=voice;X-MB-FIELD=89:2\r\n";
    EXPECT_EQ(changeOf("4.0", two, u"@89;TYPE=cell"), Change("TEL;TYPE=voice;X-MB-FIELD=89:2\r\n", "TEL;TYPE=cell:2\r\n"));
    const std::string one = "FN:x\r\nTEL;TYPE=voice;X-MB-FIELD=89:2\r\n";
    EXPECT_EQ(changeOf("4.0", one, u"@89;TYPE=cell"), Change("TEL;TYPE=voice;X-MB-FIELD=89:2\r\n", "TEL;TYPE=cell;X-MB-FIELD=89:2\r\n"));
    EXPECT_EQ(changeOf("4.0", "FN:x\r\nTEL;TYPE=home,voice:1\r\n", u"@22;TYPE=pager"),
              Change("TEL;TYPE=home,voice:1\r\n", "TEL;TYPE=pager;X-MB-FIELD=22:1\r\n"));
}

TEST(Details, TwoMobileNumbersStayMobileNumbers)
{
    for (const auto& [version, lines] :
         {std::pair("3.0", "TEL;TYPE=CELL:1\r\nTEL;TYPE=CELL:2\r\n"), std::pair("4.0", "TEL;TYPE=cell:1\r\nTEL;TYPE=cell:2\r\n")}) {
        const Card from = Card::parse(cardOf(version, lines));
        Card to = Card::parse(cardOf(version, ""));
        to.set(ftMobile, from.get(ftMobile));
        to.set(ftMiscPhone1, from.get(ftMiscPhone1));
        EXPECT_TRUE(to.setDetails(from.wholeDetails()));
        EXPECT_EQ(to.bytes(), from.bytes());
    }
}

TEST(Details, ALabelThatIsAddedGetsAGroupOfItsOwn)
{
    EXPECT_EQ(changeOf("4.0", "FN:x\r\nitem1.TEL;TYPE=cell:1\r\nitem1.X-ABLabel:Boat\r\nTEL;TYPE=work,voice:2\r\n",
                       u"@24;X-ABLABEL=Boat\n@20;X-ABLABEL=Shop\nitem2.X-A:1"),
              Change("TEL;TYPE=work,voice:2\r\n", "item3.TEL;TYPE=voice,work:2\r\nitem3.X-ABLabel:Shop\r\nitem2.X-A:1\r\n"));
    EXPECT_EQ(changeOf("4.0", "FN:x\r\nitem1.TEL;TYPE=cell:1\r\nitem1.X-ABLabel:Boat\r\n",
                       u"@24;X-ABLABEL=Boat\nitem1.X-A:1\nitem1.X-B:1\nitem2.X-C:1"),
              Change("", "item3.X-A:1\r\nitem3.X-B:1\r\nitem2.X-C:1\r\n"))
        << "a group of the text is not joined with one of the card";
}

TEST(Details, ALabelGoesWithTheLineOfItsField)
{
    const std::string other = "item2.X-ABLabel:Boat\r\nitem2.X-A:1\r\n", twice = "item1.X-ABLabel:Shop\r\n";
    const std::string number = "item1.TEL;TYPE=CELL:1\r\n", labels = "item1.X-ABLabel:Boat\r\nitem1.X-ABADR:us\r\n";
    for (const auto& [lines, kept] : {std::pair(labels + number + other, other), std::pair(number + labels + twice, labels + twice),
                                      std::pair("item2.TEL;TYPE=CELL:1\r\n" + other, other)}) {
        Card card = Card::parse(cardOf("3.0", "FN:x\r\n" + lines));
        card.set(ftMobile, u"");
        EXPECT_EQ(card.bytes(), cardOf("3.0", "FN:x\r\n" + kept));
    }
}

TEST(Details, AllLinesOfAnEmptyFieldAreRemovedAtOnce)
{
    Card card = Card::parse(cardOf("3.0", "FN:x\r\nTITLE:1\r\nTITLE:2\r\nTITLE:3\r\n"));
    card.set(ftTitle, u"");
    EXPECT_TRUE(card.setDetails(u""));
    EXPECT_EQ(card.bytes(), cardOf("3.0", "FN:x\r\n"));
}

TEST(Details, ARemovedLineDoesNotJoinItsNeighbours)
{
    EXPECT_EQ(changeOf("2.1", "N:x;;;;\r\nNOTE;ENCODING=BASE64:AAAA\r\nX-A:1\r\nAAAA\r\n", u"@18;X=1"), Change("X-A:1\r\n", "\r\n"));
    Card card = Card::parse(cardOf("3.0", "FN:x\r\nKEY;ENCODING=b:AAAA\r\nX-A:1\r\nAAAA\r\n"));
    EXPECT_TRUE(card.setDetails(u"KEY:data:application/octet-stream;base64,AAAA"));
    EXPECT_TRUE(card.readsBackFrom(card.bytes())) << card.bytes();
    EXPECT_EQ(detailsOf(card), "KEY:data:application/octet-stream;base64,AAAA\n");
}

TEST(Details, NameTheUidOfANewCard)
{
    for (const Version version : {Version::V30, Version::V40}) {
        Card card = Card::make("4fbe8971-0bc3-424c-9c26-36c3e1eff6b1", "\n", version);
        const auto free = [](const std::string& uid) { return uid != "taken"; };
        card.takeUid(u"LANG:fr", free);
        card.takeUid(u"UID:taken", free);
        EXPECT_EQ(card.uid(), "urn:uuid:4fbe8971-0bc3-424c-9c26-36c3e1eff6b1");
        card.takeUid(u"LANG:fr\nUID:a\x01"
                     u"b\\,c\nVERSION:3.0",
                     free);
        EXPECT_EQ(card.uid(), "ab\\,c");
        EXPECT_EQ(card.details(), version == Version::V30 ? u"UID:ab\\,c\nVERSION:3.0" : u"UID:ab\\,c\nVERSION:4.0");
        EXPECT_TRUE(card.readsBackFrom(card.bytes()));
    }
}

// An algorithm that is not linear would take minutes for each of these cards.
TEST(Details, OfHugeCardsTakeLinearTime)
{
    constexpr int kMany = 50000;
    std::string labelled, mails, groups, odd;
    for (int i = 0; i < kMany; ++i) {
        labelled += "a.TEL:1\r\na.X-ABLabel:x\r\n";
        mails += "EMAIL:a\r\n";
        groups += "item" + std::to_string(i) + ".X-A:1\r\n";
        odd += ";A" + std::to_string(i) + "=\"1\"";
    }
    for (const std::string& lines : {labelled, mails, groups, "X-A" + odd + ":1\r\n"}) {
        const Card card = Card::parse(cardOf("4.0", "TEL;TYPE=pager:1\r\n" + lines));
        const std::u16string details = card.details();
        Card fresh = Card::parse(cardOf("4.0", "TEL;TYPE=pager:1\r\n"));
        fresh.setDetails(details + u"\n@27;X-ABLABEL=Boat");
        EXPECT_GT(fresh.bytes().size(), lines.size() / 2);
        fresh.setDetails(u"");
        EXPECT_EQ(fresh.get(ftPager), u"1");
    }
}

} // namespace
} // namespace mb::vcard
