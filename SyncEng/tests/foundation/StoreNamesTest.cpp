#include "foundation/StoreNames.h"

#include "host.h"
#include <gtest/gtest.h>

namespace {

using Names = std::pair<std::u16string, std::u16string>;

Names told(std::u16string name1, std::u16string_view database1, std::u16string name2, std::u16string_view database2)
{
    mb::TellStoresApart(name1, database1, name2, database2);
    return {name1, name2};
}

} // namespace

TEST(StoreNames, EqualNamesGetTheLastPartOfTheirPaths)
{
    EXPECT_EQ(told(u"vCard", u"/home/ada/Contacts", u"vCard", u"/media/phone/export.vcf"),
              Names(u"vCard (Contacts)", u"vCard (export.vcf)"));
    EXPECT_EQ(told(u"vCard", u"C:\\Ada\\Contacts\\", u"vCard", u"D:\\Phone"), Names(u"vCard (Contacts)", u"vCard (Phone)"));
}

TEST(StoreNames, PathsWithEqualLastPartsGetMoreParts)
{
    EXPECT_EQ(told(u"vCard", u"/home/ada/Contacts", u"vCard", u"/home/bob/Contacts"),
              Names(u"vCard (ada/Contacts)", u"vCard (bob/Contacts)"));
    EXPECT_EQ(told(u"vCard", u"/Contacts", u"vCard", u"/home/Contacts"), Names(u"vCard (/Contacts)", u"vCard (home/Contacts)"));
    EXPECT_EQ(told(u"vCard", u"Contacts", u"vCard", u"old/Contacts"), Names(u"vCard (Contacts)", u"vCard (old/Contacts)"));
}

TEST(StoreNames, DifferentNamesStay) { EXPECT_EQ(told(u"Mirabook", u"/a", u"vCard", u"/b"), Names(u"Mirabook", u"vCard")); }

TEST(StoreNames, WithoutDifferentPathsTheNamesStay)
{
    EXPECT_EQ(told(u"vCard", u"", u"vCard", u"/b"), Names(u"vCard", u"vCard"));
    EXPECT_EQ(told(u"vCard", u"/b/", u"vCard", u"/b"), Names(u"vCard", u"vCard"));
    EXPECT_EQ(told(u"vCard", u"/", u"vCard", u"/b"), Names(u"vCard (/)", u"vCard (b)"));
}

TEST(ShortPlaces, TwoPathsAreShortenedToDifferentEnds)
{
    EXPECT_EQ(mb::ShortPlaces(u"/home/me/Contacts/", u"/media/phone/export.vcf"), Names(u"Contacts", u"export.vcf"));
    EXPECT_EQ(mb::ShortPlaces(u"/a/work/cards", u"/a/home/cards"), Names(u"work/cards", u"home/cards"));
    EXPECT_EQ(mb::ShortPlaces(u"", u"/b/cards"), Names(u"", u"cards"));
}

TEST(ShortPlaces, EqualPathsGiveEqualTexts)
{
    EXPECT_EQ(mb::ShortPlaces(u"/a/cards", u"/a/cards/"), Names(u"cards", u"cards"));
    EXPECT_EQ(mb::ShortPlaces(u"", u""), Names(u"", u""));
}

TEST(PlaceOf, AFinalSeparatorIsRemoved)
{
    EXPECT_EQ(mb::PlaceOf(u"/media/phone/"), u"/media/phone");
    EXPECT_EQ(mb::PlaceOf(u"/"), u"/");
    EXPECT_EQ(mb::PlaceOf(u"Server of the office"), u"Server of the office");
}

TEST(PlaceOf, TheHomeFolderIsATilde)
{
    const auto former = platform::environment(u"HOME");
    platform::setEnvironment(u"HOME", u"/home/me/");
    EXPECT_EQ(mb::PlaceOf(u"/home/me/Contacts/"), u"~/Contacts");
    EXPECT_EQ(mb::PlaceOf(u"/home/me"), u"~");
    EXPECT_EQ(mb::PlaceOf(u"/home/meadow/Contacts"), u"/home/meadow/Contacts");
    platform::setEnvironment(u"HOME", former.value_or(u""));
}
