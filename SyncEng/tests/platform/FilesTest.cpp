#include "files.h"

#include "ChildProcess.h"
#include "posix/file_calls.h"
#include "TestFolder.h"
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace platform;
using mbtest::inChild;
using testing::ElementsAre;
using testing::UnorderedElementsAre;
namespace fs = std::filesystem;

namespace {

int failingOpen(const char*, int, mode_t)
{
    errno = EMFILE;
    return -1;
}
ssize_t failingWrite(int, const void*, std::size_t)
{
    errno = ENOSPC;
    return -1;
}
ssize_t silentWrite(int, const void*, std::size_t) { return 0; }
// Writes one byte per call; every other call fails as interrupted by a signal.
ssize_t haltingWrite(int file, const void* bytes, std::size_t)
{
    static int calls = 0;
    if (++calls % 2) {
        errno = EINTR;
        return -1;
    }
    return ::write(file, bytes, 1);
}
int failingFlush(int)
{
    errno = EIO;
    return -1;
}
int failingRename(const char*, const char*)
{
    errno = EROFS;
    return -1;
}
// Closes the file, so that the writer's own close fails.
int closingFlush(int file) { return ::close(file); }

int writes = 0, flushes = 0;
bool flushedBeforeRename = false;
ssize_t countingWrite(int file, const void* bytes, std::size_t count)
{
    ++writes;
    return ::write(file, bytes, count);
}
int countingFlush(int file)
{
    ++flushes;
    return ::fsync(file);
}
int watchingRename(const char* from, const char* to)
{
    flushedBeforeRename = flushes == 1;
    return std::rename(from, to);
}
int collisions = 0;
int collidingOpen(const char* path, int flags, mode_t mode)
{
    if (collisions > 0) {
        --collisions;
        errno = EEXIST;
        return -1;
    }
    return ::open(path, flags, mode);
}

std::vector<std::pair<uid_t, gid_t>> givenTo;
int recordingGiveTo(int file, uid_t user, gid_t group)
{
    givenTo.emplace_back(user, group);
    return ::fchown(file, user, group);
}

// The next heldCalls calls fail with heldError.
int heldCalls = 0, heldError = 0;
int heldRename(const char* from, const char* to)
{
    if (heldCalls == 0) return std::rename(from, to);
    --heldCalls;
    errno = heldError;
    return -1;
}
int heldOpen(const char* path, int flags, mode_t mode)
{
    if (heldCalls == 0) return ::open(path, flags, mode);
    --heldCalls;
    errno = heldError;
    return -1;
}

class Files : public testing::Test {
protected:
    Files() : calls(fileCalls), mask(::umask(022)) { fs::create_directory(home()); }
    ~Files() override
    {
        fileCalls = calls;
        ::umask(mask);
    }
    [[nodiscard]] fs::path home() const { return folder.path() / "home"; }
    [[nodiscard]] fs::path at(const char* name) const { return home() / name; }
    void write(const char* name, std::string_view bytes) const { folder.write("home/" + std::string(name), bytes); }
    [[nodiscard]] std::string read(const char* name) const { return folder.read(at(name)); }
    [[nodiscard]] std::vector<std::string> listed() const
    {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(home())) names.push_back(entry.path().filename().string());
        return names;
    }
    static mode_t permissionsOf(const fs::path& file)
    {
        struct stat info {};
        EXPECT_EQ(::stat(file.c_str(), &info), 0);
        return info.st_mode & 07777;
    }
    static std::error_code replace(const fs::path& target, std::string_view bytes)
    {
        AtomicFile file(target);
        file.write(bytes);
        return file.commit();
    }

    mbtest::TestFolder folder;
    FileCalls calls;
    mode_t mask;
};

} // namespace

