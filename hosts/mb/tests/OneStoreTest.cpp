// A folder is one store, whatever the spelling of its path.
#include "EndToEndFixture.h"

namespace {

using namespace mbtest;
namespace fs = std::filesystem;

class OneStore : public EndToEnd {
protected:
    void expectRefusal(const std::vector<std::string>& arguments, const std::string& text)
    {
        const Result result = mb(arguments);
        EXPECT_NE(result.code, 0) << result.out;
        EXPECT_NE(result.error.find(text), std::string::npos) << result.error;
    }
    [[nodiscard]] std::string databaseOf(std::size_t map, const char* side) { return json({"maps"}).at(map).at(side).at("database"); }
};

} // namespace

TEST_F(OneStore, ASecondMapOfTheSameStoresIsRefusedInAnySpelling)
{
    const std::string map = makeMap(2);
    fs::create_directory_symlink(folder(), home_ / "link");
    fs::create_symlink(cards(), home_ / "link.db");
    const std::string same = folder().string();
    for (const std::string& spelling : {same + "/", same + "/.", same + "/../Contacts", (home_ / "link").string(), std::string("link/")})
        for (const std::string& file : {cards(), (home_ / "link.db").string()}) {
            expectRefusal({"add", "Mirabook=" + file, "vCard=" + spelling}, map);
            expectRefusal({"add", "vCard=" + spelling, "Mirabook=" + file}, map);
        }
    EXPECT_EQ(json({"maps"}).size(), 1u);
}

TEST_F(OneStore, OneStoreIsRefusedAsBothSidesOfAMap)
{
    registerPlugins();
    fs::create_directory_symlink(folder(), home_ / "link");
    for (const char* spelling : {"Contacts/", "Contacts/.", "link", "./link/../Contacts"})
        expectRefusal({"add", "vCard=Contacts", std::string("vCard=") + spelling}, "the same store");
    fs::create_directory(home_ / "contacts");
    EXPECT_EQ(mb({"add", "vCard=Contacts", "vCard=contacts"}).code, 0) << "two different folders";
}

TEST_F(OneStore, ADatabaseIsShownInItsCanonicalSpelling)
{
    registerPlugins();
    fs::create_directory_symlink(folder(), home_ / "link");
    (void)addMap("Mirabook=" + (home_ / "link/../cards.db").string(), "vCard=link/");
    EXPECT_EQ(databaseOf(0, "second"), folder().string());
    EXPECT_EQ(databaseOf(0, "first"), cards());
}

TEST_F(OneStore, AFolderThatWasMovedBehindALinkKeepsItsHistory)
{
    const std::string map = makeMap(5);
    ASSERT_EQ(mb({"sync", "--silent"}).code, 0);
    fs::rename(folder(), home_ / "Elsewhere");
    fs::create_directory_symlink(home_ / "Elsewhere", folder());
    for (int run = 0; run < 2; ++run) {
        const Result result = mb({"sync", "--silent"});
        EXPECT_EQ(result.code, 0) << result.error;
        EXPECT_NE(result.out.find("nothing to do"), std::string::npos) << result.out;
    }
    EXPECT_EQ(textOf(dataFolder() / "MBSync.log").find("Database has been changed"), std::string::npos);
    EXPECT_EQ(cardCount(), 5u);
}

TEST_F(OneStore, ALinkThatNowLeadsToTheOtherSideIsRefused)
{
    registerPlugins();
    fs::create_directory(home_ / "Other");
    fs::create_directory_symlink(home_ / "Other", home_ / "link");
    (void)addMap("vCard=Contacts", "vCard=link");
    ASSERT_EQ(mb({"sync", "--silent"}).code, 0);
    fs::remove(home_ / "link");
    fs::create_directory_symlink(folder(), home_ / "link");
    expectRefusal({"sync", "--silent"}, "both of its sides are the store");
}
