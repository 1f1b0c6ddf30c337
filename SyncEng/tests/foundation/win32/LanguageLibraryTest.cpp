// A language module as a resource library without code.
#include "foundation/LanguageModule.h"

#include "files.h"
#include "foundation/Strings.h"
#include "RegistryValues.h"
#include "TestFolder.h"
#include <gtest/gtest.h>

using namespace mb;

namespace {

class LanguageLibrary : public testing::Test {
protected:
    LanguageLibrary()
    {
        mbtest::setText(platform::Root::CurrentUser, u"Software\\Zorel\\Mirabook\\Locale", u"DefaultLanguage", u"de");
        mbtest::setText(platform::Root::LocalMachine, u"Software\\Zorel\\MBSyncEng", u"InstallPath", platform::textOf(folder.path()));
    }
    ~LanguageLibrary() override { FreeLocalizedModule(); }
    mbtest::TestFolder folder;
};

} // namespace

TEST_F(LanguageLibrary, MissingTextsComeFromTheModuleItself)
{
    std::filesystem::create_directories(folder.path() / "locale/de");
    std::filesystem::copy_file(LANGUAGE_MODULE, folder.path() / "locale/de/mbsync.dat");
    LoadLocalizedModule(u"mbsync.dat");
    EXPECT_EQ(LoadText(Text::ActionAdd), u"Hinzuf\u00FCgen");
    EXPECT_EQ(LoadText(Text::LogStarted), u"Aufzeichnung begonnen am %s um %s\r\n");
    EXPECT_EQ(LoadText(Text::ActionChange), u"Change");
    EXPECT_EQ(LoadText(Text::SourceNotes), u"Lotus Notes 4.6 or later");
    EXPECT_EQ(LoadText(static_cast<Text>(99999)), u"");
    FreeLocalizedModule();
    EXPECT_EQ(LoadText(Text::ActionAdd), u"Add");
}

TEST_F(LanguageLibrary, AFileThatIsNoLibraryLeavesTheEnglishTexts)
{
    folder.write("locale/de/mbsync.dat", "no library");
    LoadLocalizedModule(u"mbsync.dat");
    EXPECT_EQ(LoadText(Text::ActionAdd), u"Add");
}