TEST_F(Files, PathsConvertBetweenUtf16AndUtf8)
{
    EXPECT_EQ(pathOf(u"/tmp/\u00E4\U0001F600").native(), "/tmp/\xC3\xA4\xF0\x9F\x98\x80");
    EXPECT_EQ(textOf(pathOf(u"/tmp/\u00E4\U0001F600")), u"/tmp/\u00E4\U0001F600");
    EXPECT_EQ(textOf(fs::path("/tmp/\xE4")), u"/tmp/\uFFFD"); // a name that is not UTF-8 still converts to text
}

TEST_F(Files, TheUserDataFolderFollowsTheEnvironment)
{
    EXPECT_EQ(userDataFolder(), folder.path() / "data");
    EXPECT_FALSE(fs::is_empty(folder.path()));
    const char* before = std::getenv("HOME");
    const std::string kept = before ? before : "";
    ::setenv("HOME", home().c_str(), 1);
    ::unsetenv("XDG_DATA_HOME");
    EXPECT_EQ(userDataFolder(), at(".local/share"));
    EXPECT_FALSE(fs::exists(at(".local"))); // not created
    ::setenv("XDG_DATA_HOME", "relative", 1);
    EXPECT_EQ(userDataFolder(), at(".local/share"));
    ::setenv("HOME", "", 1);
    EXPECT_TRUE(userDataFolder().empty());
    ::setenv("HOME", kept.c_str(), 1);
    EXPECT_EQ(machineDataFolder(), "/usr/share");
}

TEST_F(Files, OnlyARegularFileCountsAsAFile)
{
    write("a", "");
    EXPECT_TRUE(fileExists(at("a")));
    EXPECT_FALSE(fileExists(at("b")));
    EXPECT_FALSE(fileExists(home()));
    fs::create_symlink("nowhere", at("dangling"));
    EXPECT_FALSE(fileExists(at("dangling")));
}

TEST_F(Files, AMissingFileIsCreatedIfItsFolderExists)
{
    EXPECT_TRUE(openOrCreate(at("new")));
    EXPECT_EQ(read("new"), "");
    write("old", "content");
    EXPECT_TRUE(openOrCreate(at("old")));
    EXPECT_EQ(read("old"), "content");
    EXPECT_FALSE(openOrCreate(at("none/new")));
    EXPECT_FALSE(openOrCreate(home()));
    ASSERT_EQ(::mkfifo(at("pipe").c_str(), 0600), 0);
    EXPECT_TRUE(openOrCreate(at("pipe"))); // does not wait for a writer
}

TEST_F(Files, CreateFolderCreatesOneLevel)
{
    EXPECT_TRUE(createFolder(at("one")));
    EXPECT_TRUE(fs::is_directory(at("one")));
    EXPECT_TRUE(createFolder(at("one"))); // exists already
    EXPECT_FALSE(createFolder(at("two/levels")));
    write("file", "");
    EXPECT_FALSE(createFolder(at("file")));
    fs::create_directory_symlink("one", at("link"));
    EXPECT_TRUE(createFolder(at("link")));
}

TEST_F(Files, AFileIsReadCompletely)
{
    for (const std::size_t size : {std::size_t{0}, std::size_t{1}, std::size_t{65535}, std::size_t{65536}, std::size_t{1'000'003}}) {
        std::string bytes(size, '\0');
        for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>(i * 7);
        write("a", bytes);
        std::error_code error = std::make_error_code(std::errc::io_error);
        EXPECT_TRUE(readFile(at("a"), error) == bytes) << size;
        EXPECT_FALSE(error);
    }
}

TEST_F(Files, AFileOfUnknownSizeIsReadCompletely)
{
    std::error_code error;
    EXPECT_FALSE(readFile("/proc/self/status", error).empty());
    EXPECT_FALSE(error);
}

TEST_F(Files, AFileOverTheLimitIsAnError)
{
    write("a", std::string(100, 'x'));
    std::error_code error;
    EXPECT_EQ(readFile(at("a"), error, 100).size(), 100u);
    EXPECT_FALSE(error);
    EXPECT_EQ(readFile(at("a"), error, 99), "");
    EXPECT_EQ(error, std::errc::file_too_large);
    EXPECT_EQ(readFile("/proc/self/status", error, 10), ""); // its size is known only after reading
    EXPECT_EQ(error, std::errc::file_too_large);
    ASSERT_EQ(::truncate(at("a").c_str(), off_t{1} << 40), 0); // a sparse terabyte uses no memory
    EXPECT_EQ(readFile(at("a"), error, 1 << 20), "");
    EXPECT_EQ(error, std::errc::file_too_large);
}

