// Missing permissions, and names that are not plain files.
#include "CardStoreFixture.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace mb::vcard {
namespace {

// Root may do everything: a test that needs a refusal runs as another user.
class Unprivileged {
public:
    explicit Unprivileged(const fs::path& owned) : wasRoot_(geteuid() == 0)
    {
        if (!wasRoot_) return;
        constexpr uid_t kNobody = 65534;
        EXPECT_EQ(chown(owned.c_str(), kNobody, kNobody), 0);
        for (const auto& entry : fs::recursive_directory_iterator(owned)) EXPECT_EQ(lchown(entry.path().c_str(), kNobody, kNobody), 0);
        EXPECT_EQ(seteuid(kNobody), 0);
    }
    Unprivileged(const Unprivileged&) = delete;
    Unprivileged& operator=(const Unprivileged&) = delete;
    ~Unprivileged() { EXPECT_EQ(wasRoot_ ? seteuid(0) : 0, 0); }

private:
    bool wasRoot_;
};

TEST_F(VCardFolder, AFileWithoutReadPermissionFailsTheOpening)
{
    put("a.vcf", cardText("A"));
    const Unprivileged user(root);
    fs::permissions(folder / "a.vcf", fs::perms::none);
    expectFailure(Step::Open, (folder / "a.vcf").string() + "\": Permission denied", [&] { open(); });
    fs::permissions(folder / "a.vcf", fs::perms::owner_all);
    EXPECT_EQ(open().count(), 1u);
}

TEST_F(VCardFolder, AFolderWhoseFilesMayNotBeLookedAtIsNotAnEmptyOne)
{
    put("a.vcf", cardText("A"));
    put(".mbsync-categories", "Friends\n");
    const Unprivileged user(root);
    EXPECT_EQ(open().count(), 1u);
    fs::permissions(folder, fs::perms::owner_read); // names can be listed, and nothing else
    expectFailure(Step::Open, folder.string() + "\": Permission denied", [&] { open(); });
    expectFailure(Step::Open, (folder / "a.vcf").string() + "\": Permission denied", [&] { open(folder / "a.vcf"); });
    fs::remove_all(root / "cache");
    expectFailure(Step::Open, folder.string() + "\": Permission denied", [&] { open(); });
    fs::permissions(folder, fs::perms::owner_all);
    EXPECT_EQ(ids(open()), std::vector<std::string>{"a.vcf"});
}

TEST_F(VCardFolder, APathWithoutPermissionIsNotReportedAsMissing)
{
    const Unprivileged user(root);
    fs::permissions(root, fs::perms::none);
    expectFailure(Step::Open, folder.string() + "\": Permission denied", [&] { open(); });
    fs::permissions(root, fs::perms::owner_all);
}

TEST_F(VCardFolder, AFolderThatIsDeletedDuringTheListingIsNotListedAsEmpty)
{
    put("a.vcf", cardText("A"));
    const Folder opened(folder.string());
    fs::remove_all(folder);
    EXPECT_THROW((void)opened.list(), FileError);
    fs::create_directory(folder);
}

TEST_F(VCardFolder, AReadOnlyFolderFailsTheSave)
{
    put("a.vcf", cardText("A"));
    const Unprivileged user(root);
    auto store = open();
    fs::permissions(folder, fs::perms::owner_read | fs::perms::owner_exec);
    expectFailure(Step::Save, folder.string(), [&] { edit(store, "a.vcf", ftTitle, u"x"); });
    expectFailure(Step::Save, folder.string(), [&] { add(store, u"x"); });
    expectFailure(Step::Delete, folder.string(), [&] { store.remove("a.vcf"); });
    EXPECT_EQ(get("a.vcf"), cardText("A"));
}

TEST_F(VCardFolder, AFolderThatBecomesReadOnlyInABatchFailsTheSave)
{
    const Unprivileged user(root);
    auto store = open();
    store.beginBatch();
    constexpr std::size_t kCards = 100; // enough for files to be opened ahead
    for (std::size_t i = 0; i < kCards; ++i) add(store, u"x");
    fs::permissions(folder, fs::perms::owner_read | fs::perms::owner_exec);
    expectFailure(Step::Save, folder.string(), [&] { add(store, u"Lost"); });
    fs::permissions(folder, fs::perms::owner_all);
    store.endBatch(false);
    EXPECT_EQ(open().count(), kCards);
    EXPECT_LE(strayFiles(), 1u); // the refused card's file could not be deleted either; a later run deletes it
}

TEST_F(VCardFolder, AnEditKeepsThePermissions)
{
    put("a.vcf", cardText("A"));
    fs::permissions(folder / "a.vcf", fs::perms(0640));
    auto store = open();
    edit(store, "a.vcf", ftTitle, u"Boss");
    EXPECT_EQ(fs::status(folder / "a.vcf").permissions(), fs::perms(0640));
}

TEST_F(VCardFolder, ANewCardTakesThePermissionsOfItsNeighbours)
{
    const mode_t before = ::umask(022);
    const auto permissionsOfNew = [&] {
        auto store = open();
        const std::string id = add(store, u"New");
        const fs::perms given = fs::status(folder / id).permissions();
        store.remove(id);
        return given;
    };
    EXPECT_EQ(permissionsOfNew(), fs::perms(0600)) << "in a folder without cards";
    for (const char* name : {"a.vcf", "b.vcf", "c.vcf"}) put(name, cardText(name));
    for (const unsigned mode : {0644u, 0664u, 0640u, 0600u}) {
        for (const char* name : {"a.vcf", "b.vcf"}) fs::permissions(folder / name, fs::perms(mode));
        fs::permissions(folder / "c.vcf", fs::perms(0444));
        EXPECT_EQ(permissionsOfNew(), fs::perms(mode));
    }
    fs::remove(folder / "c.vcf");
    fs::permissions(folder / "a.vcf", fs::perms(0644));
    EXPECT_EQ(permissionsOfNew(), fs::perms(0600)) << "the stricter of two equally frequent modes";
    ::umask(before);
}

TEST_F(VCardFolder, TheCategoryListIsReadableByItsOwnerOnly)
{
    const mode_t before = ::umask(022);
    put("a.vcf", cardText("A"));
    categories().keep({u"Friends"});
    EXPECT_EQ(fs::status(folder / ".mbsync-categories").permissions(), fs::perms(0600));
    ::umask(before);
}

TEST_F(VCardFolder, AnEditKeepsTheOwner)
{
    put("a.vcf", cardText("A"));
    ASSERT_TRUE(::geteuid() != 0 || ::chown((folder / "a.vcf").c_str(), 65534, 65534) == 0);
    struct stat before {
    }, after{};
    ASSERT_EQ(::stat((folder / "a.vcf").c_str(), &before), 0);
    auto store = open();
    edit(store, "a.vcf", ftTitle, u"Boss");
    ASSERT_EQ(::stat((folder / "a.vcf").c_str(), &after), 0);
    EXPECT_EQ(after.st_uid, before.st_uid);
    EXPECT_EQ(after.st_gid, before.st_gid);
}

TEST_F(VCardFolder, WhatIsReadOnlyIsKnownBeforeItIsWritten)
{
    put("a.vcf", cardText("A"));
    put("b.vcf", cardText("B"));
    fs::permissions(folder / "a.vcf", fs::perms(0444));
    const Unprivileged user(root);
    auto store = open();
    expectFailure(Step::Update, "a.vcf\" is read-only. Make it writable", [&] { store.expectWritable("a.vcf"); });
    EXPECT_NO_THROW(store.expectWritable("b.vcf"));
    EXPECT_NO_THROW(store.expectWritable(""));
    EXPECT_NO_THROW(store.expectWritable("none.vcf"));
    fs::permissions(folder, fs::perms(0555));
    for (const char* id : {"", "b.vcf"})
        expectFailure(Step::Update, "the folder \"" + folder.string() + "\" is read-only", [&] { store.expectWritable(id); });
    fs::permissions(folder, fs::perms::owner_all);
}

TEST_F(VCardFolder, ADeviceIsNeitherAFolderNorAFile)
{
    expectFailure(Step::Open, "neither a folder", [&] { open("/dev/null"); });
}

// What can have the name of a card in place of a file.
struct NoFile {
    const char* why;
    void (*make)(const fs::path& path);
};

const NoFile kNoFiles[] = {
    {"symbolic link", [](const fs::path& path) { fs::create_symlink("/etc/passwd", path); }},
    {"symbolic link", [](const fs::path& path) { fs::create_symlink("nowhere", path); }},
    {"folder", [](const fs::path& path) { fs::create_directory(path); }},
    {"pipe", [](const fs::path& path) { ASSERT_EQ(mkfifo(path.c_str(), 0600), 0); }},
    {"socket",
     [](const fs::path& path) {
         const int made = socket(AF_UNIX, SOCK_STREAM, 0);
         sockaddr_un address{AF_UNIX, {}};
         const std::string name = path.filename();
         name.copy(address.sun_path, sizeof address.sun_path - 1);
         const fs::path before = fs::current_path(); // a socket's path has at most 107 characters
         fs::current_path(path.parent_path());
         EXPECT_EQ(bind(made, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
         fs::current_path(before);
         close(made);
     }},
};

TEST_F(VCardFolder, ACardWhosePlaceIsTakenByALinkAFolderAPipeOrASocketIsLeftOutAndNotGone)
{
    for (const NoFile& noFile : kNoFiles)
        for (const bool withCache : {true, false}) {
            SCOPED_TRACE(noFile.why);
            put("one.vcf", cardText("1"));
            put("two.vcf", cardText("2", "u1") + cardText("3", "u2"));
            auto before = open();
            const std::vector<std::string> known = ids(before);
            ASSERT_EQ(known.size(), 3u);
            const auto date = before.modified("one.vcf");
            for (const char* name : {"one.vcf", "two.vcf"}) {
                fs::remove(folder / name);
                noFile.make(folder / name);
            }
            if (!withCache) fs::remove_all(root / "cache");
            for (int run = 0; run < 2; ++run) {
                auto store = open();
                EXPECT_EQ(store.count(), 0u);
                for (const std::string& id : known) {
                    EXPECT_TRUE(store.exists(id)) << id;
                    EXPECT_THROW((void)store.modified(id), StoreError) << id;
                    EXPECT_THROW(store.beginRead(id), StoreError) << id;
                    EXPECT_THROW(store.beginEdit(id), StoreError) << id;
                    EXPECT_THROW(store.remove(id), StoreError) << id;
                }
                EXPECT_NE(reports.find("one.vcf: left out, it is a " + std::string(noFile.why)), std::string::npos) << reports;
            }
            fs::create_directories(root / "cache");
            for (const char* name : {"one.vcf", "two.vcf"}) fs::remove_all(folder / name);
            put("one.vcf", cardText("1 again"));
            put("two.vcf", cardText("2", "u1") + cardText("3", "u2"));
            auto after = open();
            EXPECT_EQ(ids(after), known);
            if (withCache) { EXPECT_GT(after.modified("one.vcf"), date); }
        }
}

// A followed link would list the contact twice, and a save would replace the link by a file.
TEST_F(VCardFolder, ALinkToACardIsLeftOutWhereverTheCardIs)
{
    put("b.vcf", cardText("B"));
    writeBytes(root / "own.vcf", cardText("Own"));
    fs::create_symlink("b.vcf", folder / "inside.vcf");
    fs::create_symlink(root / "own.vcf", folder / "outside.vcf");
    auto store = open();
    EXPECT_EQ(ids(store), std::vector<std::string>{"b.vcf"});
    for (const std::string name : {"inside.vcf", "outside.vcf"}) {
        EXPECT_TRUE(store.exists(name));
        EXPECT_NE(reports.find(name + ": left out, it is a symbolic link"), std::string::npos) << reports;
        expectFailure(Step::Edit, "it is a symbolic link", [&] { store.beginEdit(name); });
    }
    EXPECT_EQ(readBytes(root / "own.vcf"), cardText("Own"));
}

TEST_F(VCardFolder, AFolderOrOneFileMayBeReachedByALink)
{
    put("b.vcf", cardText("B"));
    fs::create_directory_symlink(folder, root / "linked");
    fs::create_symlink(folder / "b.vcf", root / "linked.vcf");
    auto store = open(root / "linked");
    edit(store, "b.vcf", ftTitle, u"Boss");
    EXPECT_TRUE(fs::is_symlink(root / "linked"));
    auto file = open(root / "linked.vcf");
    ASSERT_EQ(file.count(), 1u);
    edit(file, std::string(file.idAt(0)), ftTitle, u"Chief");
    EXPECT_TRUE(fs::is_symlink(root / "linked.vcf"));
    EXPECT_NE(get("b.vcf").find("TITLE:Chief"), std::string::npos);
}

TEST_F(VCardFolder, ACategoryListThatIsNotAFileFailsTheOpening)
{
    const auto names = [&] { return CardCategories(folder.string(), {}, report, recent).takeNames(); };
    put(".mbsync-categories", "Friends\n");
    EXPECT_EQ(names().size(), 1u);
    fs::remove(folder / ".mbsync-categories");
    fs::create_symlink("/etc/passwd", folder / ".mbsync-categories");
    expectFailure(Step::Open, ".mbsync-categories\": it is a symbolic link", names);
}

} // namespace
} // namespace mb::vcard
