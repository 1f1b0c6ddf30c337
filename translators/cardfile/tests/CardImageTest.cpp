#include "Support.h"

namespace mb::cardfile {

namespace {

class CardImageTest : public CardFileTest {
protected:
    static std::string image(CardFile& cards, const std::string& id, int type)
    {
        cards.beginRead(id);
        std::string bytes = cards.readImage(id, type);
        EXPECT_EQ(cards.imageSize(id, type), bytes.size());
        cards.endRead(id);
        return bytes;
    }
    static void setImage(CardFile& cards, const std::string& id, int type, std::string_view bytes)
    {
        cards.beginEdit(id);
        cards.writeImage(id, type, bytes);
        (void)cards.save(id);
    }
    const std::string picture = std::string("\xFF\xD8\xFF\0binary\0", 11), other = std::string(100'000, 'x');
};

} // namespace

TEST_F(CardImageTest, WritingThePresentPictureIsNoChange)
{
    auto cards = open();
    const std::string id = addCard(*cards, u"Lovelace");
    setImage(*cards, id, ftImage1, picture);
    const std::int64_t date = cards->modified(id);
    setImage(*cards, id, ftImage1, picture);
    setImage(*cards, id, ftImage2, {});
    EXPECT_EQ(cards->modified(id), date);
    setImage(*cards, id, ftImage1, other);
    EXPECT_GT(cards->modified(id), date);
    EXPECT_EQ(image(*cards, id, ftImage1), other);
}

TEST_F(CardImageTest, DeletingACardDeletesItsPictures)
{
    auto cards = open();
    const std::string id = addCard(*cards, u"Lovelace");
    setImage(*cards, id, ftImage1, picture);
    EXPECT_EQ(sqlText("SELECT count(*) FROM image"), "1");
    cards->remove(id);
    EXPECT_EQ(sqlText("SELECT count(*) FROM image"), "0");
}

TEST_F(CardImageTest, AnAbortedBatchLeavesThePictureAsItWas)
{
    auto cards = open();
    const std::string id = addCard(*cards, u"Lovelace");
    setImage(*cards, id, ftImage1, picture);
    cards->beginBatch();
    setImage(*cards, id, ftImage1, other);
    EXPECT_EQ(image(*cards, id, ftImage1), other);
    cards->endBatch(true);
    EXPECT_EQ(image(*cards, id, ftImage1), picture);
}

TEST_F(CardImageTest, APictureThatDoesNotFitOnTheDiskIsRefusedAndTheBatchKept)
{
    auto cards = open([] { return std::uintmax_t{25} << 20; });
    cards->beginBatch();
    const std::string id = addCard(*cards, u"Lovelace");
    cards->beginEdit(id);
    cards->writeImage(id, ftImage1, std::string(4 << 20, 'x'));
    EXPECT_NE(failureOf(plugin::Step::Save, [&] { (void)cards->save(id); }).find("disk is full"), std::string::npos);
    cards->endBatch(false);
    EXPECT_EQ(image(*cards, id, ftImage1), "");
}

TEST_F(CardImageTest, AFileOfTheFirstVersionGetsItsNewTablesAndKeepsItsCards)
{
    fs::remove(file);
    {
        Database old(file.string());
        old.execute("CREATE TABLE card (key INTEGER PRIMARY KEY AUTOINCREMENT, id TEXT NOT NULL UNIQUE COLLATE NOCASE,"
                    " created INTEGER NOT NULL, modified INTEGER NOT NULL) STRICT;"
                    "CREATE TABLE field (card INTEGER NOT NULL REFERENCES card (key) ON DELETE CASCADE, type INTEGER NOT NULL,"
                    " value TEXT NOT NULL, PRIMARY KEY (card, type)) WITHOUT ROWID, STRICT;"
                    "INSERT INTO card VALUES (1, 'a', 10, 20); INSERT INTO field VALUES (1, 4, 'Lovelace'), (1, 19, 'Friends, Work');"
                    "PRAGMA application_id = 1296188209; PRAGMA user_version = 1");
    }
    auto cards = open();
    EXPECT_EQ(readValue(*cards, "a", ftLastName), u"Lovelace");
    EXPECT_EQ(cards->modified("a"), 20);
    setImage(*cards, "a", ftImage1, picture);
    EXPECT_EQ(image(*cards, "a", ftImage1), picture);
    EXPECT_EQ(cards->categories(), (plugin::Names{u"Friends", u"Work"}));
    EXPECT_EQ(sqlText("PRAGMA user_version"), "2");
}

TEST_F(CardImageTest, CategoriesAreKeptAndFoundOnCards)
{
    auto cards = open();
    const std::string id = cards->beginAdd();
    cards->write(id, ftCategories, u"Friends, choir");
    (void)cards->save(id);
    cards->keepCategories({u"Choir", u"Mr. X, Ltd."});
    EXPECT_EQ(open()->categories(), (plugin::Names{u"Choir", u"Mr. X, Ltd.", u"Friends"}));
}

} // namespace mb::cardfile
