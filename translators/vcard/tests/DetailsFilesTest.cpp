// Embedded files in the details of a card, which are given by their hashes.
#include "CardText.h"
#include "DetailsBytes.h"
#include "DetailsText.h"

namespace mb::vcard {
namespace {

const std::string png = "data:image/png;base64,iVBORw0KGgo=", ogg = "data:audio/ogg;base64,T2dnUw==";

std::string cardOf(const std::string& version, const std::string& lines)
{
    return "BEGIN:VCARD\r\nVERSION:" + version + "\r\n" + lines + "END:VCARD\r\n";
}

std::string detailsOf(const Card& card) { return toUtf8(card.details()); }

std::string hashed(const std::string& lines) { return plugin::hashedDetails(lines); }

TEST(DetailsFiles, AreGivenByTheirHashesInAnyVersion)
{
    const std::string inOld =
        cardOf("3.0", "FN:A\r\nPHOTO;ENCODING=b;TYPE=PNG:iVBORw0K\r\n Ggo=\r\nSOUND;ENCODING=b;TYPE=OGG:T2dnUw==\r\n");
    const std::string inNew = cardOf("4.0", "FN:A\r\nPHOTO:" + png + "\r\nSOUND:" + ogg + "\r\n");
    const std::string lines = "PHOTO:" + png + "\nSOUND:" + ogg + "\n";
    EXPECT_EQ(detailsOf(Card::parse(inOld)), hashed(lines + "VERSION:3.0"));
    EXPECT_EQ(detailsOf(Card::parse(inNew)), hashed(lines + "VERSION:4.0"));
    EXPECT_EQ(toUtf8(Card::parse(inOld).wholeDetails()), lines + "VERSION:3.0");
    EXPECT_EQ(detailsOf(Card::parse(inNew)).find("base64"), std::string::npos);
}

TEST(DetailsFiles, AHashThatTheCardHoldsKeepsItsBytes)
{
    const std::string text = cardOf("3.0", "FN:A\r\nPHOTO;TYPE=png;ENCODING=B:iVBORw0K\r\n\tGgo=\r\nX-A:1\r\n");
    Card card = Card::parse(text);
    EXPECT_FALSE(card.setDetails(card.details()));
    EXPECT_FALSE(card.setDetails(card.wholeDetails()));
    EXPECT_TRUE(card.setDetails(fromUtf8(hashed("X-A:2\nPHOTO:" + png))));
    EXPECT_EQ(difference(text, card.bytes()), (std::pair<std::string, std::string>{"X-A:1\r\n", "X-A:2\r\n"}));
}

TEST(DetailsFiles, AHashThatTheCardHoldsMayGetOtherParametersAndAnotherProperty)
{
    Card card = Card::parse(cardOf("4.0", "FN:A\r\nPHOTO:" + png + "\r\n"));
    EXPECT_TRUE(card.setDetails(fromUtf8(hashed("PHOTO;PREF=1:" + png + "\nLOGO:" + png))));
    EXPECT_EQ(toUtf8(card.wholeDetails()), "PHOTO;PREF=1:" + png + "\nLOGO:" + png + "\nVERSION:4.0");
}

TEST(DetailsFiles, AHashThatTheCardDoesNotHoldIsDropped)
{
    const std::string odd = "PHOTO:x-mb-data:image/png,8,00";
    Card card = Card::parse(cardOf("4.0", "FN:A\r\n" + odd + "\r\n"));
    EXPECT_EQ(detailsOf(card), odd + "\nVERSION:4.0") << "a line of the file like any other";
    EXPECT_TRUE(card.setDetails(fromUtf8(odd + '\n' + hashed("KEY:" + ogg) + "\nLOGO:x-mb-data:image/png,8,00\nX-A:1")));
    EXPECT_EQ(toUtf8(card.wholeDetails()), odd + "\nX-A:1\nVERSION:4.0");
}

TEST(DetailsFiles, AWholeLineIsWrittenAndARemovedOneIsRemoved)
{
    Card card = Card::parse(cardOf("3.0", "FN:A\r\nPHOTO;ENCODING=b;TYPE=png:iVBORw0KGgo=\r\n"));
    EXPECT_TRUE(card.setDetails(fromUtf8("SOUND:" + ogg)));
    EXPECT_EQ(toUtf8(card.wholeDetails()), "SOUND:" + ogg + "\nVERSION:3.0");
    EXPECT_NE(card.bytes().find("SOUND;ENCODING=b;TYPE=OGG:T2dnUw=="), std::string::npos) << card.bytes();
}

} // namespace
} // namespace mb::vcard
