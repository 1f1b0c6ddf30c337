// Lines that are not properties have no meaning and stay in place, whatever else is written.
#include "Card.h"

#include "interfaces.h"
#include "Samples.h"

#include <gtest/gtest.h>

namespace mb::vcard {
namespace {

constexpr const char* kStray = "# a comment\r\n";

TEST(StrayLine, IsNotAFieldOfTheCard)
{
    const Card card =
        Card::parse("# N:Wrong;;;;\r\nBEGIN:VCARD\r\nVERSION:3.0\r\nFN\r\nUID\r\n:TEL\r\nN:Doe;Jane;;;\r\nFN:Jane Doe\r\nEND:VCARD\r\n");
    EXPECT_EQ(card.get(ftLastName), u"Doe");
    EXPECT_EQ(card.get(ftDisplayName), u"Jane Doe");
    EXPECT_EQ(card.uid(), "");
}

TEST(StrayLine, StaysInPlaceWhenAnyFieldIsSetOrCleared)
{
    const std::vector<std::string> lines = {"BEGIN:VCARD\r\n",
                                            "VERSION:3.0\r\n",
                                            "N:Doe;Jane;;;\r\n",
                                            "FN:Jane Doe\r\n",
                                            "TEL:1\r\n",
                                            "TITLE:x\r\n",
                                            "NOTE:a note\\\r\n continued\r\n",
                                            "END:VCARD\r\n"};
    for (std::size_t at = 0; at <= lines.size(); ++at) {
        std::string text;
        for (std::size_t i = 0; i <= lines.size(); ++i) text += (i == at ? kStray : "") + (i < lines.size() ? lines[i] : "");
        for (const Field& field : fields()) {
            if (field.shape == Shape::Image) continue;
            Card card = Card::parse(text);
            EXPECT_EQ(card.bytes(), text);
            for (const char16_t* value : {u"1980-02-03", u""}) {
                card.set(field.type, value);
                const std::string written = card.bytes();
                const std::size_t stray = written.find(kStray);
                ASSERT_NE(stray, written.npos) << at << " " << written;
                EXPECT_TRUE(stray == 0 || written[stray - 1] == '\n') << written;
                EXPECT_TRUE(written.ends_with(at == lines.size() ? std::string("END:VCARD\r\n") + kStray : "END:VCARD\r\n")) << written;
                const Card again = Card::parse(written);
                for (const Field& other : fields()) EXPECT_EQ(again.get(other.type), card.get(other.type)) << at << " " << written;
            }
        }
    }
}

} // namespace
} // namespace mb::vcard
