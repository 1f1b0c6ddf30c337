// What mb says if a file that the engine needs was written by a later version of the program, or cannot be read.
#include "EndToEndFixture.h"

#include <fstream>
#include <gmock/gmock.h>

namespace {

using namespace mbtest;
using testing::HasSubstr;
namespace fs = std::filesystem;

class LaterVersionTest : public EndToEnd {
protected:
    static std::string makeLater(const fs::path& file)
    {
        replaceIn(file, "Version=\"4\"", "Version=\"5\"");
        return textOf(file);
    }
    static std::string sentenceFor(const fs::path& file)
    {
        return "\"" + file.string() +
               "\" was written by a later version (5) of this program; this one knows versions up to 4. Update the program, or move the "
               "file away.\n";
    }
    void expectFailure(const std::vector<std::string>& arguments, const std::string& sentence)
    {
        const Result result = mb(arguments);
        EXPECT_EQ(result.code, 1) << arguments.front() << result.out;
        EXPECT_THAT(result.error, HasSubstr(sentence)) << arguments.front();
        EXPECT_TRUE(isOneSentence(result.error)) << result.error;
    }
    fs::path historyOf(const std::string& map) const { return dataFolder() / (map + ".xml"); }
    fs::path configuration() const { return dataFolder() / "MBSync.xml"; }
    fs::path categoryHistory(const std::string& map) const
    {
        for (const fs::directory_entry& entry : fs::directory_iterator(dataFolder()))
            if (entry.path().extension() == ".xml" && entry.path() != configuration() && entry.path() != historyOf(map)) return entry;
        return {};
    }
};

TEST_F(LaterVersionTest, AConfigurationIsNamedByEveryCommandAndKeepsItsBytes)
{
    const std::string map = makeMap(3);
    const std::string bytes = makeLater(configuration());
    for (const std::vector<std::string>& arguments : std::vector<std::vector<std::string>>{
             {"sync"}, {"sync", "--json"}, {"maps"}, {"maps", "--json"}, {"status"}, {"translators"}, {"remove", map}})
        expectFailure(arguments, "mb: " + sentenceFor(configuration()));
    EXPECT_EQ(textOf(configuration()), bytes);
    EXPECT_EQ(cardCount(), 0u);
    EXPECT_THAT(textOf(dataFolder() / "MBSync.log"), HasSubstr("was written by a later version (5)"));

    replaceIn(configuration(), "Version=\"5\"", "Version=\"4\"");
    EXPECT_EQ(mb({"sync", "--silent"}).code, 0) << "the configuration is complete";
    EXPECT_EQ(cardCount(), 3u);
}

TEST_F(LaterVersionTest, AHistoryIsNamedByTheFailedRunAndKeepsItsBytes)
{
    const std::string map = makeMap(3);
    ASSERT_EQ(mb({"sync", "--silent"}).code, 0);
    const fs::path file = historyOf(map);
    const std::string bytes = makeLater(file);
    ASSERT_EQ(samples({"fill", cards(), "--count", "5"}).code, 0);
    for (const char* how : {"--silent", "--resync", "--dry-run", "--yes"}) expectFailure({"sync", how}, sentenceFor(file));
    expectFailure({"record-status", map}, sentenceFor(file));
    EXPECT_EQ(textOf(file), bytes);
    EXPECT_EQ(cardCount(), 3u);

    const Result result = mb({"status", "--json"});
    EXPECT_EQ(result.code, 1);
    EXPECT_EQ(result.error, "mb: " + sentenceFor(file));
    EXPECT_EQ(Json::parse(result.out).at(0).at("status"), "unreadable");
    EXPECT_THAT(mb({"status"}).out, HasSubstr("unreadable"));
    EXPECT_EQ(mb({"maps"}).code, 0) << "the maps are still listed";
}

TEST_F(LaterVersionTest, AHistoryOfCategoriesIsNamedByTheFailedRunAndKeepsItsBytes)
{
    const std::string map = makeMap(3);
    ASSERT_EQ(mb({"sync", "--silent"}).code, 0);
    const fs::path file = categoryHistory(map);
    ASSERT_FALSE(file.empty());
    const std::string bytes = makeLater(file);
    ASSERT_EQ(samples({"fill", cards(), "--count", "5"}).code, 0);
    expectFailure({"sync", "--silent"}, sentenceFor(file));
    expectFailure({"status"}, "mb: " + sentenceFor(file));
    EXPECT_EQ(textOf(file), bytes);
    EXPECT_EQ(cardCount(), 3u);
}

TEST_F(LaterVersionTest, AHistoryStaysWhenItsMapIsRemoved)
{
    const std::string map = makeMap(3);
    ASSERT_EQ(mb({"sync", "--silent"}).code, 0);
    const std::string bytes = makeLater(historyOf(map));
    expectFailure({"remove", map}, "The history of the map " + map + " could not be removed: " + sentenceFor(historyOf(map)));
    EXPECT_EQ(textOf(historyOf(map)), bytes);
    EXPECT_EQ(json({"maps"}), Json::array());
}

TEST_F(LaterVersionTest, TheFilterListsAreNamedAndKeepTheirBytes)
{
    ASSERT_EQ(mb({"filter", "cards.db", "--add", "8c1e0f27"}).code, 0);
    const fs::path file = dataFolder() / "CNFilter.xml";
    const std::string bytes = makeLater(file);
    expectFailure({"filter", "cards.db", "--clear"}, sentenceFor(file));
    EXPECT_EQ(textOf(file), bytes);
}

TEST_F(LaterVersionTest, ACardFileIsNamedByTheFailedRunAndKeepsItsBytes)
{
    makeMap(3);
    ASSERT_EQ(mb({"sync", "--silent"}).code, 0);
    ASSERT_FALSE(fs::exists(cards() + "-wal")) << "all data is in the file itself";
    constexpr std::streamoff userVersion = 60; // four bytes of the file's header
    {
        std::fstream file(cards(), std::ios::binary | std::ios::in | std::ios::out);
        file.seekp(userVersion);
        file.write("\0\0\0\5", 4);
    }
    const std::string bytes = textOf(cards());
    expectFailure({"sync", "--silent"}, "The card file \"" + cards() + "\" was written by a later version of this program.");
    EXPECT_EQ(textOf(cards()), bytes);
}

TEST_F(LaterVersionTest, AConfigurationThatCannotBeReadIsNamedAndNotReplaced)
{
    const std::string map = makeMap(3);
    const std::string bytes = textOf(configuration());
    const fs::path aside = home_ / "aside.xml";
    fs::rename(configuration(), aside);
    fs::create_directory(configuration());
    for (const char* command : {"sync", "maps"})
        expectFailure({command}, "mb: \"" + configuration().string() + "\" is there, but cannot be read");
    EXPECT_TRUE(fs::is_directory(configuration()));
    fs::remove(configuration());
    fs::rename(aside, configuration());
    EXPECT_EQ(textOf(configuration()), bytes);
    ASSERT_EQ(mb({"sync", "--silent"}).code, 0);

    fs::remove(historyOf(map));
    fs::create_directory(historyOf(map));
    expectFailure({"sync", "--silent"}, "\"" + historyOf(map).string() + "\" is there, but cannot be read");
    EXPECT_TRUE(fs::is_directory(historyOf(map)));
}

} // namespace
