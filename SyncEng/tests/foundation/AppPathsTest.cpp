#include "foundation/AppPaths.h"

#include "files.h"
#include "host.h"
#include "RegistryValues.h"
#include "TestFolder.h"
#include <gtest/gtest.h>

using namespace mb;
namespace fs = std::filesystem;

namespace {

class AppPaths : public testing::Test {
protected:
    std::u16string install(const std::u16string& exeName, const fs::path& file) const
    {
        const std::u16string text = platform::textOf(file);
        mbtest::setText(platform::Root::LocalMachine, u"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\App Paths\\" + exeName, u"", text);
        return text;
    }
    std::u16string install(const std::u16string& exeName) const
    {
        folder.write(platform::pathOf(exeName).string(), "program");
        return install(exeName, folder.path() / platform::pathOf(exeName));
    }
    mbtest::TestFolder folder;
    std::u16string path = u"before";
};

} // namespace

TEST_F(AppPaths, AProgramThatIsNotInstalledIsNotFoundAndThePathIsEmpty)
{
    EXPECT_FALSE(FindAppPath(u"mb.exe", path));
    EXPECT_EQ(path, u"");
    EXPECT_FALSE(FindAppPath(u"", path));
    EXPECT_FALSE(SearchAppPaths(u"mb", path));
    EXPECT_FALSE(FindGoldMine(path));
}

TEST_F(AppPaths, AnInstalledProgramIsFound)
{
    const std::u16string file = install(u"mb.exe");
    EXPECT_TRUE(FindAppPath(u"MB.EXE", path));
    EXPECT_EQ(path, file);
    EXPECT_EQ(folder.read(folder.path() / "mb.exe"), "program");
}

TEST_F(AppPaths, AStaleEntryWhoseFolderExistsIsFoundAndCreatesTheFile)
{
    const fs::path file = folder.path() / "gone.exe";
    install(u"gone.exe", file);
    EXPECT_TRUE(FindAppPath(u"gone.exe", path));
    EXPECT_TRUE(fs::is_empty(file));
}

TEST_F(AppPaths, AStaleEntryWithoutAFolderIsNotFound)
{
    install(u"gone.exe", folder.path() / "gone" / "gone.exe");
    EXPECT_FALSE(FindAppPath(u"gone.exe", path));
    EXPECT_EQ(path, u"");
}

TEST_F(AppPaths, APathOfMoreThan259CharactersIsNotRead)
{
    fs::path file = folder.path();
    while (file.string().size() < 150) file /= std::string(50, 'd');
    fs::create_directories(file);
    const std::size_t left = 259 - platform::textOf(file).size() - 1;
    install(u"mb.exe", file / std::string(left, 'x'));
    EXPECT_TRUE(FindAppPath(u"mb.exe", path));
    install(u"mb.exe", file / std::string(left + 1, 'x'));
    EXPECT_FALSE(FindAppPath(u"mb.exe", path));
    EXPECT_EQ(path, u"");
}

TEST_F(AppPaths, ARunningProgramThatCannotBeWrittenIsFound)
{
    const std::u16string file = install(u"mb.exe", platform::executablePath());
    EXPECT_TRUE(FindAppPath(u"mb.exe", path));
    EXPECT_EQ(path, file);
}

TEST_F(AppPaths, TheSearchReturnsTheFirstMatchThatOpens)
{
    install(u"agmwx.exe", folder.path() / "missing" / "agmwx.exe");
    const std::u16string file = install(u"xGMW9.exe");
    EXPECT_TRUE(SearchAppPaths(u"gMw", path));
    EXPECT_EQ(path, file);
}

TEST_F(AppPaths, OfTwoGoldMinesTheNewerIsFound)
{
    install(u"gmw5.exe");
    const std::u16string newer = install(u"gmw7.exe");
    EXPECT_TRUE(FindGoldMine(path));
    EXPECT_EQ(path, newer);
}

TEST_F(AppPaths, OfAllGoldMinesTheNewestIsFound)
{
    for (const char16_t* exe : {u"gmw5.exe", u"gmw6.exe", u"gmw7.exe"}) {
        const std::u16string newest = install(exe);
        EXPECT_TRUE(FindGoldMine(path));
        EXPECT_EQ(path, newest);
    }
}

TEST_F(AppPaths, AGoldMineOfAnotherNameIsFoundLast)
{
    const std::u16string other = install(u"gmwin.exe");
    EXPECT_TRUE(FindGoldMine(path));
    EXPECT_EQ(path, other);
    const std::u16string old = install(u"gmw5.exe");
    EXPECT_TRUE(FindGoldMine(path));
    EXPECT_EQ(path, old);
}
