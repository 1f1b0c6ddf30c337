// Lines that are spelt as a new card spells them need no annotation, and most lines are.
#include "NewLine.h"
#include "CardText.h"
#include "Details.h"

#include <random>

namespace mb::vcard {
namespace {

Card cardWith(Version version, const std::string& line)
{
    const std::string number = version == Version::V21 ? "2.1" : version == Version::V30 ? "3.0" : "4.0";
    return Card::parse("BEGIN:VCARD\r\nVERSION:" + number + "\r\n" + line + "\r\nEND:VCARD\r\n");
}

bool isAsNew(Version version, const std::string& line)
{
    const Line parsed = Line::parse(line + "\r\n", version);
    const Claim claim = claimOf(parsed, {}, {version, std::string("UTF-8"), "\r\n"});
    return claim.count > 0 && vcard::isAsNew(parsed, firstField(claim.slots[0]), version);
}

TEST(NewLine, IsRecognizedByItsHeaderAndSpelling)
{
    for (const char* line :
         {"N:Doe;Jane;;;", "N:Doe\\, Roe;Jane;;Dr.;", "TITLE:Head\\; of all", "ORG:Acme", "ORG:Acme;Sales",
          "ADR;TYPE=HOME:;;1 Street;Town;;;", "TEL;TYPE=CELL:+1 555 1", "TEL;TYPE=WORK,VOICE:1", "EMAIL;TYPE=INTERNET:a@b", "NICKNAME:Rit",
          "NICKNAME:Rit,Ri", "CATEGORIES:A,B c", "BDAY:1985-04-12", "X-AIM:jane", "NOTE:a\\nb\\\\c"})
        EXPECT_TRUE(isAsNew(Version::V30, line)) << line;
    for (const char* line : {"EMAIL:a@b", "TEL;TYPE=cell:1", "BDAY:19850412"}) EXPECT_TRUE(isAsNew(Version::V40, line)) << line;
}

TEST(NewLine, IsNoneOfAnotherSpelling)
{
    for (const char* line : {"N:Doe;Jane",
                             "N:Doe,Roe;Jane;;;",
                             "N:Doe;Jane;;;;",
                             "ORG:Acme;Sales;East",
                             "ORG:Acme;",
                             "ADR;TYPE=HOME:Box;;1 Street;Town;;;",
                             "TEL;TYPE=cell:1",
                             "TEL:1",
                             "item1.NOTE:x",
                             "NOTE;LANGUAGE=fr:x",
                             "NOTE:a,b",
                             "NOTE:a;b",
                             "NOTE:a\\:b",
                             "NOTE:a\\Nb",
                             "NOTE: a",
                             "NOTE:a ",
                             "NOTE:a\\",
                             "NICKNAME:a, b",
                             "NICKNAME:a,,b",
                             "NICKNAME:a\\,b",
                             "CATEGORIES:a,",
                             "BDAY:19850412",
                             "BDAY:yesterday",
                             "BDAY:1985-04-12T10:00:00Z",
                             "TEL;TYPE=CELL:tel:+1",
                             "note:x"})
        EXPECT_FALSE(isAsNew(Version::V30, line)) << line;
    EXPECT_FALSE(isAsNew(Version::V21, "NOTE:a\\nb"));
    EXPECT_FALSE(isAsNew(Version::V40, "BDAY:19851350"));
}

// Whatever a value is made of: a line that counts as new is the line that a new card writes.
TEST(NewLine, IsTheLineThatANewCardWrites)
{
    std::mt19937 random(static_cast<std::uint32_t>(testing::UnitTest::GetInstance()->random_seed()));
    const auto below = [&](std::size_t end) { return std::uniform_int_distribution<std::size_t>(0, end - 1)(random); };
    constexpr std::string_view kPieces[] = {
        "a",          "B c",      " ",      ",",   ";", "\\",     "\\,", "\\;", "\\n", "\\N", "\\:", "tel:", "aim:",         "\xC3\xA9",
        "1985-04-12", "19850412", "--0412", "T10", "M", "+1 555", ":",   "\"",  "\t",  "=",   "^",   ".",    "http://x/?a=b"};
    int asNew = 0;
    for (int round = 0; round < 60000; ++round) {
        const Version version = below(2) == 0 ? Version::V30 : Version::V40;
        const Field& field = fields()[below(fields().size())];
        const Field& first = firstField(field.slot);
        std::string line = newHeader(first, version);
        line += ':';
        const std::size_t pieces = below(7);
        for (std::size_t i = 0; i < pieces; ++i) line += kPieces[below(std::size(kPieces))];
        if (first.shape == Shape::Part && below(2) == 0) line += first.property == "ADR" ? ";;;;" : ";;;";
        const Card card = cardWith(version, line);
        const CardDetails details(card);
        if (!isAsNew(version, line)) continue;
        ++asNew;
        for (const auto& [slot, held] : details.fieldLines())
            EXPECT_EQ(joined(CardDetails::usual(card, slot)), joined(CardDetails::actual(card, slot, held.line))) << line;
        EXPECT_EQ(details.fieldLines().size(), 1u) << line;
        EXPECT_EQ(details.text(), card.details()) << line;
    }
    EXPECT_GT(asNew, 1000);
}

TEST(Details, OfACardThatHoldsOnlyFieldsAreItsOwnLines)
{
    const std::string text = "BEGIN:VCARD\r\nVERSION:3.0\r\nUID:1\r\nREV:2024\r\nPRODID:x\r\nN:Doe;Jane;;;\r\nFN:Jane\r\nEND:VCARD\r\n";
    Card card = Card::parse(text);
    EXPECT_EQ(card.details(), u"UID:1\nVERSION:3.0");
    EXPECT_FALSE(card.setDetails(u"UID:2\nVERSION:4.0"));
    EXPECT_FALSE(card.setDetails(u""));
    EXPECT_EQ(card.bytes(), text);
    EXPECT_TRUE(card.setDetails(u"LANG:fr"));
    for (const char* more : {"LANG:fr", "TEL;TYPE=CELL;PREF=1:1", "FN:Second", "item1.UID:2", "N:Second;;;;", "TEL;TYPE=CELL:"}) {
        const Card other = Card::parse(std::string(text).insert(text.find("END"), std::string(more) + "\r\n"));
        EXPECT_EQ(other.details(), CardDetails(other).text()) << more;
    }
    EXPECT_EQ(Card::parse(std::string(text).insert(text.find("END"), "LANG:fr\r\n")).details(), u"LANG:fr\nUID:1\nVERSION:3.0");
}

} // namespace
} // namespace mb::vcard
