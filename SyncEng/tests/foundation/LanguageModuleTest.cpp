#include "foundation/LanguageModule.h"

#include "files.h"
#include "foundation/HelpTopic.h"
#include "foundation/Strings.h"
#include "LanguageModuleFile.h"
#include "RegistryValues.h"
#include "TestFolder.h"
#include <gtest/gtest.h>

using namespace mb;
using platform::Root;
namespace fs = std::filesystem;

namespace {

class LanguageModule : public testing::Test {
protected:
    ~LanguageModule() override { FreeLocalizedModule(); }
    static void setLanguage(std::u16string_view language, Root root = Root::CurrentUser)
    {
        mbtest::setText(root, u"Software\\Zorel\\Mirabook\\Locale", u"DefaultLanguage", language);
    }
    void installIn(const fs::path& install) const
    {
        mbtest::setText(Root::LocalMachine, u"Software\\Zorel\\MBSyncEng", u"InstallPath", platform::textOf(install));
    }
    // Installs a host through App Paths, with a language module in its folder.
    void putHostIn(const std::string& name) const
    {
        folder.write(name + "/mb.exe", "program");
        writeModule(name + "/locale/de", {{112, u"Hinzu (App Paths)"}});
        mbtest::setText(Root::LocalMachine, u"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\App Paths\\mb.exe", u"",
                        platform::textOf(folder.path() / name / "mb.exe"));
    }
    void writeModule(const std::string& where, std::initializer_list<mbtest::NumberedText> texts) const
    {
        mbtest::writeLanguageModule(folder.path() / where / "mbsync.dat", {texts.begin(), texts.size()});
    }
    std::u16string loadedText(Text id) const
    {
        LoadLocalizedModule(u"mbsync.dat");
        return LoadText(id);
    }
    mbtest::TestFolder folder;
};

} // namespace

TEST_F(LanguageModule, WithoutASettingTheLanguageIsEnglish)
{
    EXPECT_EQ(GetUserLanguage(), u"en");
    EXPECT_TRUE(LocalizedModulePath(u"mbsync.dat").empty());
    EXPECT_EQ(loadedText(Text::ActionAdd), u"Add");
}

TEST_F(LanguageModule, EnglishInAnyCaseLoadsNoModule)
{
    installIn(folder.path() / "install");
    writeModule("install/locale/EN", {{112, u"X"}});
    for (const auto* code : {u"EN", u"en", u"eN", u""}) {
        setLanguage(code);
        EXPECT_TRUE(LocalizedModulePath(u"mbsync.dat").empty());
        EXPECT_EQ(loadedText(Text::ActionAdd), u"Add");
    }
}

TEST_F(LanguageModule, TheModuleOfTheInstallationReplacesTheTextsItHas)
{
    setLanguage(u"de");
    installIn(folder.path() / "install");
    writeModule("install/locale/de", {{112, u"Hinzuf\u00FCgen"}, {165, u"Begonnen %s\n\\\t"}});
    EXPECT_EQ(loadedText(Text::ActionAdd), u"Hinzuf\u00FCgen");
    EXPECT_EQ(LoadText(Text::LogStarted), u"Begonnen %s\n\\\t");
    EXPECT_EQ(LoadText(Text::ActionChange), u"Change"); // missing in the module
    FreeLocalizedModule();
    EXPECT_EQ(LoadText(Text::ActionAdd), u"Add");
}

TEST_F(LanguageModule, BlanksAndLineEndsAroundTheCodeAreIgnored)
{
    installIn(folder.path() / "install");
    writeModule("install/locale/de", {{112, u"Hinzu"}});
    for (const auto* code : {u"  de ", u"\r\nde\r\n", u" de"}) {
        setLanguage(code);
        EXPECT_EQ(loadedText(Text::ActionAdd), u"Hinzu");
    }
}

TEST_F(LanguageModule, TheMachinesLanguageIsUsedWithoutAUserSetting)
{
    setLanguage(u"de", Root::LocalMachine);
    installIn(folder.path() / "install");
    writeModule("install/locale/de", {{112, u"Hinzu"}});
    EXPECT_EQ(GetUserLanguage(), u"de");
    EXPECT_EQ(loadedText(Text::ActionAdd), u"Hinzu");
}

TEST_F(LanguageModule, TheUsersKeyHidesTheMachinesKeyEvenWithoutTheValue)
{
    setLanguage(u"de", Root::LocalMachine);
    mbtest::setText(Root::CurrentUser, u"Software\\Zorel\\Mirabook\\Locale", u"LocaleDir", u"Sprache");
    EXPECT_EQ(GetUserLanguage(), u"en");
    EXPECT_TRUE(LocalizedModulePath(u"mbsync.dat").empty());
}

TEST_F(LanguageModule, AnInstallationWithoutTheModuleDoesNotFallBackToTheHostsFolder)
{
    setLanguage(u"de");
    putHostIn("host");
    installIn(folder.path() / "install");
    EXPECT_EQ(loadedText(Text::ActionAdd), u"Add");
}

TEST_F(LanguageModule, WithoutAnInstallationTheModuleInTheHostsFolderIsUsed)
{
    setLanguage(u"de");
    putHostIn("Host");
    EXPECT_EQ(loadedText(Text::ActionAdd), u"Hinzu (App Paths)");
}

TEST_F(LanguageModule, AHostOfAnotherNameHasNoModule)
{
    setLanguage(u"de");
    folder.write("other.exe", "program");
    mbtest::setText(Root::LocalMachine, u"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\App Paths\\mb.exe", u"",
                    platform::textOf(folder.path() / "other.exe"));
    EXPECT_TRUE(LocalizedModulePath(u"mbsync.dat").empty());
}

TEST_F(LanguageModule, ACodeCannotLeaveTheFolder)
{
    installIn(folder.path() / "install");
    for (const auto* code : {u"..", u"../../etc", u"a\\b"}) {
        setLanguage(code);
        EXPECT_TRUE(LocalizedModulePath(u"mbsync.dat").empty());
    }
}

TEST_F(LanguageModule, TheHelpFolderIsTheLanguagesFolderBelowTheHost)
{
    const std::u16string separator(1, static_cast<char16_t>(fs::path::preferred_separator));
    const std::u16string hostFolder = separator + u"opt" + separator + u"mirabook" + separator;
    EXPECT_EQ(GetHelpFolder(), std::nullopt);
    mbtest::setText(Root::CurrentUser, u"Software\\Zorel\\Mirabook\\Main", u"Path", hostFolder + u"mb");
    EXPECT_EQ(GetHelpFolder(), hostFolder + u"Locale" + separator + u"en" + separator);
    setLanguage(u"de");
    EXPECT_EQ(GetHelpFolder(), hostFolder + u"Locale" + separator + u"de" + separator);
    mbtest::setText(Root::CurrentUser, u"Software\\Zorel\\Mirabook\\Locale", u"LocaleDir", u"Sprachen");
    EXPECT_EQ(GetHelpFolder(), hostFolder + u"Sprachen" + separator + u"de" + separator);
    mbtest::setText(Root::CurrentUser, u"Software\\Zorel\\Mirabook\\Locale", u"LocaleDir", u"");
    setLanguage(u"");
    EXPECT_EQ(GetHelpFolder(), hostFolder);
}

TEST_F(LanguageModule, WithoutAHelpFolderNoHelpIsShown) { EXPECT_FALSE(ShowHelpTopic(nullptr, helpConflict)); }
