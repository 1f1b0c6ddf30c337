#include "files.h"

#include "com.h"
#include "TestFolder.h"
#include <gtest/gtest.h>
#include <thread>

using namespace platform;
namespace fs = std::filesystem;

namespace {

class Files : public testing::Test {
protected:
    [[nodiscard]] fs::path at(const char* name) const { return folder.path() / name; }
    [[nodiscard]] std::string read(const char* name) const { return folder.read(at(name)); }
    static std::error_code put(const fs::path& file, std::string_view bytes)
    {
        AtomicFile made(file);
        made.write(bytes);
        return made.commit();
    }
    // The number of entries in the folder, except the one that the fixture creates.
    [[nodiscard]] std::size_t count() const
    {
        std::size_t n = 0;
        for (const auto& entry : fs::directory_iterator(folder.path())) n += entry.path().filename() != "data";
        return n;
    }
    mbtest::TestFolder folder;
};

} // namespace

TEST_F(Files, PathsKeepEveryCharacter)
{
    const std::u16string text = u"C:\\K\u00E4se \u4E2D \U0001F600.xml";
    EXPECT_EQ(textOf(pathOf(text)), text);
    EXPECT_EQ(put(folder.path() / pathOf(u"K\u00E4se \u4E2D.xml"), "x"), std::error_code());
    EXPECT_TRUE(fileExists(folder.path() / pathOf(u"K\u00E4se \u4E2D.xml")));
}

TEST_F(Files, TheUserDataFolderIsTheSystems)
{
    EXPECT_EQ(userDataFolder(), folder.path() / "data");
    wchar_t windows[MAX_PATH];
    ASSERT_GT(GetWindowsDirectoryW(windows, MAX_PATH), 0u);
    EXPECT_EQ(machineDataFolder(), std::filesystem::path(windows)) << "the folder of earlier versions";
}

TEST_F(Files, APathHasOneCanonicalSpelling)
{
    fs::create_directory(at("Real"));
    folder.write("Real/a", "x");
    const fs::path real = canonicalPath(at("Real"));
    EXPECT_FALSE(real.native().starts_with(L"\\\\")) << real;
    for (const fs::path& spelling : {at("Real") / "", at("Real") / ".", at("REAL"), at("none") / ".." / "real"})
        EXPECT_EQ(canonicalPath(spelling), real) << spelling;
    EXPECT_EQ(canonicalPath(L"\\\\?\\" + at("Real").make_preferred().native()), real);
    EXPECT_EQ(canonicalPath(at("REAL") / "A"), real / "a");
    EXPECT_EQ(canonicalPath(at("REAL") / "new.db"), real / "new.db") << "a path that does not exist yet";
    EXPECT_TRUE(isSamePlace(textOf(at("Real")), textOf(at("REAL") / "")));
    EXPECT_FALSE(isSamePlace(textOf(at("Real")), textOf(at("Real") / "a")));
}