TEST_F(Files, AFileThatCannotBeReadIsAnError)
{
    std::error_code error;
    EXPECT_EQ(readFile(at("none"), error), "");
    EXPECT_EQ(error, std::errc::no_such_file_or_directory);
    EXPECT_EQ(readFile(home(), error), "");
    EXPECT_EQ(error, std::errc::is_a_directory);
}

TEST_F(Files, ACopyReplacesItsTarget)
{
    const std::string large(200'000, 'x');
    write("from", large);
    write("to", "old");
    EXPECT_FALSE(copyReplacing(at("from"), at("to")));
    EXPECT_TRUE(read("to") == large);
    EXPECT_FALSE(copyReplacing(at("from"), at("new")));
    EXPECT_TRUE(read("new") == large);
    EXPECT_FALSE(copyReplacing(at("from"), at("from"))); // onto itself
    EXPECT_TRUE(read("from") == large);
    EXPECT_THAT(listed(), UnorderedElementsAre("from", "to", "new"));
}

TEST_F(Files, AFailedCopyKeepsItsTarget)
{
    write("to", "old");
    EXPECT_EQ(copyReplacing(at("none"), at("to")), std::errc::no_such_file_or_directory);
    EXPECT_EQ(copyReplacing(home(), at("to")), std::errc::is_a_directory);
    write("from", "new");
    fileCalls.write = failingWrite;
    EXPECT_EQ(copyReplacing(at("from"), at("to")), std::errc::no_space_on_device);
    EXPECT_EQ(read("to"), "old");
    EXPECT_THAT(listed(), UnorderedElementsAre("from", "to"));
}

TEST_F(Files, ACopyIsAccessibleToItsOwnerOnly)
{
    write("from", "secret");
    for (const mode_t mode : {0600u, 0644u}) {
        ASSERT_EQ(::chmod(at("from").c_str(), mode), 0);
        EXPECT_FALSE(copyReplacing(at("from"), at("one")));
        EXPECT_FALSE(copyFailingIfExists(at("from"), at("two")));
        EXPECT_EQ(permissionsOf(at("one")), 0600u);
        EXPECT_EQ(permissionsOf(at("two")), 0600u);
        ASSERT_TRUE(fs::remove(at("one")) && fs::remove(at("two")));
    }
}

TEST_F(Files, ACopyOverAFileKeepsThatFilesPermissions)
{
    write("from", "new");
    write("to", "old");
    ASSERT_EQ(::chmod(at("to").c_str(), 0640), 0);
    EXPECT_FALSE(copyReplacing(at("from"), at("to")));
    EXPECT_EQ(permissionsOf(at("to")), 0640u);
}

TEST_F(Files, ACopyFailsIfTheTargetExists)
{
    write("from", std::string(100'000, 'x'));
    EXPECT_FALSE(copyFailingIfExists(at("from"), at("to")));
    EXPECT_EQ(read("to").size(), 100'000u);
    write("taken", "old");
    EXPECT_EQ(copyFailingIfExists(at("from"), at("taken")), std::errc::file_exists);
    EXPECT_EQ(read("taken"), "old");
    fs::create_symlink("nowhere", at("dangling"));
    EXPECT_EQ(copyFailingIfExists(at("from"), at("dangling")), std::errc::file_exists);
    EXPECT_EQ(copyFailingIfExists(at("none"), at("new")), std::errc::no_such_file_or_directory);
    EXPECT_FALSE(fs::exists(at("new")));
}

TEST_F(Files, ACopyToAFullDiskLeavesNoPartialFile)
{
    write("from", "content");
    fileCalls.write = failingWrite;
    EXPECT_EQ(copyFailingIfExists(at("from"), at("to")), std::errc::no_space_on_device);
    fileCalls.write = calls.write;
    fileCalls.flush = failingFlush;
    EXPECT_EQ(copyFailingIfExists(at("from"), at("to")), std::errc::io_error);
    EXPECT_THAT(listed(), ElementsAre("from"));
}

TEST_F(Files, NewContentReplacesTheOld)
{
    write("a", "old");
    {
        AtomicFile file(at("a"));
        file.write("new ");
        file.write("");
        file.write(std::string(100'000, 'x'));
        file.write("end");
        EXPECT_EQ(read("a"), "old"); // until commit()
        EXPECT_FALSE(file.commit());
        EXPECT_TRUE(read("a") == "new " + std::string(100'000, 'x') + "end");
    }
    EXPECT_THAT(listed(), ElementsAre("a"));
    EXPECT_FALSE(replace(at("b"), ""));
    EXPECT_EQ(read("b"), "");
}

TEST_F(Files, SmallWritesAreCombined)
{
    writes = 0;
    fileCalls.write = countingWrite;
    std::string all;
    AtomicFile file(at("a"));
    for (int i = 0; i < 100'000; ++i) {
        const std::string piece = std::to_string(i);
        all += piece;
        file.write(piece);
    }
    EXPECT_FALSE(file.commit());
    EXPECT_TRUE(read("a") == all);
    EXPECT_LE(writes, static_cast<int>(all.size() / 60'000 + 1));
}

TEST_F(Files, TheContentIsFlushedBeforeItIsRenamedToTheTarget)
{
    flushes = 0;
    fileCalls.flush = countingFlush;
    fileCalls.rename = watchingRename;
    EXPECT_FALSE(replace(at("a"), "new"));
    EXPECT_TRUE(flushedBeforeRename);
    EXPECT_EQ(flushes, 2); // file and folder
}

TEST_F(Files, WithoutACommitNothingChanges)
{
    write("a", "old");
    {
        AtomicFile file(at("a"));
        file.write(std::string(100'000, 'x'));
        EXPECT_EQ(listed().size(), 2u);
    }
    EXPECT_EQ(read("a"), "old");
    EXPECT_THAT(listed(), ElementsAre("a"));
}

TEST_F(Files, AFailureAtAnyStepKeepsTheTargetAndLeavesNoOtherFile)
{
    struct Step {
        const char* name;
        void (*arm)();
        std::errc expected;
    };
    const Step steps[] = {{"open", [] { fileCalls.open = failingOpen; }, std::errc::too_many_files_open},
                          {"write", [] { fileCalls.write = failingWrite; }, std::errc::no_space_on_device},
                          {"silent write", [] { fileCalls.write = silentWrite; }, std::errc::no_space_on_device},
                          {"flush", [] { fileCalls.flush = failingFlush; }, std::errc::io_error},
                          {"close", [] { fileCalls.flush = closingFlush; }, std::errc::bad_file_descriptor},
                          {"rename", [] { fileCalls.rename = failingRename; }, std::errc::read_only_file_system}};
    write("a", "old");
    for (const Step& step : steps)
        for (const std::size_t size : {std::size_t{3}, std::size_t{100'000}}) {
            fileCalls = calls;
            step.arm();
            EXPECT_EQ(replace(at("a"), std::string(size, 'x')), step.expected) << step.name;
            EXPECT_EQ(read("a"), "old") << step.name;
            EXPECT_THAT(listed(), ElementsAre("a")) << step.name;
        }
}

TEST_F(Files, AfterTheFirstFailureWritesDoNothingAndCommitReportsIt)
{
    write("a", "old");
    AtomicFile file(at("a"));
    fileCalls.write = failingWrite;
    file.write(std::string(100'000, 'x'));
    fileCalls = calls; // the disk has space again
    file.write("more");
    EXPECT_EQ(file.commit(), std::errc::no_space_on_device);
    EXPECT_EQ(file.commit(), std::errc::no_space_on_device);
    EXPECT_EQ(read("a"), "old");
    EXPECT_THAT(listed(), ElementsAre("a"));
}

TEST_F(Files, ASecondCommitChangesNothing)
{
    AtomicFile file(at("a"));
    file.write("new");
    EXPECT_FALSE(file.commit());
    file.write("more");
    EXPECT_TRUE(file.commit());
    EXPECT_EQ(read("a"), "new");
    EXPECT_THAT(listed(), ElementsAre("a"));
}

TEST_F(Files, ShortAndInterruptedWritesContinue)
{
    fileCalls.write = haltingWrite;
    EXPECT_FALSE(replace(at("a"), "every byte"));
    EXPECT_EQ(read("a"), "every byte");
}

TEST_F(Files, AFileSizeLimitKeepsTheTarget)
{
    write("a", "old");
    const int code = inChild(false, [&] {
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit limit{70'000, 70'000};
        if (::setrlimit(RLIMIT_FSIZE, &limit) != 0) return 1;
        if (replace(at("a"), std::string(200'000, 'x')) != std::errc::file_too_large) return 2;
        AtomicFile pieces(at("a"));
        for (int i = 0; i < 200; ++i) pieces.write(std::string(1000, 'x'));
        return pieces.commit() == std::errc::file_too_large ? 42 : 3;
    });
    EXPECT_EQ(code, 42);
    EXPECT_EQ(read("a"), "old");
    EXPECT_THAT(listed(), ElementsAre("a"));
}

TEST_F(Files, AMissingFolderIsAnError)
{
    EXPECT_EQ(replace(at("none/a"), "new"), std::errc::no_such_file_or_directory);
    EXPECT_THAT(listed(), ElementsAre());
}

TEST_F(Files, AFolderOrADeviceIsNotReplaced)
{
    fs::create_directory(at("folder"));
    EXPECT_EQ(replace(at("folder"), "new"), std::errc::is_a_directory);
    ASSERT_EQ(::mkfifo(at("pipe").c_str(), 0600), 0);
    EXPECT_EQ(replace(at("pipe"), "new"), std::errc::operation_not_supported);
    EXPECT_TRUE(fs::is_fifo(at("pipe")));
    EXPECT_THAT(listed(), UnorderedElementsAre("folder", "pipe"));
}

TEST_F(Files, TheTargetsPermissionsAreKept)
{
    write("a", "old");
    for (const mode_t mode : {0600u, 0644u, 0664u, 0755u, 0666u}) {
        ASSERT_EQ(::chmod(at("a").c_str(), mode), 0);
        EXPECT_FALSE(replace(at("a"), "new"));
        EXPECT_EQ(permissionsOf(at("a")), mode);
    }
}

TEST_F(Files, WhatIsMadeIsForItsOwnerAlone)
{
    for (const mode_t unwanted : {022u, 0u, 077u}) {
        ::umask(unwanted);
        EXPECT_FALSE(replace(at("replaced"), "new"));
        EXPECT_TRUE(openOrCreate(at("opened")));
        EXPECT_TRUE(AppendFile(at("log")).write("line"));
        EXPECT_TRUE(createFolder(at("one")));
        EXPECT_TRUE(createFolders(at("some") / "more" / "levels"));
        for (const char* file : {"replaced", "opened", "log"}) EXPECT_EQ(permissionsOf(at(file)), 0600u) << file;
        for (const char* made : {"one", "some", "some/more", "some/more/levels"}) EXPECT_EQ(permissionsOf(at(made)), 0700u) << made;
        for (const auto& entry : fs::directory_iterator(home())) fs::remove_all(entry.path());
    }
}

TEST_F(Files, ExistingFoldersKeepTheirPermissions)
{
    ASSERT_EQ(::chmod(home().c_str(), 0755), 0);
    EXPECT_TRUE(createFolders(home() / "a"));
    EXPECT_TRUE(createFolders(home() / "a"));
    EXPECT_EQ(permissionsOf(home()), 0755u);
    write("file", "");
    EXPECT_FALSE(createFolders(at("file") / "a"));
}

TEST_F(Files, PrivateContentIsPrivateWhileItIsWritten)
{
    write("a", "old");
    ASSERT_EQ(::chmod(at("a").c_str(), 0600), 0);
    AtomicFile file(at("a"));
    file.write(std::string(100'000, 'x'));
    for (const auto& entry : fs::directory_iterator(home())) EXPECT_EQ(permissionsOf(entry.path()), 0600u);
}

TEST_F(Files, AReadOnlyFileIsNotReplaced)
{
    write("a", "old");
    fs::permissions(folder.path(), fs::perms::all);
    fs::permissions(home(), fs::perms::all);
    ASSERT_EQ(::chmod(at("a").c_str(), 0444), 0);
    EXPECT_EQ(inChild(true, [&] { return replace(at("a"), "new") == std::errc::permission_denied ? 42 : 1; }), 42);
    EXPECT_EQ(read("a"), "old");
    EXPECT_THAT(listed(), ElementsAre("a"));
}

TEST_F(Files, AFileReplacedByTheSuperuserKeepsItsOwner)
{
    write("a", "old");
    if (::geteuid() == 0) { ASSERT_EQ(::chown(at("a").c_str(), 65534, 65534), 0); }
    ASSERT_EQ(::chmod(at("a").c_str(), 0600), 0);
    struct stat before {};
    ASSERT_EQ(::stat(at("a").c_str(), &before), 0);
    // A plain user who runs the tests owns the file and cannot give it to another user.
    fileCalls.user = [] { return uid_t(0); };
    fileCalls.giveTo = recordingGiveTo;
    givenTo.clear();
    EXPECT_FALSE(replace(at("a"), "new"));
    EXPECT_THAT(givenTo, ElementsAre(std::pair(before.st_uid, before.st_gid)));
    struct stat after {};
    ASSERT_EQ(::stat(at("a").c_str(), &after), 0);
    EXPECT_EQ(after.st_uid, before.st_uid);
    EXPECT_EQ(after.st_gid, before.st_gid);
    EXPECT_EQ(permissionsOf(at("a")), 0600u);
}

TEST_F(Files, AReplacedFileKeepsItsGroup)
{
    write("a", "old");
    if (::geteuid() == 0) { ASSERT_EQ(::chown(at("a").c_str(), ::geteuid(), 65534), 0); }
    struct stat before {};
    ASSERT_EQ(::stat(at("a").c_str(), &before), 0);
    EXPECT_FALSE(replace(at("a"), "new"));
    struct stat after {};
    ASSERT_EQ(::stat(at("a").c_str(), &after), 0);
    EXPECT_EQ(after.st_gid, before.st_gid);
    EXPECT_EQ(after.st_uid, before.st_uid);
}

TEST_F(Files, TwoVersionsOfAFileHaveDifferentStamps)
{
    const fs::path file = at("versions");
    EXPECT_EQ(stampOf(file), FileStamp());
    FileStamp before;
    for (int i = 0; i < 20; ++i) {
        AtomicFile version(file);
        version.write(i % 2 == 0 ? "one" : "two more");
        ASSERT_FALSE(version.commit());
        const FileStamp now = stampOf(file);
        EXPECT_NE(now, before) << i;
        EXPECT_EQ(now, stampOf(file));
        before = now;
    }
}

TEST_F(Files, APathHasOneCanonicalSpelling)
{
    const fs::path real = fs::canonical(home()) / "real";
    fs::create_directory(real);
    write("real/a", "x");
    fs::create_directory_symlink("real", at("link"));
    for (const fs::path& spelling :
         {real, real / "", real / ".", real / "" / ".", home() / "." / "link", at("link") / "", at("none") / ".." / "real"})
        EXPECT_EQ(canonicalPath(spelling), real) << spelling;
    EXPECT_EQ(canonicalPath(at("link") / "a"), real / "a");
    EXPECT_EQ(canonicalPath(at("link") / "new" / "b.db"), real / "new" / "b.db") << "a path that does not exist yet";
    EXPECT_EQ(canonicalPath(at("link") / "new" / ""), real / "new");
    const fs::path before = fs::current_path();
    fs::current_path(at("link"));
    EXPECT_EQ(canonicalPath("a"), real / "a");
    EXPECT_EQ(canonicalPath("b"), real / "b");
    fs::current_path(before);
    EXPECT_EQ(canonicalPath(""), "");
    EXPECT_EQ(canonicalPath("/"), "/");
}

TEST_F(Files, PathsToOneFileAreTheSamePlace)
{
    write("a", "x");
    write("A", "y");
    fs::create_symlink("a", at("link"));
    const auto text = [&](const char* name) { return textOf(at(name)); };
    EXPECT_TRUE(isSamePlace(text("a"), text("a")));
    EXPECT_TRUE(isSamePlace(text("a"), text("link")));
    EXPECT_FALSE(isSamePlace(text("a"), text("A"))) << "the file system tells them apart";
    EXPECT_TRUE(isSamePlace(text("none"), text("NONE"))) << "names of missing files";
    EXPECT_FALSE(isSamePlace(text("none"), text("other")));
    EXPECT_TRUE(isSamePlace(u"Contacts", u"contacts"));
}

TEST_F(Files, AFileThatIsHeldForAMomentIsWrittenAllTheSame)
{
    write("a", "old");
    for (const int error : {EBUSY, ETXTBSY}) {
        heldCalls = 3;
        heldError = error;
        fileCalls.rename = heldRename;
        EXPECT_FALSE(replace(at("a"), "new"));
        EXPECT_EQ(heldCalls, 0);
        EXPECT_EQ(read("a"), "new");
        heldCalls = 3;
        fileCalls.open = heldOpen;
        std::error_code failure;
        EXPECT_EQ(readFile(at("a"), failure), "new");
        EXPECT_FALSE(failure);
        EXPECT_EQ(heldCalls, 0);
    }
}

TEST_F(Files, AFileThatStaysHeldFailsAfterTwoSeconds)
{
    write("a", "old");
    heldCalls = 1'000'000;
    heldError = EBUSY;
    fileCalls.rename = heldRename;
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(replace(at("a"), "new"), std::errc::device_or_resource_busy);
    const auto waited = std::chrono::steady_clock::now() - begin;
    EXPECT_GE(waited, std::chrono::seconds(2));
    EXPECT_LT(waited, std::chrono::seconds(20));
    EXPECT_LT(1'000'000 - heldCalls, 20) << "the pauses grow";
    EXPECT_EQ(read("a"), "old");
    EXPECT_THAT(listed(), ElementsAre("a"));
}

TEST_F(Files, OtherFailuresAreNotRetried)
{
    write("a", "old");
    heldCalls = 1'000'000;
    heldError = EACCES;
    fileCalls.rename = heldRename;
    EXPECT_EQ(replace(at("a"), "new"), std::errc::permission_denied);
    EXPECT_EQ(1'000'000 - heldCalls, 1);
}

TEST_F(Files, ALinkSurvivesAndItsTargetChanges)
{
    fs::create_directory(at("real"));
    write("real/a", "old");
    fs::create_symlink("real/a", at("first"));
    fs::create_symlink(at("first"), at("second"));
    EXPECT_FALSE(replace(at("second"), "new"));
    EXPECT_TRUE(fs::is_symlink(at("first")));
    EXPECT_TRUE(fs::is_symlink(at("second")));
    EXPECT_EQ(read("real/a"), "new");
    EXPECT_THAT(listed(), UnorderedElementsAre("real", "first", "second"));
}

TEST_F(Files, ADanglingLinkGetsItsFile)
{
    fs::create_directory(at("real"));
    fs::create_symlink("real/a", at("link"));
    EXPECT_FALSE(replace(at("link"), "new"));
    EXPECT_TRUE(fs::is_symlink(at("link")));
    EXPECT_EQ(read("real/a"), "new");
}

TEST_F(Files, CircularLinksAreAnError)
{
    fs::create_symlink("two", at("one"));
    fs::create_symlink("one", at("two"));
    EXPECT_EQ(replace(at("one"), "new"), std::errc::too_many_symbolic_link_levels);
    EXPECT_THAT(listed(), UnorderedElementsAre("one", "two"));
}

TEST_F(Files, AFileWithTheLongestPossibleNameIsReplaced)
{
    const std::string name(255, 'n');
    EXPECT_FALSE(replace(home() / name, "new"));
    EXPECT_EQ(read(name.c_str()), "new");
}

TEST_F(Files, AFileInTheWorkingFolderIsReplaced)
{
    const int code = inChild(false, [&] {
        if (::chdir(home().c_str()) != 0) return 1;
        return replace("a", "new") ? 2 : 42;
    });
    EXPECT_EQ(code, 42);
    EXPECT_EQ(read("a"), "new");
    EXPECT_THAT(listed(), ElementsAre("a"));
}

TEST_F(Files, AnExistingTemporaryNameIsSkipped)
{
    fileCalls.open = collidingOpen;
    collisions = 3;
    EXPECT_FALSE(replace(at("a"), "new"));
    EXPECT_EQ(read("a"), "new");
    collisions = 1'000'000;
    EXPECT_EQ(replace(at("a"), "newer"), std::errc::file_exists); // gives up
    collisions = 0;
    EXPECT_EQ(read("a"), "new");
}

TEST_F(Files, TheLastOfTwoWritersWins)
{
    AtomicFile first(at("a")), second(at("a"));
    first.write("first");
    second.write("second");
    EXPECT_FALSE(second.commit());
    EXPECT_FALSE(first.commit());
    EXPECT_EQ(read("a"), "first");
    EXPECT_THAT(listed(), ElementsAre("a"));
}

TEST_F(Files, ALogIsAppendedTo)
{
    write("log", "one\n");
    AppendFile log(at("log"));
    ASSERT_TRUE(log);
    EXPECT_EQ(log.size(), 4u);
    EXPECT_TRUE(log.write("two\n"));
    EXPECT_EQ(read("log"), "one\ntwo\n"); // at once
    AppendFile other(at("log"));
    EXPECT_TRUE(other.write("three\n"));
    EXPECT_TRUE(log.write("four\n"));
    EXPECT_EQ(read("log"), "one\ntwo\nthree\nfour\n");
    EXPECT_TRUE(log.truncate());
    EXPECT_EQ(log.size(), 0u);
    EXPECT_TRUE(log.write("five\n"));
    EXPECT_EQ(read("log"), "five\n");
}

TEST_F(Files, ALogThatCannotBeOpenedIsEmpty)
{
    AppendFile log(at("none/log"));
    EXPECT_FALSE(log);
    EXPECT_FALSE(log.write("x"));
    EXPECT_FALSE(log.truncate());
    EXPECT_EQ(log.size(), 0u);
    EXPECT_FALSE(AppendFile());
}

TEST_F(Files, ALogCanBeMoved)
{
    AppendFile first(at("log"));
    AppendFile second(std::move(first));
    EXPECT_TRUE(second.write("a"));
    AppendFile third;
    third = std::move(second);
    EXPECT_TRUE(third.write("b"));
    third = AppendFile(at("other"));
    EXPECT_TRUE(third.write("c"));
    EXPECT_EQ(read("log"), "ab");
    EXPECT_EQ(read("other"), "c");
}

TEST_F(Files, ALogOnAFullDiskReportsIt)
{
    AppendFile log(at("log"));
    fileCalls.write = failingWrite;
    EXPECT_FALSE(log.write("x"));
    fileCalls = calls;
    EXPECT_TRUE(log.write("y"));
    EXPECT_EQ(read("log"), "y");
}
