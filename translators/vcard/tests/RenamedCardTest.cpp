// Another program renamed files between two runs: the cards are found again by their known identifiers.
#include "CardStoreFixture.h"

#include <map>

namespace mb::vcard {
namespace {

class RenamedCard : public CardStoreTest {
protected:
    // Returns the non-empty answers for the known identifiers after the store was asked for all of them once.
    static std::map<std::string, std::string> updated(CardStore& store, const std::vector<std::string>& known)
    {
        std::map<std::string, std::string> answers;
        for (int round = 0; round < 2; ++round)
            for (const std::string& id : known) answers[id] = store.updatedId(id);
        std::erase_if(answers, [](const auto& each) { return each.second.empty(); });
        return answers;
    }
    void rename(const char* from, const char* to) { fs::rename(folder / from, folder / to); }
    void swap(const char* one, const char* other)
    {
        rename(one, "between");
        rename(other, one);
        rename("between", other);
    }
    using Answers = std::map<std::string, std::string>;
};

TEST_F(RenamedCard, IsTheSameRecordUnderItsNewName)
{
    put("a.vcf", cardText("A", "u1"));
    put("b.vcf", cardText("B", "u2"));
    const std::vector<std::string> known = ids(open());
    ASSERT_EQ(known, (std::vector<std::string>{"a.vcf#u1", "b.vcf#u2"}));
    rename("a.vcf", "z.vcf");
    for (const bool withCache : {true, false}) {
        if (!withCache) fs::remove_all(root / "cache");
        auto store = open();
        EXPECT_EQ(updated(store, known), (Answers{{"a.vcf#u1", "z.vcf#u1"}}));
        EXPECT_FALSE(store.exists("a.vcf#u1"));
        EXPECT_TRUE(store.exists("z.vcf#u1"));
        EXPECT_EQ(read(store, "z.vcf#u1", ftLastName), u"A");
    }
}

TEST_F(RenamedCard, TwoThatSwappedTheirNamesAreBothFollowed)
{
    put("a.vcf", cardText("A", "u1"));
    put("b.vcf", cardText("B", "u2"));
    const std::vector<std::string> known = ids(open());
    swap("a.vcf", "b.vcf");
    auto store = open();
    EXPECT_EQ(updated(store, known), (Answers{{"a.vcf#u1", "b.vcf#u1"}, {"b.vcf#u2", "a.vcf#u2"}}));
}

TEST_F(RenamedCard, IsFollowedFromANameThatWasItsUidAndBackToIt)
{
    put("u1.vcf", cardText("A", "u1"));
    put("u2.vcf", cardText("B", "urn:uuid:u2"));
    ASSERT_EQ(ids(open()), (std::vector<std::string>{"u1.vcf", "u2.vcf"}));
    rename("u1.vcf", "Ada.vcf");
    rename("u2.vcf", "Bea.vcf");
    auto there = open();
    EXPECT_EQ(updated(there, {"u1.vcf", "u2.vcf"}), (Answers{{"u1.vcf", "Ada.vcf#u1"}, {"u2.vcf", "Bea.vcf#urn:uuid:u2"}}));
    rename("Ada.vcf", "u1.vcf");
    rename("Bea.vcf", "u2.vcf");
    auto back = open();
    EXPECT_EQ(updated(back, {"Ada.vcf#u1", "Bea.vcf#urn:uuid:u2"}), (Answers{{"Ada.vcf#u1", "u1.vcf"}, {"Bea.vcf#urn:uuid:u2", "u2.vcf"}}));
}

TEST_F(RenamedCard, IsADeletionAndNewCardsIfMoreThanOneNewFileHasItsUid)
{
    put("a.vcf", cardText("A", "u1"));
    put("copy.vcf", cardText("A", "u1"));
    const std::vector<std::string> known = ids(open());
    ASSERT_EQ(known.size(), 2u);
    rename("a.vcf", "y.vcf");
    auto one = open();
    EXPECT_EQ(updated(one, known), (Answers{{"a.vcf#u1", "y.vcf#u1"}})) << "the copy is known, so it is not a new file";
    put("z.vcf", cardText("A", "u1"));
    auto two = open();
    EXPECT_EQ(updated(two, known), Answers());
    EXPECT_FALSE(two.exists("a.vcf#u1"));
    rename("copy.vcf", "a.vcf");
    fs::remove(folder / "y.vcf");
    fs::remove(folder / "z.vcf");
    auto three = open();
    EXPECT_EQ(updated(three, known), Answers()) << "the copy took the file name of a known card";
    EXPECT_FALSE(three.exists("copy.vcf#u1"));
}

TEST_F(RenamedCard, WithoutUidIsADeletionAndANewCard)
{
    put("a.vcf", cardText("A"));
    const std::vector<std::string> known = ids(open());
    rename("a.vcf", "z.vcf");
    auto store = open();
    EXPECT_EQ(updated(store, known), Answers());
    EXPECT_FALSE(store.exists("a.vcf"));
}

TEST_F(RenamedCard, ThatReplacedAnotherCardIsFollowedAndTheOtherIsDeleted)
{
    put("a.vcf", cardText("A", "u1"));
    put("b.vcf", cardText("B", "u2"));
    const std::vector<std::string> known = ids(open());
    rename("b.vcf", "a.vcf");
    auto store = open();
    EXPECT_EQ(updated(store, known), (Answers{{"b.vcf#u2", "a.vcf#u2"}}));
    EXPECT_FALSE(store.exists("a.vcf#u1"));
}

TEST_F(RenamedCard, IsTheSameRecordIfItsUidWasChangedAddedOrRemoved)
{
    put("a.vcf", cardText("A", "u1"));
    put("b.vcf", cardText("B"));
    put("c.vcf", cardText("C", "u3"));
    const std::vector<std::string> known = ids(open());
    put("a.vcf", cardText("A", "u9"));
    put("b.vcf", cardText("B", "u2"));
    put("c.vcf", cardText("C"));
    auto store = open();
    EXPECT_TRUE(store.exists("a.vcf#u1"));
    EXPECT_EQ(updated(store, known), (Answers{{"a.vcf#u1", "a.vcf#u9"}, {"b.vcf", "b.vcf#u2"}, {"c.vcf#u3", "c.vcf"}}));
}

TEST_F(RenamedCard, IsFollowedFromIdentifiersWithoutUid)
{
    put("a.vcf", cardText("A", "u1"));
    put("many.vcf", cardText("B", "u2") + cardText("C", "u3"));
    auto store = open();
    EXPECT_EQ(updated(store, {"a.vcf", "many.vcf", "many.vcf#u3"}), (Answers{{"a.vcf", "a.vcf#u1"}, {"many.vcf", "many.vcf#u2"}}));
}

TEST_F(RenamedCard, IsFollowedInAFileOfManyAndIntoOne)
{
    put("a.vcf", cardText("A", "u1"));
    put("many.vcf", cardText("B", "u2") + cardText("C", "u3"));
    const std::vector<std::string> known = ids(open());
    put("many.vcf", cardText("B", "u2") + cardText("A", "u1"));
    fs::remove(folder / "a.vcf");
    rename("many.vcf", "All.vcf");
    auto store = open();
    EXPECT_EQ(updated(store, known), (Answers{{"a.vcf#u1", "All.vcf#u1"}, {"many.vcf#u2", "All.vcf#u2"}}));
    EXPECT_FALSE(store.exists("many.vcf#u3"));
    auto file = open(folder / "All.vcf");
    EXPECT_EQ(updated(file, {"old.vcf#u1", "old.vcf#u2"}), (Answers{{"old.vcf#u1", "All.vcf#u1"}, {"old.vcf#u2", "All.vcf#u2"}}))
        << "the only file of the store was renamed";
}

TEST_F(RenamedCard, ExistsEvenIfItsFileCanNoLongerBeParsed)
{
    put("a.vcf", cardText("A", "u1"));
    const std::vector<std::string> known = ids(open());
    put("backup.vcf", get("a.vcf"));
    put("a.vcf", "BEGIN:VCARD\r\n");
    for (const bool withCache : {true, false}) {
        if (!withCache) fs::remove_all(root / "cache");
        auto store = open();
        EXPECT_EQ(updated(store, known), Answers());
        EXPECT_TRUE(store.exists("a.vcf#u1"));
        expectFailure(Step::BeginRead, "line 1", [&] { store.beginRead("a.vcf#u1"); });
    }
}

TEST_F(RenamedCard, KeepsItsDateUnlessItWasChangedToo)
{
    put("a.vcf", cardText("A", "u1"));
    put("b.vcf", cardText("B", "u2"));
    const auto plain = open().modified("a.vcf#u1");
    put("a.vcf", cardText("older", "u1"));
    age("a.vcf", -1000);
    const auto a = open().modified("a.vcf#u1");
    ASSERT_GT(a, plain);
    rename("a.vcf", "z.vcf");
    EXPECT_EQ(open().modified("z.vcf#u1"), a);
    rename("z.vcf", "y.vcf");
    put("y.vcf", cardText("older still", "u1"));
    age("y.vcf", -2000);
    EXPECT_GT(open().modified("y.vcf#u1"), a) << "an older date of the file must not hide the change";
    const auto y = open().modified("y.vcf#u1"), b = open().modified("b.vcf#u2");
    swap("y.vcf", "b.vcf");
    auto swapped = open();
    EXPECT_EQ(swapped.modified("b.vcf#u1"), y);
    EXPECT_EQ(swapped.modified("y.vcf#u2"), b);
}

TEST_F(RenamedCard, IsWrittenAndDeletedUnderItsNewName)
{
    put("a.vcf", cardText("A", "u1"));
    rename("a.vcf", "z.vcf");
    auto store = open();
    EXPECT_EQ(edit(store, "z.vcf#u1", ftTitle, u"Boss"), "z.vcf#u1");
    EXPECT_NE(get("z.vcf").find("TITLE:Boss"), std::string::npos);
    EXPECT_EQ(open().modified("z.vcf#u1"), store.modified("z.vcf#u1"));
    store.remove("z.vcf#u1");
    EXPECT_TRUE(fs::is_empty(folder));
}

} // namespace
} // namespace mb::vcard
