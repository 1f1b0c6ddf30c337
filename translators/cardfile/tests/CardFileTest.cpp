// What a card file contains, and when.
#include "Support.h"

#include "text.h"
#include <fstream>
#include <set>

namespace mb::cardfile {
namespace {

using plugin::Step;

TEST_F(CardFileTest, IsCreatedOnlyOnRequest)
{
    ASSERT_TRUE(fs::remove(file));
    EXPECT_NE(failureOf(Step::Open, [&] { (void)open(); }).find(file.string() + "\" is missing"), std::string::npos);
    EXPECT_FALSE(fs::exists(file));
    CardFile::make(file.string());
    EXPECT_EQ(sqlText("PRAGMA journal_mode"), "wal");
    EXPECT_EQ(sqlText("PRAGMA user_version"), "2");
    EXPECT_EQ(open()->count(), 0u);
}

TEST_F(CardFileTest, CreatingAnExistingFileKeepsItsCards)
{
    const std::string id = addCard(*open(), u"Lovelace");
    CardFile::make(file.string());
    EXPECT_EQ(readValue(*open(), id, ftLastName), u"Lovelace");
}

TEST_F(CardFileTest, IsForItsOwnerAlone)
{
    EXPECT_EQ(fs::status(file).permissions(), fs::perms::owner_read | fs::perms::owner_write);
    const auto cards = open();
    addCard(*cards, u"Lovelace");
    for (const auto& entry : fs::directory_iterator(folder))
        EXPECT_EQ(entry.status().permissions(), fs::perms::owner_read | fs::perms::owner_write) << entry.path();
}

// A file without bytes was created by hand or truncated. It must not count as a store without cards.
TEST_F(CardFileTest, AnEmptyFileBecomesACardFileOnlyOnRequest)
{
    std::ofstream(file, std::ios::trunc).close();
    EXPECT_NE(failureOf(Step::Open, [&] { (void)open(); }).find("is empty"), std::string::npos);
    EXPECT_EQ(fs::file_size(file), 0u);
    CardFile::make(file.string());
    const std::string id = addCard(*open(), u"Lovelace");
    EXPECT_EQ(readValue(*open(), id, ftLastName), u"Lovelace");
}

TEST_F(CardFileTest, LeavesNoOtherFileBehind)
{
    addCard(*open(), u"Lovelace");
    std::set<fs::path> left;
    for (const auto& entry : fs::directory_iterator(folder)) left.insert(entry.path());
    EXPECT_EQ(left, std::set<fs::path>{file});
}

TEST_F(CardFileTest, ANameThatIsSpecialToSqliteIsAnOrdinaryFile)
{
    const fs::path before = fs::current_path();
    fs::current_path(folder);
    for (const char* name : {":memory:", "file:x?mode=memory"}) {
        CardFile::make(name);
        const std::string id = addCard(*std::make_unique<CardFile>(name, nullptr), u"Kept");
        EXPECT_TRUE(fs::exists(folder / name));
        EXPECT_TRUE(CardFile(name, nullptr).exists(id));
    }
    fs::current_path(before);
}

TEST_F(CardFileTest, HoldsValuesOfAllAlphabetsAndLengths)
{
    const std::u16string values[] = {
        u"plain",
        u" blanks around ",
        u"line\r\nline\nline\ttab",
        u"Grüße, señor Łukasz Żółć",
        u"Ελληνικά",
        u"Русский текст",
        u"עברית",
        u"العربية",
        u"हिन्दी",
        u"ไทย",
        u"中文字符",
        u"日本語かな",
        u"한국어",
        u"e\u0301 combining",
        u"\U0001F600\U00020BB7 beyond sixteen bits",
        u"\u202Eright to left",
        u"'; DROP TABLE card; --",
        u"100% ?1 \\ \" '",
        std::u16string(u"nul\0inside", 10),
        u"\uFEFF\uFFFE\uFFFF",
        std::u16string(1'000'000, u'x'),
        std::u16string(300'000, u'中'),
    };
    std::vector<std::string> ids;
    {
        const auto cards = open();
        cards->beginBatch();
        for (const auto& value : values) ids.push_back(addCard(*cards, u"x", value));
        cards->endBatch(false);
    }
    const auto cards = open();
    for (std::size_t i = 0; i < ids.size(); ++i) EXPECT_EQ(readValue(*cards, ids[i], ftNotes), values[i]) << i;
}

TEST_F(CardFileTest, AnUnpairedSurrogateBecomesTheReplacementCharacter)
{
    const auto cards = open();
    const std::string id = addCard(*cards, std::u16string{u'a', 0xD83D, u'b'}, std::u16string{0xDE00, u'c', 0xD83D});
    EXPECT_EQ(readValue(*cards, id, ftLastName), u"a\uFFFDb");
    EXPECT_EQ(readValue(*cards, id, ftNotes), u"\uFFFDc\uFFFD");
}

TEST_F(CardFileTest, EveryFieldIsStoredSeparately)
{
    const auto cards = open();
    const std::string id = cards->beginAdd();
    for (int type = ftNamePrefix; type <= ftOther; ++type) cards->write(id, type, u"v" + platform::utf16(std::to_string(type)));
    cards->save(id);
    cards->beginRead(id);
    for (int type = ftNamePrefix; type <= ftOther; ++type) EXPECT_EQ(cards->read(id, type), u"v" + platform::utf16(std::to_string(type)));
    cards->endRead(id);
}

TEST_F(CardFileTest, AnEmptyValueClearsTheFieldAndTakesNoRow)
{
    const auto cards = open();
    const std::string id = addCard(*cards, u"Lovelace", u"note");
    cards->beginEdit(id);
    cards->write(id, ftNotes, u"");
    cards->write(id, ftTitle, u"");
    cards->save(id);
    EXPECT_EQ(readValue(*cards, id, ftNotes), u"");
    EXPECT_EQ(sqlText("SELECT count(*) FROM field"), "1");
}

TEST_F(CardFileTest, IdentifiersAreGuidsAndCaseInsensitive)
{
    const auto cards = open();
    const std::string id = addCard(*cards, u"Lovelace");
    GUID guid{};
    EXPECT_EQ(com::parseGuid(platform::utf16(id), &guid), S_OK);
    EXPECT_EQ(platform::utf8(com::guidText(guid)), id);
    std::string lower = id;
    for (char& c : lower) c = static_cast<char>(std::tolower(c));
    ASSERT_NE(lower, id);
    EXPECT_TRUE(cards->exists(lower));
    EXPECT_EQ(readValue(*cards, lower, ftLastName), u"Lovelace");
    cards->beginEdit(lower);
    cards->write(id, ftTitle, u"Countess");
    EXPECT_EQ(cards->save(lower), id) << "the case of the identifier is kept";
    cards->remove(lower);
    EXPECT_FALSE(cards->exists(id));
}

TEST_F(CardFileTest, EveryChangeIncreasesTheDate)
{
    const auto cards = open();
    const std::string id = addCard(*cards, u"0");
    const std::int64_t made = cards->created(id);
    std::int64_t before = cards->modified(id);
    EXPECT_EQ(before, made);
    cards->beginBatch();
    for (int i = 1; i < 200; ++i) {
        cards->beginEdit(id);
        cards->write(id, ftLastName, platform::utf16(std::to_string(i)));
        cards->save(id);
        // The interface reports days as a double.
        EXPECT_LT(25'569 + static_cast<double>(before) / 86'400e9, 25'569 + static_cast<double>(cards->modified(id)) / 86'400e9);
        before = cards->modified(id);
    }
    cards->endBatch(false);
    EXPECT_EQ(cards->created(id), made);
    EXPECT_EQ(open()->modified(id), before);
    EXPECT_EQ(open()->created(id), made);
}

TEST_F(CardFileTest, TheDateIncreasesEvenIfTheClockIsSetBack)
{
    const std::string id = addCard(*open(), u"Lovelace");
    sql("UPDATE card SET modified = 9000000000000000000"); // the year 2255
    const auto cards = open();
    cards->beginEdit(id);
    cards->write(id, ftTitle, u"Countess");
    cards->save(id);
    EXPECT_GT(cards->modified(id), 9000000000000000000);
}

TEST_F(CardFileTest, ASaveThatChangesNothingLeavesTheDate)
{
    const auto cards = open();
    const std::string id = addCard(*cards, u"Lovelace");
    const std::int64_t before = cards->modified(id);
    cards->beginEdit(id);
    cards->write(id, ftLastName, u"other");
    cards->write(id, ftLastName, u"Lovelace");
    cards->write(id, ftTitle, u"");
    EXPECT_EQ(cards->save(id), id);
    EXPECT_EQ(cards->modified(id), before);
}

TEST_F(CardFileTest, ListsCardsInTheOrderOfTheirCreation)
{
    std::vector<std::string> ids;
    {
        const auto cards = open();
        cards->beginBatch();
        for (int i = 0; i < 50; ++i) ids.push_back(addCard(*cards, u"x"));
        cards->endBatch(false);
    }
    const auto cards = open();
    ASSERT_EQ(cards->count(), ids.size());
    for (std::size_t i = 0; i < ids.size(); ++i) EXPECT_EQ(cards->idAt(i), ids[i]);
}

TEST_F(CardFileTest, ADeletedCardLeavesNoFieldAndTheOthersStay)
{
    const auto cards = open();
    std::vector<std::string> ids;
    for (const char16_t* name : {u"a", u"b", u"c"}) ids.push_back(addCard(*cards, name, u"note"));
    cards->remove(ids[0]);
    EXPECT_EQ(cards->count(), 2u);
    EXPECT_EQ((std::set<std::string>{cards->idAt(0), cards->idAt(1)}), (std::set<std::string>{ids[1], ids[2]}));
    EXPECT_EQ(readValue(*cards, ids[2], ftLastName), u"c");
    EXPECT_EQ(sqlText("SELECT count(*) FROM field"), "4");
    EXPECT_NE(failureOf(Step::Delete, [&] { cards->remove(ids[0]); }).find(ids[0]), std::string::npos);
}

TEST_F(CardFileTest, ABatchIsVisibleToOthersWhenItEnds)
{
    const auto cards = open();
    cards->beginBatch();
    const std::string id = addCard(*cards, u"Lovelace");
    EXPECT_EQ(readValue(*cards, id, ftLastName), u"Lovelace");
    EXPECT_FALSE(open()->exists(id));
    cards->endBatch(false);
    EXPECT_TRUE(open()->exists(id));
}

TEST_F(CardFileTest, AnAbortedBatchLeavesEverythingAsItWas)
{
    const auto cards = open();
    const std::string edited = addCard(*cards, u"before"), deleted = addCard(*cards, u"stays");
    const std::int64_t date = cards->modified(edited);
    cards->beginBatch();
    const std::string added = addCard(*cards, u"new");
    cards->beginEdit(edited);
    cards->write(edited, ftLastName, u"after");
    cards->save(edited);
    cards->remove(deleted);
    cards->endBatch(true);
    const auto later = open();
    for (CardFile* view : {cards.get(), later.get()}) {
        EXPECT_EQ(view->count(), 2u);
        EXPECT_FALSE(view->exists(added));
        EXPECT_EQ(readValue(*view, edited, ftLastName), u"before");
        EXPECT_EQ(view->modified(edited), date);
        EXPECT_EQ(readValue(*view, deleted, ftLastName), u"stays");
    }
}

// The caller has recorded each saved card as existing, even if it never ended its batch.
TEST_F(CardFileTest, SavedCardsOfABatchThatIsNeverEndedAreKept)
{
    std::string closed, dropped, unsaved;
    {
        const auto cards = open();
        cards->beginBatch();
        closed = addCard(*cards, u"closed");
        unsaved = cards->beginAdd();
        cards->write(unsaved, ftLastName, u"unsaved");
        cards->close();
    }
    {
        const auto cards = open();
        cards->beginBatch();
        dropped = addCard(*cards, u"dropped");
    }
    const auto cards = open();
    EXPECT_EQ(readValue(*cards, closed, ftLastName), u"closed");
    EXPECT_EQ(readValue(*cards, dropped, ftLastName), u"dropped");
    EXPECT_FALSE(cards->exists(unsaved));
}

TEST_F(CardFileTest, ACrashInABatchLosesTheBatchAndNothingElse)
{
    const std::string before = addCard(*open(), u"before");
    EXPECT_FALSE(start([&]() -> bool {
        const auto cards = open();
        cards->beginBatch();
        for (int i = 0; i < 2000; ++i) addCard(*cards, u"lost", std::u16string(2000, u'x')); // more than the cache holds
        _exit(7);
    })());
    const auto cards = open();
    EXPECT_EQ(cards->count(), 1u);
    EXPECT_EQ(readValue(*cards, before, ftLastName), u"before");
}

TEST_F(CardFileTest, BatchesDoNotNestAndEndingNoBatchIsNoFailure)
{
    const auto cards = open();
    cards->endBatch(false);
    cards->beginBatch();
    failureOf(Step::Update, [&] { cards->beginBatch(); });
    addCard(*cards, u"Lovelace");
    cards->endBatch(false);
    EXPECT_EQ(open()->count(), 1u);
}

TEST_F(CardFileTest, UnknownIdentifiersAreRefusedEverywhere)
{
    const auto cards = open();
    addCard(*cards, u"Lovelace");
    for (const std::string& id : {std::string(), std::string("nobody"), std::string(100'000, '{'), std::string("a\0b", 3),
                                  std::string("\xFF\xFE"), std::string("' OR 1=1 --"), std::string("%")}) {
        EXPECT_FALSE(cards->exists(id));
        failureOf(Step::Find, [&] { (void)cards->created(id); });
        failureOf(Step::Find, [&] { (void)cards->modified(id); });
        EXPECT_LT(failureOf(Step::BeginRead, [&] { cards->beginRead(id); }).size(), 1000u);
        failureOf(Step::ReadField, [&] { (void)cards->read(id, ftLastName); });
        failureOf(Step::Edit, [&] { cards->beginEdit(id); });
        failureOf(Step::WriteField, [&] { cards->write(id, ftLastName, u"x"); });
        failureOf(Step::Save, [&] { cards->save(id); });
        failureOf(Step::Delete, [&] { cards->remove(id); });
    }
    EXPECT_EQ(cards->count(), 1u);
}

TEST_F(CardFileTest, ACardIsWrittenOnlyWhileItIsOpen)
{
    const auto cards = open();
    const std::string one = addCard(*cards, u"1"), two = addCard(*cards, u"2");
    failureOf(Step::WriteField, [&] { cards->write(one, ftTitle, u"x"); });
    cards->beginEdit(one);
    failureOf(Step::WriteField, [&] { cards->write(two, ftTitle, u"x"); });
    failureOf(Step::Save, [&] { cards->save(two); });
    cards->write(one, ftTitle, u"x");
    EXPECT_EQ(cards->read(one, ftTitle), u"x") << "what is written is read back before the save";
    cards->save(one);
    failureOf(Step::Save, [&] { cards->save(one); });
    EXPECT_EQ(readValue(*cards, one, ftTitle), u"x");
    EXPECT_EQ(readValue(*cards, two, ftTitle), u"");
}

} // namespace
} // namespace mb::cardfile
