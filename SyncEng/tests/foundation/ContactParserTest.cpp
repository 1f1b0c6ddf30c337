#include "foundation/ContactParser.h"

#include "files.h"
#include "foundation/PhoneNumber.h"
#include "RegistryValues.h"
#include "TestFolder.h"
#include "text.h"
#include <gtest/gtest.h>

using mb::ContactParser;
using mb::PhoneParts;

namespace {

class ContactParserTest : public testing::Test {
protected:
    static void installHost()
    {
        mbtest::setText(platform::Root::CurrentUser, u"Software\\Zorel\\Mirabook\\Main", u"Path",
                        platform::utf16(FAKE_HOST_FOLDER) + u"/mb");
    }
    static bool isEmpty(const PhoneParts& parts) { return parts.country + parts.area + parts.local + parts.extension == u""; }
    mbtest::TestFolder folder;
};

} // namespace

TEST_F(ContactParserTest, WithoutAHostNothingIsParsed)
{
    EXPECT_TRUE(isEmpty(ContactParser().ParsePhone(u"1 212 5551234")));
    EXPECT_EQ(mb::NormalizePhoneNumber(u"1 212 5551234", 0), u"");
}

TEST_F(ContactParserTest, ANumberThatIsNotSplitIsNotNormalizedInAnyCountryMode)
{
    for (const int countryMode : {0, 1, 2}) EXPECT_EQ(mb::NormalizePhoneNumber(u"1 212 5551234", countryMode), u"");
}

TEST_F(ContactParserTest, ATextWithAZeroCharacterIsNotParsed)
{
    installHost();
    const ContactParser parser;
    EXPECT_TRUE(isEmpty(parser.ParsePhone(std::u16string_view(u"1 212 5551234\0 9", 16))));
    EXPECT_EQ(parser.ParsePhone(u"1").extension, u"init parse "); // the library's first calls: it was not called before
}

TEST_F(ContactParserTest, EachNumberInitialisesTheLibraryAndTerminatesIt)
{
    installHost();
    const ContactParser parser;
    const PhoneParts first = parser.ParsePhone(u"1 212 5551234");
    EXPECT_EQ(first.country, u"1");
    EXPECT_EQ(first.area, u"212");
    EXPECT_EQ(first.local, u"5551234");
    EXPECT_EQ(first.extension, u"init parse ");
    EXPECT_EQ(parser.ParsePhone(u"2").extension, u"init parse term init parse ");
}

TEST_F(ContactParserTest, AnEmptyPhoneCallsNothing)
{
    installHost();
    const ContactParser parser;
    EXPECT_TRUE(isEmpty(parser.ParsePhone(u"")));
    EXPECT_EQ(parser.ParsePhone(u"1").extension, u"init parse "); // the library's first calls: it was not called before
}

TEST_F(ContactParserTest, ALibraryWithoutTheFunctionsParsesNothing)
{
    const auto library = [](const char* name) { return platform::libraryFileName(name); };
    std::filesystem::copy_file(std::filesystem::path(FAKE_HOST_FOLDER) / library("LNTrans"), folder.path() / library("CAT"));
    mbtest::setText(platform::Root::CurrentUser, u"Software\\Zorel\\Mirabook\\Main", u"Path", platform::textOf(folder.path() / "mb"));
    EXPECT_TRUE(isEmpty(ContactParser().ParsePhone(u"1 212 5551234")));
}
