// What the lock file of a contact store is called.
#include "files.h"
#include "store/StoreLock.h"
#include "TestFolder.h"
#include "text.h"
#include <gtest/gtest.h>
#include <regex>

using mb::LockFileName;
namespace fs = std::filesystem;

namespace {

class LockFileNames : public testing::Test {
protected:
    static std::u16string nameOf(const fs::path& place) { return LockFileName({{}, platform::textOf(place)}); }
    mbtest::TestFolder folder;
    const fs::path contacts = folder.path() / "Contacts";
    const GUID one{1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}}, two{2, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};
};

} // namespace

TEST_F(LockFileNames, HoldNothingOfTheNameOfTheStore)
{
    for (const char16_t* database : {u"../../secret", u"C:\\con", u"a\nb", u"", u"/home/someone/Contacts"})
        EXPECT_TRUE(std::regex_match(platform::utf8(LockFileName({one, database})), std::regex("store-[0-9a-f]{16}\\.lock")));
}

TEST_F(LockFileNames, AreOneForAllSpellingsOfAPlace)
{
    fs::create_directory(contacts);
    const std::u16string name = nameOf(contacts);
    for (const fs::path& spelling : {contacts / "", contacts / ".", contacts / ".." / "Contacts", folder.path() / "contacts"})
        EXPECT_EQ(nameOf(spelling), name) << spelling;
    EXPECT_NE(nameOf(folder.path() / "Other"), name);
    EXPECT_EQ(LockFileName({one, platform::textOf(contacts)}), LockFileName({two, platform::textOf(contacts)}))
        << "two translators of one folder";
}

TEST_F(LockFileNames, OfStoresThatAreNoPlacesDifferByTheTranslator)
{
    EXPECT_EQ(LockFileName({one, u"Default"}), LockFileName({one, u"default"}));
    EXPECT_NE(LockFileName({one, u"Default"}), LockFileName({two, u"Default"}));
    EXPECT_NE(LockFileName({one, u"Default"}), LockFileName({one, u"Other"}));
}
