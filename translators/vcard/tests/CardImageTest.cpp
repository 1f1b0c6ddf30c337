// Pictures in the forms of the three vCard versions, and the category list beside the cards.
#include "CardCategories.h"
#include "CardStore.h"

#include "Card.h"
#include "interfaces.h"
#include "Samples.h"
#include "TestFolder.h"
#include "Transfer.h"

#include <chrono>
#include <gtest/gtest.h>
#include <thread>

namespace mb::vcard {
namespace {

namespace fs = std::filesystem;

std::string jpeg(std::size_t length, char fill) { return "\xFF\xD8\xFF\xE0" + std::string(length, fill) + "\xFF\xD9"; }

std::string cardOf(const std::string& version, const std::string& more = {})
{
    return "BEGIN:VCARD\r\nVERSION:" + version + "\r\nN:Doe;Jane;;;\r\nFN:Jane Doe\r\n" + more + "END:VCARD\r\n";
}

class VersionTest : public testing::TestWithParam<std::string> {};

} // namespace

TEST_P(VersionTest, APictureIsReadBackFromTheBytesItWasWrittenTo)
{
    const std::string front = jpeg(1000, 'f'), back = jpeg(301, 'b');
    Card card = Card::parse(cardOf(GetParam()));
    EXPECT_TRUE(card.setImage(ftImage1, front));
    EXPECT_TRUE(card.setImage(ftImage2, back));
    EXPECT_FALSE(card.setImage(ftImage2, back)) << "the card has this picture already";
    const std::string bytes = card.bytes();
    const Card again = Card::parse(bytes);
    EXPECT_EQ(again.image(ftImage1), front);
    EXPECT_EQ(again.image(ftImage2), back);
    EXPECT_EQ(again.imageSize(ftImage1), front.size());
    EXPECT_EQ(again.imageSize(ftImage2), back.size());
    EXPECT_EQ(again.bytes(), bytes);
    ASSERT_EQ(scanCards(bytes).cards.size(), 1u);
    for (std::size_t at = 0; at < bytes.size();) {
        const std::size_t end = bytes.find("\r\n", at);
        EXPECT_LE(end - at, 75u);
        at = end + 2;
    }
    card.setImage(ftImage1, {});
    card.setImage(ftImage2, {});
    EXPECT_EQ(Card::parse(card.bytes()).image(ftImage1), "");
    EXPECT_EQ(Card::parse(card.bytes()).imageSize(ftImage1), 0u);
    EXPECT_EQ(card.bytes().find("PHOTO"), std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(All, VersionTest, testing::Values("2.1", "3.0", "4.0"),
                         [](const auto& version) { return "Version" + version.param.substr(0, 1); });

TEST(CardImage, PicturesInTheFormsOfOtherProgramsAreRead)
{
    const std::string picture = jpeg(100, 'x'), data = encodeBase64(picture);
    for (const std::string& line : {"PHOTO;ENCODING=b;TYPE=JPEG:" + data, "PHOTO;TYPE=JPEG;ENCODING=BASE64:" + data,
                                    "PHOTO;JPEG;BASE64:" + data, "PHOTO;ENCODING=B:" + data, "item1.PHOTO:data:image/jpeg;base64," + data,
                                    "photo;x-abcrop=1:data:image/jpg;base64," + data, "PHOTO;JPEG;BASE64:\r\n " + data + "\r\n"})
        EXPECT_EQ(Card::parse(cardOf("3.0", line + "\r\n")).image(ftImage1), picture) << line.substr(0, 40);
}

TEST(CardImage, APictureThatIsNotAnEmbeddedJpegCountsAsAbsentAndIsKept)
{
    const std::string png = encodeBase64("\x89PNG\r\n\x1A\n");
    for (const std::string& line :
         {"PHOTO;ENCODING=b;TYPE=PNG:" + png, "PHOTO:data:image/png;base64," + png, std::string("PHOTO;VALUE=uri:http://example.org/a.jpg"),
          std::string("PHOTO:"), std::string("PHOTO;ENCODING=b:"), std::string("PHOTO:data:image/jpeg;base64,%%%"),
          std::string("PHOTO:data:,")}) {
        Card card = Card::parse(cardOf("3.0", line + "\r\n"));
        EXPECT_EQ(card.image(ftImage1), "");
        EXPECT_EQ(card.get(ftImage1), u"");
        EXPECT_FALSE(card.setImage(ftImage1, {}));
        EXPECT_FALSE(card.set(ftImage1, u"x"));
        EXPECT_TRUE(card.setImage(ftImage1, jpeg(10, 'n')));
        EXPECT_NE(card.bytes().find(line), std::string::npos) << "kept beside the new picture";
        EXPECT_EQ(Card::parse(card.bytes()).image(ftImage1), jpeg(10, 'n'));
    }
}

TEST(CardImage, AnEditOfAnotherFieldKeepsThePicturesBytes)
{
    const std::string line = "PHOTO;ENCODING=b;TYPE=JPEG:/9j/4AAQ\r\n  SkZJRg==\r\n";
    Card card = Card::parse(cardOf("3.0", line));
    card.set(ftCity1, u"London");
    EXPECT_NE(card.bytes().find(line), std::string::npos);
}

class CategoryListTest : public testing::Test {
protected:
    void SetUp() override
    {
        fs::create_directories(root / "cards");
        fs::create_directories(root / "cache");
    }
    CardStore open(const char* name = "cards")
    {
        return {(root / name).string(), (root / "cache").string(), [](plugin::Finding, const std::string&) {}, recent};
    }
    CardCategories categories(const char* name = "cards")
    {
        return {(root / name).string(), (root / "cache").string(), [](plugin::Finding, const std::string&) {}, recent};
    }
    // The index is handed over only if the names in the folder did not change shortly before the listing.
    static void rest() { std::this_thread::sleep_for(std::chrono::milliseconds(150)); }
    void put(const std::string& name, const std::string& categories)
    {
        writeBytes(root / "cards" / name, cardOf("3.0", categories.empty() ? "" : "CATEGORIES:" + categories + "\r\n"));
    }
    mbtest::TestFolder home;
    const fs::path root = home.path();
    RecentIndexes recent;
};

TEST_F(CategoryListTest, ItListsKeptCategoriesAndThoseOfTheCards)
{
    put("a.vcf", "Friends,Work");
    put("b.vcf", "work");
    put("c.vcf", "");
    categories().keep({u"Choir", u"Mr. X, Ltd."});
    EXPECT_EQ(categories().takeNames(), (plugin::Names{u"Choir", u"Mr. X, Ltd.", u"Friends", u"Work"}));
    EXPECT_EQ(readBytes(root / "cards" / ".mbsync-categories"), "Choir\nMr. X, Ltd.\n");
    EXPECT_EQ(open().count(), 3u) << "the category list is not a card";
}

TEST_F(CategoryListTest, AnUnchangedFolderIsKnownWithoutOpeningACard)
{
    put("a.vcf", "Friends");
    const auto stamp = inWholeSeconds(root / "cards" / "a.vcf");
    EXPECT_EQ(categories().takeNames(), plugin::Names{u"Friends"});
    put("a.vcf", "Enemies"); // equal size and date: only opening the file would tell
    fs::last_write_time(root / "cards" / "a.vcf", stamp);
    EXPECT_EQ(categories().takeNames(), plugin::Names{u"Friends"});
}

TEST_F(CategoryListTest, ItListsTheCategoriesThatARunWrote)
{
    put("a.vcf", "Friends");
    {
        CardStore store = open();
        store.beginEdit("a.vcf");
        store.write("a.vcf", ftCategories, u"Work, Choir");
        (void)store.save("a.vcf");
    }
    EXPECT_EQ(categories().takeNames(), (plugin::Names{u"Work", u"Choir"}));
    fs::remove(root / "cards" / "a.vcf");
    EXPECT_EQ(categories().takeNames(), plugin::Names{});
}

TEST_F(CategoryListTest, TheNextStoreAloneTakesOverTheIndex)
{
    put("a.vcf", "Friends");
    rest();
    EXPECT_EQ(categories().takeNames(), plugin::Names{u"Friends"});
    put("a.vcf", "Friends,Work"); // written in place, so that the list of names does not change
    const std::int64_t first = open().modified("a.vcf");
    EXPECT_LT(first, open().modified("a.vcf")) << "the first store uses the index that the categories read";
}

TEST_F(CategoryListTest, AFileAddedAfterTheListingIsFound)
{
    put("a.vcf", "Friends");
    rest();
    EXPECT_EQ(categories().takeNames(), plugin::Names{u"Friends"});
    put("b.vcf", "Work");
    EXPECT_EQ(open().count(), 2u);
}

TEST_F(CategoryListTest, AFileOfManyCardsHasAListOfItsOwn)
{
    writeBytes(root / "cards" / "all.vcf", cardOf("3.0", "UID:1\r\nCATEGORIES:One\r\n") + cardOf("3.0", "UID:2\r\nCATEGORIES:Two,One\r\n"));
    categories("cards/all.vcf").keep({u"Kept"});
    EXPECT_TRUE(fs::exists(root / "cards" / ".all.vcf.mbsync-categories"));
    EXPECT_EQ(categories("cards/all.vcf").takeNames(), (plugin::Names{u"Kept", u"One", u"Two"}));
}

} // namespace mb::vcard
