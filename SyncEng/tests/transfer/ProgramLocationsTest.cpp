#include "transfer/ProgramLocations.h"

#include "registry.h"
#include "TestFolder.h"
#include "translators/TranslatorIds.h"

#include <gtest/gtest.h>

namespace {

class ProgramLocationsTest : public ::testing::Test {
protected:
    static void install(std::u16string_view executable, std::u16string_view name, std::u16string_view value)
    {
        const std::u16string path = u"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\App Paths\\" + std::u16string(executable);
        ASSERT_TRUE(platform::createKeyPath(platform::Root::LocalMachine, path));
        const auto key = platform::RegistryKey::open(platform::Root::LocalMachine, path);
        ASSERT_TRUE(key && key->setText(name, value));
    }
    mbtest::TestFolder folder;
};

TEST_F(ProgramLocationsTest, AProgramThatIsNotInstalledIsTheBareNameOfItsLastRow)
{
    EXPECT_EQ(mb::FindTranslatorProgram(mb::outlookTranslator), u"outlook.exe");
    EXPECT_EQ(mb::FindTranslatorProgram(mb::lotusNotesTranslator), u"notes.exe");
    EXPECT_EQ(mb::FindTranslatorProgram(mb::goldMineTranslator), u"gmw5.exe");
    EXPECT_EQ(mb::FindTranslatorProgram(mb::goldMineCorporateTranslator), u"gmw6.exe");
    EXPECT_EQ(mb::FindTranslatorProgram(mb::outlookExpressTranslator), u"msimn.exe");
    EXPECT_EQ(mb::FindTranslatorProgram(mb::salesLogixTranslator), u"saleslogix.exe");
    EXPECT_EQ(mb::FindTranslatorProgram(mb::groupWiseTranslator), u"groupwise.exe");
    EXPECT_EQ(mb::FindTranslatorProgram(mb::actTranslator), u"Act8.exe");
    EXPECT_EQ(mb::FindTranslatorProgram(mb::secondActTranslator), u"Act8.exe");
}

TEST_F(ProgramLocationsTest, AnUnknownTargetHasNoPath)
{
    EXPECT_EQ(mb::FindTranslatorProgram(mb::hostTranslator), u"");
    EXPECT_EQ(mb::FindTranslatorProgram(mb::goldMineOtherTranslator), u"");
    EXPECT_EQ(mb::FindTranslatorProgram(GUID_NULL), u"");
}

TEST_F(ProgramLocationsTest, TheFirstRowWhoseProgramIsInstalledWins)
{
    install(u"gmw5.exe", u"", u"C:\\Five\\gmw5.exe");
    EXPECT_EQ(mb::FindTranslatorProgram(mb::goldMineTranslator), u"C:\\Five\\gmw5.exe");
    install(u"gmw6.exe", u"", u"C:\\Six\\gmw6.exe");
    EXPECT_EQ(mb::FindTranslatorProgram(mb::goldMineTranslator), u"C:\\Six\\gmw6.exe");
}

TEST_F(ProgramLocationsTest, WithoutTheFirstKeyTheFolderOfTheSecondIsUsed)
{
    install(u"Act8Diag.exe", u"Path", u"C:\\Act");
    EXPECT_EQ(mb::FindTranslatorProgram(mb::actTranslator), u"C:\\Act\\Act8.exe");
    install(u"Act7Diag.exe", u"Path", u"C:\\Act7\\");
    EXPECT_EQ(mb::FindTranslatorProgram(mb::secondActTranslator), u"C:\\Act7\\Act7.exe");
    install(u"Act7Diag.exe", u"Path", u"");
    EXPECT_EQ(mb::FindTranslatorProgram(mb::actTranslator), u"C:\\Act\\Act8.exe") << "an empty folder does not count";
}

TEST_F(ProgramLocationsTest, AFirstKeyWithoutAValueContinuesWithTheNextRow)
{
    install(u"Act7.exe", u"Path", u"C:\\Act7");
    install(u"Act7Diag.exe", u"Path", u"C:\\Act7");
    EXPECT_EQ(mb::FindTranslatorProgram(mb::actTranslator), u"Act8.exe") << "the second key is read only if the first does not exist";
    install(u"Act8.exe", u"", u"C:\\Act8\\Act8.exe");
    EXPECT_EQ(mb::FindTranslatorProgram(mb::actTranslator), u"C:\\Act8\\Act8.exe");
}

TEST_F(ProgramLocationsTest, AnEmptyPathIsAResultAndEndsTheSearch)
{
    install(u"gmw6.exe", u"", u"");
    install(u"gmw5.exe", u"", u"C:\\Five\\gmw5.exe");
    EXPECT_EQ(mb::FindTranslatorProgram(mb::goldMineTranslator), u"");
}

TEST_F(ProgramLocationsTest, APathOfMoreThan259CharactersIsNotRead)
{
    const std::u16string longest = u"C:\\" + std::u16string(256, u'x');
    install(u"outlook.exe", u"", longest);
    EXPECT_EQ(mb::FindTranslatorProgram(mb::outlookTranslator), longest);
    install(u"outlook.exe", u"", longest + u"x");
    EXPECT_EQ(mb::FindTranslatorProgram(mb::outlookTranslator), u"outlook.exe");
}

} // namespace
