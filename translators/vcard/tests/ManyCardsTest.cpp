// A folder of many cards, which the store examines on several threads.
#include "CardStoreFixture.h"

#include <algorithm>
#include <cstdio>

namespace mb::vcard {
namespace {

constexpr int kCards = 300;

std::string nameOf(int i)
{
    char name[16];
    std::snprintf(name, sizeof name, "c%03d.vcf", i);
    return name;
}

std::u16string lastNameOf(int i)
{
    const std::string number = std::to_string(i);
    return u"Name" + std::u16string(number.begin(), number.end());
}

class ManyCards : public CardStoreTest {
protected:
    void SetUp() override
    {
        CardStoreTest::SetUp();
        for (int i = 0; i < kCards; ++i) put(nameOf(i), cardText("Name" + std::to_string(i)));
    }
    static void readUpTo(CardStore& store, int end)
    {
        for (int i = 0; i < end; ++i) ASSERT_EQ(read(store, nameOf(i), ftLastName), lastNameOf(i));
    }
};

TEST_F(ManyCards, AreReadInAnyOrder)
{
    CardStore store = open();
    ASSERT_EQ(store.count(), static_cast<std::size_t>(kCards)) << reports;
    readUpTo(store, kCards);
    for (int i = kCards; i-- > 0;) ASSERT_EQ(read(store, nameOf(i), ftLastName), lastNameOf(i)) << "backwards";
    for (int i = 0; i < kCards; i += 3) ASSERT_EQ(read(store, nameOf(i), ftLastName), lastNameOf(i)) << "with gaps";
}

TEST_F(ManyCards, AreNotOverwrittenAfterAnotherProgramsChange)
{
    CardStore store = open();
    readUpTo(store, 20);
    put(nameOf(20), cardText("Somebody else"));
    age(nameOf(20), 5);
    store.beginRead(nameOf(20));
    store.endRead(nameOf(20));
    expectFailure(Step::Edit, "another program", [&] { edit(store, nameOf(20), ftTitle, u"Dr."); });
    EXPECT_EQ(get(nameOf(20)), cardText("Somebody else"));
}

TEST_F(ManyCards, AreNamedWhenAFileBecameUnreadable)
{
    CardStore store = open();
    put(nameOf(100), "no card");
    fs::remove(folder / nameOf(101));
    readUpTo(store, 100);
    expectFailure(Step::BeginRead, nameOf(100), [&] { store.beginRead(nameOf(100)); });
    expectFailure(Step::BeginRead, nameOf(101), [&] { store.beginRead(nameOf(101)); });
    for (int i = 102; i < 200; ++i) ASSERT_EQ(read(store, nameOf(i), ftLastName), lastNameOf(i));
}

TEST_F(ManyCards, AreExaminedInParallelAndListedInOrder)
{
    put(nameOf(7), "no card");
    put(nameOf(250), cardText("One", "1") + cardText("Two", "2"));
    CardStore store = open();
    EXPECT_NE(reports.find(nameOf(7)), std::string::npos);
    const std::vector<std::string> all = ids(store);
    ASSERT_EQ(all.size(), static_cast<std::size_t>(kCards)); // file 7 has no card, file 250 has two
    EXPECT_TRUE(std::is_sorted(all.begin(), all.end()));
    EXPECT_EQ(read(store, nameOf(250) + "#2", ftLastName), u"Two");
}

} // namespace
} // namespace mb::vcard
