#include "foundation/Paths.h"

#include "files.h"
#include "host.h"
#include "RegistryValues.h"
#include "TestFolder.h"
#include <gtest/gtest.h>

using namespace mb;
namespace fs = std::filesystem;

namespace {

class Paths : public testing::Test {
protected:
    void installIn(const fs::path& install) const
    {
        mbtest::setText(platform::Root::LocalMachine, u"Software\\Zorel\\MBSyncEng", u"InstallPath", platform::textOf(install));
    }
    mbtest::TestFolder folder;
};

} // namespace

TEST_F(Paths, AFolderIsCreatedOneLevelDeepAndOnlyOnRequest)
{
    const fs::path one = folder.path() / "one";
    EXPECT_EQ(EnsureFolder(one, false), E_FAIL);
    EXPECT_FALSE(fs::exists(one));
    EXPECT_EQ(EnsureFolder(one / "two", true), E_FAIL);
    EXPECT_EQ(EnsureFolder(one, true), S_OK);
    EXPECT_EQ(EnsureFolder(one, false), S_OK);
}

TEST_F(Paths, AFileDoesNotCountAsAFolder)
{
    folder.write("file", "x");
    EXPECT_EQ(EnsureFolder(folder.path() / "file", true), E_FAIL);
}

TEST_F(Paths, TheUserDataFolderIsCreated)
{
    fs::path found;
    EXPECT_EQ(GetUserDataFolder(found), S_OK);
    EXPECT_EQ(found, folder.data());
    EXPECT_TRUE(fs::is_directory(found));
}

TEST_F(Paths, WithoutAnApplicationDataFolderTheLegacyFolderIsUsed)
{
    folder.write("data/Zorel", "a file is in the way");
    installIn(folder.path());
    fs::path found;
    EXPECT_EQ(GetUserDataFolder(found), S_OK);
    EXPECT_EQ(found, folder.path() / "MBSync" / platform::pathOf(platform::userName()));
    EXPECT_TRUE(fs::is_directory(found));
}

TEST_F(Paths, ALegacyFolderIsCreatedOnlyOnRequest)
{
    installIn(folder.path());
    fs::path found;
    EXPECT_EQ(GetLegacyUserFolder(found, false), E_FAIL);
    EXPECT_FALSE(fs::exists(folder.path() / "MBSync"));
    EXPECT_EQ(GetLegacyUserFolder(found, true), S_OK);
    EXPECT_EQ(GetLegacyUserFolder(found, false), S_OK);
}

TEST_F(Paths, ALegacyFolderBelowAMissingInstallationIsAFailure)
{
    installIn(folder.path() / "missing");
    fs::path found;
    EXPECT_EQ(GetLegacyUserFolder(found, true), E_FAIL);
}

TEST_F(Paths, MovedFilesReplaceExistingFiles)
{
    folder.write("from/a.xml", "new a");
    folder.write("from/b.xml", "new b");
    folder.write("from/sub/c.xml", "c");
    folder.write("to/a.xml", "old a");
    MoveFolderFiles(folder.path() / "from", folder.path() / "to");
    EXPECT_EQ(folder.read(folder.path() / "to/a.xml"), "new a");
    EXPECT_EQ(folder.read(folder.path() / "to/b.xml"), "new b");
    EXPECT_FALSE(fs::exists(folder.path() / "from/a.xml"));
    EXPECT_FALSE(fs::exists(folder.path() / "from/b.xml"));
    EXPECT_TRUE(fs::exists(folder.path() / "from/sub/c.xml"));
    EXPECT_FALSE(fs::exists(folder.path() / "to/sub"));
}

TEST_F(Paths, FoldersThatDifferOnlyInCaseAreOneAndNothingMoves)
{
    folder.write("from/a.xml", "a");
    fs::create_directories(folder.path() / "FROM");
    MoveFolderFiles(folder.path() / "from", folder.path() / "FROM");
    EXPECT_TRUE(fs::exists(folder.path() / "from/a.xml"));
    const bool same = fs::equivalent(folder.path() / "from", folder.path() / "FROM"); // depends on the file system
    EXPECT_EQ(fs::exists(folder.path() / "FROM/a.xml"), same);
}

TEST_F(Paths, AFileThatCannotBeCopiedIsNotLost)
{
    folder.write("from/a.xml", "a");
    MoveFolderFiles(folder.path() / "from", folder.path() / "missing");
    EXPECT_EQ(folder.read(folder.path() / "from/a.xml"), "a");
}

TEST_F(Paths, AMissingFolderHasNothingToMove)
{
    MoveFolderFiles(folder.path() / "missing", folder.path());
    EXPECT_FALSE(fs::exists(folder.path() / "missing"));
}

TEST_F(Paths, OnlyAReadableFileWithBytesHasContent)
{
    folder.write("full", "x");
    folder.write("empty", "");
    EXPECT_TRUE(FileHasContent(folder.path() / "full"));
    EXPECT_FALSE(FileHasContent(folder.path() / "empty"));
    EXPECT_FALSE(FileHasContent(folder.path() / "missing"));
    EXPECT_FALSE(FileHasContent(folder.path()));
}

TEST_F(Paths, TheHostFolderEndsInItsSeparator)
{
    EXPECT_EQ(HostFolder(), std::nullopt);
    mbtest::setText(platform::Root::CurrentUser, u"Software\\Zorel\\Mirabook\\Main", u"Path", u"C:\\Programs\\mb.exe");
    EXPECT_EQ(HostFolder(), u"C:\\Programs\\");
    mbtest::setText(platform::Root::CurrentUser, u"Software\\Zorel\\Mirabook\\Main", u"Path", u"mb.exe");
    EXPECT_EQ(HostFolder(), u"");
}
