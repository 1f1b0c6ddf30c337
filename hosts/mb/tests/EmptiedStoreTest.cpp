// A store that lost all its contacts, for example because a drive is not mounted or a file was moved, deletes nothing from the other store.
#include "EndToEndFixture.h"

#include <algorithm>
#include <fstream>

namespace {

using namespace mbtest;
namespace fs = std::filesystem;

class EmptiedStore : public EndToEnd, public testing::WithParamInterface<int> {
protected:
    void SetUp() override
    {
        makeMap(GetParam());
        ASSERT_EQ(mb({"sync", "--silent"}).code, 0);
        ASSERT_EQ(cardCount(), contacts());
    }
    [[nodiscard]] static std::size_t contacts() { return static_cast<std::size_t>(GetParam()); }
    // Every run that could write must be refused with a sentence that contains the text.
    void expectRefusal(const std::string& text)
    {
        for (const char* how : {"--silent", "--yes"}) {
            const Result result = mb({"sync", how});
            EXPECT_NE(result.code, 0) << how << result.out;
            EXPECT_NE(result.error.find(text), std::string::npos) << how << result.error;
        }
        (void)mb({"sync", "--dry-run"});
    }
    [[nodiscard]] std::size_t linesOfCardFile()
    {
        const std::string names = samples({"list", cards()}).out;
        return static_cast<std::size_t>(std::ranges::count(names, '\n'));
    }
};

} // namespace

TEST_P(EmptiedStore, AMissingCardFileIsNamedAndNotCreatedAgain)
{
    fs::rename(cards(), home_ / "moved.db");
    expectRefusal("The card file \"" + cards() + "\" is missing");
    EXPECT_FALSE(fs::exists(cards()));
    EXPECT_EQ(cardCount(), contacts());
    fs::rename(home_ / "moved.db", cards());
    EXPECT_EQ(mb({"sync", "--silent"}).code, 0);
    EXPECT_EQ(cardCount(), contacts());
    EXPECT_EQ(linesOfCardFile(), contacts());
}

TEST_P(EmptiedStore, ACardFileOfZeroBytesIsNamedAndNotChanged)
{
    fs::resize_file(cards(), 0);
    expectRefusal("The card file \"" + cards() + "\" is empty");
    EXPECT_EQ(fs::file_size(cards()), 0u);
    EXPECT_EQ(cardCount(), contacts());
}

TEST_P(EmptiedStore, ACardFileWithoutCardsDeletesNoneFromTheFolder)
{
    fs::rename(cards(), home_ / "moved.db");
    ASSERT_EQ(samples({"fill", cards(), "--count", "0"}).code, 0);
    expectRefusal("--max-delete");
    EXPECT_EQ(cardCount(), contacts());
    EXPECT_EQ(mb({"sync", "--silent", "--max-delete", "none"}).code, 0) << "the user allows the deletions";
    EXPECT_EQ(cardCount(), 0u);
}

TEST_P(EmptiedStore, AnEmptyMountPointDeletesNoneFromTheCardFile)
{
    fs::rename(folder(), home_ / "unmounted");
    fs::create_directory(folder());
    expectRefusal("--max-delete");
    EXPECT_EQ(linesOfCardFile(), contacts());
    fs::remove(folder());
    fs::rename(home_ / "unmounted", folder());
    EXPECT_EQ(mb({"sync", "--silent"}).code, 0);
    EXPECT_EQ(linesOfCardFile(), contacts());
    EXPECT_EQ(cardCount(), contacts());
}

TEST_P(EmptiedStore, AFolderWithoutCardsDeletesNoneFromTheCardFile)
{
    for (const fs::directory_entry& entry : std::vector<fs::directory_entry>(fs::directory_iterator(folder()), fs::directory_iterator()))
        if (entry.path().extension() == ".vcf") fs::remove(entry.path());
    std::ofstream(folder() / "notes.txt") << "not a card";
    expectRefusal("--max-delete");
    EXPECT_EQ(linesOfCardFile(), contacts());
}

TEST_P(EmptiedStore, AMissingFolderIsNamed)
{
    fs::rename(folder(), home_ / "moved");
    expectRefusal("\"" + folder().string() +
                  "\" does not exist. Put it back, connect the drive that it is on, or choose the place where it is now.");
    EXPECT_FALSE(fs::exists(folder()));
    EXPECT_EQ(linesOfCardFile(), contacts());
}

INSTANTIATE_TEST_SUITE_P(OfContacts, EmptiedStore, testing::Values(1, 3, 10));
