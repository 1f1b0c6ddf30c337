// A language module as a text file: which lines are read.
#include "foundation/LanguageModule.h"

#include "files.h"
#include "foundation/Strings.h"
#include "RegistryValues.h"
#include "TestFolder.h"
#include <gtest/gtest.h>

using namespace mb;

TEST(LanguageModuleLines, InvalidLinesAreSkipped)
{
    const mbtest::TestFolder folder;
    mbtest::setText(platform::Root::CurrentUser, u"Software\\Zorel\\Mirabook\\Locale", u"DefaultLanguage", u"de");
    mbtest::setText(platform::Root::LocalMachine, u"Software\\Zorel\\MBSyncEng", u"InstallPath",
                    platform::textOf(folder.path() / "install"));
    folder.write("install/locale/de/mbsync.dat",
                 "no number\n112\n113 no tab\n\n99999999999999\tbig\n114\tL\\\\\xC3\xB6schen\n115\ta\\n\\r\\tb");
    LoadLocalizedModule(u"mbsync.dat");
    EXPECT_EQ(LoadText(Text::ActionAdd), u"Add");
    EXPECT_EQ(LoadText(Text::ActionChange), u"Change");
    EXPECT_EQ(LoadText(Text::ActionDelete), u"L\\\u00F6schen");
    EXPECT_EQ(LoadText(Text::ActionColumn), u"a\n\r\tb");
    FreeLocalizedModule();
}
