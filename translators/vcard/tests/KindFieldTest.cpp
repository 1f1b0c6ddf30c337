// The kind of a card: a group, an organisation, or nothing for a person.
#include "CardText.h"
#include "Charset.h"
#include "Details.h"

#include <gtest/gtest.h>

namespace mb::vcard {
namespace {

constexpr int kKind = ft::Kind;

Card kindCard(std::string_view version, std::string_view lines)
{
    return Card::parse("BEGIN:VCARD\r\nVERSION:" + std::string(version) + "\r\nUID:1\r\nN:;;;;\r\nFN:Us\r\n" + std::string(lines) +
                       "END:VCARD\r\n");
}

std::string kindOf(const Card& card) { return toUtf8(card.get(kKind)); }
std::string detailsOf(const Card& card) { return toUtf8(card.details()); }
bool holds(const Card& card, std::string_view text) { return card.bytes().find(text) != std::string::npos; }

} // namespace

TEST(KindField, IsReadInLowerCaseFromTheFormOfAnyVersion)
{
    for (const char* version : {"2.1", "3.0", "4.0"}) {
        SCOPED_TRACE(version);
        EXPECT_EQ(kindOf(kindCard(version, "")), "");
        EXPECT_EQ(kindOf(kindCard(version, "KIND:group\r\n")), "group");
        EXPECT_EQ(kindOf(kindCard(version, "KIND: Group \r\n")), "group");
        EXPECT_EQ(kindOf(kindCard(version, "X-ADDRESSBOOKSERVER-KIND:group\r\n")), "group");
        EXPECT_EQ(kindOf(kindCard(version, "item1.KIND;X-A=1:org\r\n")), "org");
        EXPECT_EQ(kindOf(kindCard(version, "KIND:Individual\r\n")), "") << "a card without a kind is an individual";
    }
}

TEST(KindField, IsWrittenInTheFormOfTheCardsVersion)
{
    for (const char* version : {"2.1", "3.0", "4.0"}) {
        SCOPED_TRACE(version);
        Card card = kindCard(version, "");
        EXPECT_TRUE(card.set(kKind, u"Group"));
        EXPECT_TRUE(holds(card, version == std::string_view("4.0") ? "\r\nKIND:group\r\n" : "\r\nX-ADDRESSBOOKSERVER-KIND:group\r\n"));
        EXPECT_EQ(kindOf(Card::parse(card.bytes())), "group");
        EXPECT_FALSE(card.set(kKind, u"GROUP")) << "no byte changes";
        EXPECT_TRUE(card.set(kKind, u"individual"));
        EXPECT_EQ(card.bytes(), kindCard(version, "").bytes());
    }
}

TEST(KindField, OfALineKeepsItsNameAndParameters)
{
    Card card = kindCard("3.0", "item1.KIND;X-A=1:group\r\n");
    card.set(kKind, u"org");
    EXPECT_TRUE(holds(card, "\r\nitem1.KIND;X-A=1:org\r\n"));
    EXPECT_TRUE(detailsOf(card).find("@1001;X-A=1") != std::string::npos) << detailsOf(card);
    EXPECT_EQ(detailsOf(card).find("KIND:"), std::string::npos) << "the field carries it";
}

TEST(KindField, ThatIsNamedIndividualIsALineOfDetails)
{
    const Card card = kindCard("4.0", "KIND:individual\r\n");
    EXPECT_TRUE(detailsOf(card).find("KIND:individual") != std::string::npos) << detailsOf(card);
    Card copy = kindCard("3.0", "");
    EXPECT_TRUE(copy.setDetails(card.details()));
    EXPECT_TRUE(holds(copy, "\r\nX-ADDRESSBOOKSERVER-KIND:individual\r\n")) << copy.bytes();
    EXPECT_EQ(kindOf(copy), "");
    EXPECT_TRUE(copy.set(kKind, u"group"));
    EXPECT_EQ(detailsOf(copy).find("KIND"), std::string::npos) << "the line is the field's now";
    EXPECT_TRUE(holds(copy, "\r\nX-ADDRESSBOOKSERVER-KIND:group\r\n")) << copy.bytes();
}

TEST(KindField, BecomesIndividualByALineOfDetails)
{
    Card card = kindCard("4.0", "KIND:group\r\nMEMBER:urn:uuid:a\r\n");
    EXPECT_TRUE(card.set(kKind, u""));
    EXPECT_TRUE(card.setDetails(u"KIND:individual\nMEMBER:urn:uuid:a"));
    EXPECT_TRUE(holds(card, "KIND:individual")) << card.bytes();
    EXPECT_FALSE(holds(card, "X-MB-FIELD")) << card.bytes();
}

TEST(KindField, KeepsItsSpellingOnItsWayThroughDetails)
{
    const Card from = kindCard("4.0", "KIND:GROUP\r\n");
    Card to = kindCard("4.0", "");
    to.set(kKind, from.get(kKind));
    to.setDetails(from.details());
    EXPECT_TRUE(holds(to, "\r\nKIND:GROUP\r\n")) << to.bytes();
}

TEST(KindField, OfALineOfDetailsThatSaysGroupIsNoField)
{
    Card card = kindCard("4.0", "");
    card.setDetails(u"KIND:group");
    EXPECT_EQ(kindOf(card), "") << "details change no field";
}

} // namespace mb::vcard