TEST_F(Files, AFileThatIsHeldForAMomentIsStillReadAndReplaced)
{
    folder.write("a", "old");
    for (const bool reads : {true, false}) {
        const HANDLE held = CreateFileW(at("a").c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
        ASSERT_NE(held, INVALID_HANDLE_VALUE);
        std::thread other([&] {
            Sleep(300);
            CloseHandle(held);
        });
        std::error_code error;
        if (reads) {
            EXPECT_EQ(readFile(at("a"), error), "old");
        } else {
            error = put(at("a"), "new");
        }
        EXPECT_FALSE(error) << error.message();
        other.join();
    }
    EXPECT_EQ(read("a"), "new");
}

TEST_F(Files, OnlyARegularFileCountsAsAFile)
{
    folder.write("a", "");
    EXPECT_TRUE(fileExists(at("a")));
    EXPECT_FALSE(fileExists(folder.path()));
    EXPECT_FALSE(fileExists(at("none")));
}

TEST_F(Files, AMissingFileIsCreatedIfItsFolderExists)
{
    folder.write("old", "kept");
    EXPECT_TRUE(openOrCreate(at("old")));
    EXPECT_EQ(read("old"), "kept");
    EXPECT_TRUE(openOrCreate(at("new")));
    EXPECT_TRUE(fileExists(at("new")));
    EXPECT_FALSE(openOrCreate(at("none") / "new"));
}

TEST_F(Files, CreateFolderCreatesOneLevel)
{
    EXPECT_TRUE(createFolder(at("one")));
    EXPECT_TRUE(createFolder(at("one")));
    EXPECT_FALSE(createFolder(at("two") / "three"));
    folder.write("file", "");
    EXPECT_FALSE(createFolder(at("file")));
}

TEST_F(Files, AFileUpToTheLimitIsReadCompletely)
{
    const std::string bytes(200000, 'x');
    folder.write("a", bytes);
    std::error_code error;
    EXPECT_EQ(readFile(at("a"), error), bytes);
    EXPECT_EQ(readFile(at("a"), error, bytes.size()), bytes);
    EXPECT_FALSE(error);
    EXPECT_EQ(readFile(at("a"), error, bytes.size() - 1), "");
    EXPECT_EQ(error, std::errc::file_too_large);
}

TEST_F(Files, AFileThatCannotBeReadIsAnError)
{
    std::error_code error;
    EXPECT_EQ(readFile(at("none"), error), "");
    EXPECT_EQ(error, std::errc::no_such_file_or_directory);
    EXPECT_EQ(readFile(folder.path(), error), "");
    EXPECT_TRUE(error);
}

TEST_F(Files, ACopyReplacesOnlyIfAllowed)
{
    folder.write("a", "new");
    folder.write("b", "old");
    EXPECT_EQ(copyFailingIfExists(at("a"), at("b")), std::errc::file_exists);
    EXPECT_EQ(read("b"), "old");
    EXPECT_FALSE(copyReplacing(at("a"), at("b")));
    EXPECT_EQ(read("b"), "new");
    EXPECT_FALSE(copyFailingIfExists(at("a"), at("c")));
    EXPECT_EQ(read("c"), "new");
    EXPECT_EQ(copyReplacing(at("none"), at("c")), std::errc::no_such_file_or_directory);
    EXPECT_EQ(read("c"), "new");
}

TEST_F(Files, NewContentReplacesTheOldAndLeavesNoOtherFile)
{
    EXPECT_FALSE(put(at("a"), "one"));
    EXPECT_FALSE(put(at("a"), std::string(300000, '2')));
    EXPECT_EQ(read("a"), std::string(300000, '2'));
    EXPECT_EQ(count(), 1u);
}

TEST_F(Files, WithoutACommitNothingChanges)
{
    folder.write("a", "old");
    {
        AtomicFile file(at("a"));
        file.write("new");
    }
    EXPECT_EQ(read("a"), "old");
    EXPECT_EQ(count(), 1u);
}

TEST_F(Files, ASecondCommitChangesNothing)
{
    AtomicFile file(at("a"));
    file.write("one");
    EXPECT_FALSE(file.commit());
    folder.write("a", "two");
    EXPECT_TRUE(file.commit());
    EXPECT_EQ(read("a"), "two");
}

TEST_F(Files, AReaderOfTheOpenFileSeesNoPartialContent)
{
    folder.write("a", "old");
    const HANDLE reader = CreateFileW(at("a").c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                      OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(reader, INVALID_HANDLE_VALUE);
    AtomicFile file(at("a"));
    file.write("newer");
    char bytes[8] = {};
    DWORD n = 0;
    EXPECT_TRUE(ReadFile(reader, bytes, sizeof bytes, &n, nullptr));
    EXPECT_EQ(std::string(bytes, n), "old");
    CloseHandle(reader);
    EXPECT_FALSE(file.commit());
    EXPECT_EQ(read("a"), "newer");
}

TEST_F(Files, AFileThatAnotherProgramLocksIsNotChanged)
{
    folder.write("a", "old");
    const HANDLE other = CreateFileW(at("a").c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(other, INVALID_HANDLE_VALUE);
    EXPECT_TRUE(put(at("a"), "new"));
    std::error_code error;
    EXPECT_EQ(readFile(at("a"), error), "");
    EXPECT_TRUE(error);
    CloseHandle(other);
    EXPECT_EQ(read("a"), "old");
    EXPECT_EQ(count(), 1u);
}

TEST_F(Files, AReadOnlyFileIsNotReplaced)
{
    folder.write("a", "old");
    ASSERT_TRUE(SetFileAttributesW(at("a").c_str(), FILE_ATTRIBUTE_READONLY));
    EXPECT_EQ(put(at("a"), "new"), std::errc::permission_denied);
    EXPECT_EQ(read("a"), "old");
    EXPECT_EQ(count(), 1u);
    SetFileAttributesW(at("a").c_str(), FILE_ATTRIBUTE_NORMAL);
}

TEST_F(Files, AMissingFolderIsAnError) { EXPECT_EQ(put(at("none") / "a", "x"), std::errc::no_such_file_or_directory); }

TEST_F(Files, AnOpenLogCanBeReadButNotWrittenByOthers)
{
    AppendFile one(at("log"));
    ASSERT_TRUE(one);
    EXPECT_FALSE(AppendFile(at("log")));
    EXPECT_TRUE(one.write("1"));
    EXPECT_TRUE(one.write("2"));
    EXPECT_EQ(read("log"), "12");
    EXPECT_EQ(one.size(), 2u);
    EXPECT_TRUE(one.truncate());
    EXPECT_TRUE(one.write("3"));
    EXPECT_EQ(read("log"), "3");
    one = AppendFile();
    AppendFile next(at("log"));
    EXPECT_TRUE(next.write("4"));
    EXPECT_EQ(read("log"), "34");
    EXPECT_FALSE(AppendFile(at("none") / "log"));
    EXPECT_FALSE(AppendFile().write("x"));
}
