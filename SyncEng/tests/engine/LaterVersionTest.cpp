// A run whose history was written by a later version of the program: it fails, tells which file stands in its way, and writes nothing.
#include "files.h"
#include "People.h"
#include "store/StoreFile.h"
#include "SyncScenario.h"
#include "text.h"

#include <gmock/gmock.h>

namespace {

using mbtest::person;
using mbtest::SyncScenario;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;

class LaterVersion : public testing::Test {
protected:
    std::filesystem::path historyOf(const GUID& guid) const { return s.folder.data() / (platform::utf8(com::guidText(guid)) + ".xml"); }
    // The same history, of the next version.
    std::string makeLater(const std::filesystem::path& file) const
    {
        std::string bytes = s.folder.read(file);
        const std::size_t at = bytes.find("Version=\"4\"");
        EXPECT_NE(at, std::string::npos);
        bytes.replace(at, 11, "Version=\"5\"");
        s.folder.write(std::filesystem::relative(file, s.folder.path()).string(), bytes);
        return bytes;
    }
    void expectRefused(const std::filesystem::path& file, const std::string& bytes)
    {
        EXPECT_EQ(s.sync(), mb::storeOfLaterVersion);
        const std::string sentence = platform::utf8(s.lastError().first);
        EXPECT_THAT(sentence, StartsWith("\"" + platform::utf8(platform::textOf(file)) + "\" was written by a later version (5)"));
        EXPECT_THAT(s.logText(), HasSubstr(sentence));
        EXPECT_EQ(s.folder.read(file), bytes);
        EXPECT_THAT(s.writes(), IsEmpty());
    }
    SyncScenario s;
};

} // namespace

TEST_F(LaterVersion, OfTheHistoryFailsTheRunAndNamesTheFile)
{
    s.one().add(person(u"Ada", u"Lovelace"));
    EXPECT_EQ(s.sync(), S_OK);
    const auto file = historyOf(s.map());
    const std::string bytes = makeLater(file);
    s.one().add(person(u"Grace", u"Hopper"));
    expectRefused(file, bytes);
    expectRefused(file, bytes);
    EXPECT_EQ(s.resync(), mb::storeOfLaterVersion) << "an order to begin anew is no order to overwrite it";
    EXPECT_EQ(s.folder.read(file), bytes);
    EXPECT_THAT(s.two().records, SizeIs(1));
    EXPECT_THAT(s.logText(), Not(HasSubstr("installed and properly configured"))) << "no translator is to blame";
}

TEST_F(LaterVersion, OfTheHistoryOfCategoriesFailsTheRunAndNamesTheFile)
{
    s.one().options.categories = s.two().options.categories = true;
    s.one().addCategory(u"Friends");
    s.one().add(person(u"Ada", u"Lovelace"));
    EXPECT_EQ(s.sync(), S_OK);
    GUID categories{};
    ASSERT_EQ(s.maps()->GetCategoryGuid(s.map(), &categories), S_OK);
    const auto file = historyOf(categories);
    const std::string bytes = makeLater(file), contacts = s.folder.read(historyOf(s.map()));
    s.one().addCategory(u"Work");
    s.one().add(person(u"Grace", u"Hopper"));
    expectRefused(file, bytes);
    EXPECT_EQ(s.folder.read(historyOf(s.map())), contacts);
    EXPECT_THAT(s.two().categories, SizeIs(1));
    EXPECT_THAT(s.two().records, SizeIs(1));
}
