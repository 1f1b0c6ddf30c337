// Opening files ahead of time must change nothing but the speed.
#include "DraftPool.h"
#include "CardStoreFixture.h"

#include <chrono>
#include <set>
#include <thread>

namespace mb::vcard {
namespace {

constexpr int kCards = 300;

std::u16string lastNameOf(int i)
{
    const std::string number = std::to_string(i);
    return u"Name" + std::u16string(number.begin(), number.end());
}

class DraftPoolTest : public CardStoreTest {
protected:
    static void addMany(CardStore& store, std::set<std::string>& ids)
    {
        for (int i = 0; i < kCards; ++i) ids.insert(add(store, lastNameOf(i)));
    }
};

TEST_F(DraftPoolTest, EveryAddedCardIsInItsOwnFileWhenItsSaveReturns)
{
    auto store = open();
    store.beginBatch();
    for (int i = 0; i < kCards; ++i) {
        const std::string id = add(store, lastNameOf(i));
        auto other = Folder(folder.string());
        FileState state;
        const Card card = Card::parse(other.read(id, state));
        ASSERT_EQ(card.get(ftLastName), lastNameOf(i));
        ASSERT_EQ(store.modified(id), state.modified);
    }
    store.endBatch(false);
}

TEST_F(DraftPoolTest, UnusedFilesAreDeletedAtTheEndOfTheBatch)
{
    auto store = open();
    store.beginBatch();
    std::set<std::string> added;
    addMany(store, added);
    const auto patience = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (strayFiles() == 0 && std::chrono::steady_clock::now() < patience) std::this_thread::yield();
    EXPECT_GT(strayFiles(), 0u); // while the batch is open
    store.endBatch(false);
    EXPECT_EQ(strayFiles(), 0u);
    EXPECT_EQ(added.size(), static_cast<std::size_t>(kCards));
    const auto listed = ids(open());
    EXPECT_EQ(std::set<std::string>(listed.begin(), listed.end()), added);
}

TEST_F(DraftPoolTest, UnusedFilesAreDeletedWithAStoreThatIsNotClosed)
{
    std::set<std::string> added;
    {
        auto store = open();
        store.beginBatch();
        addMany(store, added);
    }
    EXPECT_EQ(strayFiles(), 0u);
    EXPECT_EQ(open().count(), added.size());
}

TEST_F(DraftPoolTest, TakeThrowsIfNoFileCanBeOpened)
{
    const Folder cards(folder.string());
    DraftPool drafts(cards);
    fs::remove_all(folder);
    EXPECT_THROW((void)drafts.take(), FileError);
    EXPECT_THROW((void)drafts.take(), FileError);
    fs::create_directories(folder);
}

} // namespace
} // namespace mb::vcard
