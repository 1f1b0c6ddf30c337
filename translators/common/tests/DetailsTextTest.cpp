#include "DetailsText.h"

#include <gtest/gtest.h>
#include <random>

namespace mb::plugin {
namespace {

TEST(DetailsText, KeepsPropertiesAnnotationsAndOwnLines)
{
    const std::u16string text = u"item1.X-ANY;TYPE=a,b;LABEL=\"x:y;z\":value: with; colons\n"
                                u"ANNIVERSARY:20040521\n"
                                u"a.b.X_ODD:\ttab \U0001F642\n"
                                u"NOTE:ends in two\\\\\n"
                                u"@24;TYPE=cell,work;PREF=1\n"
                                u"@8;P0=\"PO Box 1; upper:floor\"\n"
                                u"UID:urn:uuid:1\n"
                                u"VERSION:4.0";
    EXPECT_EQ(cleanedDetails(text), text);
    EXPECT_EQ(cleanedDetails(u""), u"");
}

TEST(DetailsText, DropsWhatIsNoPropertyAndWhatBeginsOrEndsACard)
{
    for (const char16_t* line : {u"BEGIN:VCARD",
                                 u"end:vcard",
                                 u"a.End:VCARD",
                                 u"END;X=1:VCARD",
                                 u"\x01"
                                 u"END:VCARD",
                                 u" END:VCARD",
                                 u"no colon",
                                 u"",
                                 u":no name",
                                 u";X=1:no name",
                                 u".X:no group",
                                 u"a.:no name",
                                 u"# X:comment",
                                 u"SPACE D:x",
                                 u"\tX:fold",
                                 u"X;bare:x",
                                 u"X;=1:x",
                                 u"X;A=\"never closed:x",
                                 u"X;A=1;B",
                                 u"NOTE;ENCODING=QUOTED-PRINTABLE:joins=",
                                 u"NOTE;encoding=b:AAAA",
                                 u"NOTE;CHARSET=UTF-16:x",
                                 u"@24",
                                 u"@;TYPE=cell",
                                 u"@0;TYPE=cell",
                                 u"@024;TYPE=cell",
                                 u"@24x;TYPE=cell",
                                 u"@12345;TYPE=cell",
                                 u"@24;TYPE=cell:999",
                                 u"@24;TYPE=\"cell",
                                 u"@24;cell"}) {
        EXPECT_EQ(cleanedDetailsLine(line), u"") << testing::PrintToString(std::u16string(line));
        EXPECT_EQ(cleanedDetails(std::u16string(u"X:1\n") + line + u"\nY:2"), u"X:1\nY:2") << testing::PrintToString(std::u16string(line));
    }
}

TEST(DetailsText, RemovesControlsAndDoublesALoneBackslashAtTheEnd)
{
    EXPECT_EQ(cleanedDetails(u"X:a\rb\x0B\r\n\nY:c\r\n"), u"X:ab\nY:c");
    EXPECT_EQ(cleanedDetails(std::u16string_view(u"X:a\0b", 5)), u"X:ab");
    EXPECT_EQ(cleanedDetails(u"X:a\\\nY:b"), u"X:a\\\\\nY:b");
    EXPECT_EQ(cleanedDetails(u"X:a\xD800z\xDC00"), u"X:a\xFFFDz\xFFFD");
}

TEST(DetailsText, CleaningTwiceIsCleaningOnce)
{
    std::mt19937 random(testing::UnitTest::GetInstance()->random_seed());
    constexpr std::u16string_view kAlphabet = u"aX@1;:=\".,\\\n\r\t\x01-END:B\xD800\xDC00";
    for (int round = 0; round < 20000; ++round) {
        std::u16string text;
        for (std::size_t size = random() % 24; size > 0; --size) text += kAlphabet[random() % kAlphabet.size()];
        const std::u16string once = cleanedDetails(text);
        EXPECT_EQ(cleanedDetails(once), once) << testing::PrintToString(text);
    }
}

TEST(DetailsText, NamesTheFieldOfAnAnnotation)
{
    EXPECT_EQ(annotatedField(u"@24;TYPE=cell"), 24);
    EXPECT_EQ(annotatedField(u"@3000;X=1"), 3000);
    EXPECT_EQ(annotatedField(u"X-24;TYPE=cell:1"), 0);
    EXPECT_EQ(withoutAnnotations(u"X:1\n@24;TYPE=cell\n@25;TYPE=main\nUID:1", [](int field) { return field == 24; }),
              u"X:1\n@25;TYPE=main\nUID:1");
    EXPECT_EQ(withoutAnnotations(u"@24;TYPE=cell", [](int) { return true; }), u"");
}

TEST(DetailsText, FindsOwnLines)
{
    EXPECT_EQ(ownDetail(u"X-UID:0\na.UID:1\nuid:2\nUID:3", u"UID"), u"2");
    EXPECT_EQ(ownDetail(u"X:1", u"VERSION"), u"");
}

TEST(DetailsText, CountsOctetsOfUtf8) { EXPECT_EQ(detailsOctets(u"a\u00FC\u20AC\U0001F642\n"), 1u + 2 + 3 + 4 + 1); }

TEST(DetailsText, AnAnnotationIsOfAllFieldsThatShareItsProperty)
{
    EXPECT_EQ(fieldsOfAnnotation(24), std::vector{24});
    EXPECT_EQ(fieldsOfAnnotation(7), (std::vector{7, 68}));
    EXPECT_EQ(fieldsOfAnnotation(13), (std::vector{13, 14, 15, 16, 17}));
    EXPECT_EQ(fieldsOfAnnotation(14), std::vector{14}) << "only the lowest field names an annotation";
}

TEST(DetailsText, ALineOverItsLimitIsRefusedWithTheNameOfTheCard)
{
    std::u16string text = u"Y:1\nX:" + std::u16string(kMaxDetailsLine - 2, u'x');
    EXPECT_EQ(detailsRefusal(text, "Ada"), "");
    text += u'x';
    const std::string refusal = detailsRefusal(text, "Ada");
    EXPECT_NE(refusal.find("\"Ada\" is not written: a line of its details has more than 32 MiB"), std::string::npos) << refusal;
    EXPECT_NE(detailsRefusal(u"X:" + std::u16string(kMaxDetailsLine / 3 + 1, u'\u4E2D'), "Ada"), "") << "the limit counts octets of UTF-8";
}

TEST(DetailsText, ATextOverItsLimitIsRefusedWithTheNameOfTheCard)
{
    std::u16string text(kMaxDetails, u'x');
    text[text.size() / 2 - 1] = text.back() = u'\n';
    EXPECT_EQ(detailsRefusal(text, "Ada"), "");
    text += u'Y';
    const std::string refusal = detailsRefusal(text, "Ada");
    EXPECT_NE(refusal.find("\"Ada\" is not written: the text of its details has more than 64 MiB"), std::string::npos) << refusal;
}

} // namespace
} // namespace mb::plugin
