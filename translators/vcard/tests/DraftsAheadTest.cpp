// The files of cards that are added one after the other are opened ahead; nobody may be able to tell, but by the clock.
#include "DraftsAhead.h"
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

class DraftsAheadTest : public CardStoreTest {
protected:
    static void addMany(CardStore& store, std::set<std::string>& ids)
    {
        for (int i = 0; i < kCards; ++i) ids.insert(add(store, lastNameOf(i)));
    }
};

TEST_F(DraftsAheadTest, EveryAddedCardStandsInItsOwnFileWhenItsSaveReturns)
{
    auto store = open();
    store.beginBatch();
    for (int i = 0; i < kCards; ++i) {
        const std::string id = add(store, lastNameOf(i));
        auto other = Folder(folder.string());
        FileState state;
        const Card card = Card::parse(other.read(id, state));
        ASSERT_EQ(card.get(kLastName), lastNameOf(i));
        ASSERT_EQ(store.modified(id), state.modified);
    }
    store.endBatch(false);
}

TEST_F(DraftsAheadTest, FilesThatNobodyTookVanishAtTheEndOfTheBatch)
{
    auto store = open();
    store.beginBatch();
    std::set<std::string> added;
    addMany(store, added);
    const auto patience = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (strayFiles() == 0 && std::chrono::steady_clock::now() < patience) std::this_thread::yield();
    EXPECT_GT(strayFiles(), 0u); // they are there while the batch is open
    store.endBatch(false);
    EXPECT_EQ(strayFiles(), 0u);
    EXPECT_EQ(added.size(), static_cast<std::size_t>(kCards));
    const auto listed = ids(open());
    EXPECT_EQ(std::set<std::string>(listed.begin(), listed.end()), added);
}

TEST_F(DraftsAheadTest, FilesThatNobodyTookVanishWithAStoreThatIsNotClosed)
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

TEST_F(DraftsAheadTest, OnesThatCannotBeOpenedAreRefusedToWhoAsks)
{
    const Folder cards(folder.string());
    DraftsAhead drafts(cards);
    fs::remove_all(folder);
    EXPECT_THROW((void)drafts.take(), FileError);
    EXPECT_THROW((void)drafts.take(), FileError);
    fs::create_directories(folder);
}

} // namespace
} // namespace mb::vcard
