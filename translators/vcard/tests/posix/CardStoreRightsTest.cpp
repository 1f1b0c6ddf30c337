// What the user may not do, and what a folder can hold here beside files and folders.
#include "CardStoreFixture.h"

#include <unistd.h>

namespace mb::vcard {
namespace {

// Nothing is forbidden to root: a test that needs a refusal runs as another user.
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

TEST_F(VCardFolder, AFileThatMayNotBeReadIsLeftOutUntilItMay)
{
    put("a.vcf", cardText("A"));
    const Unprivileged user(root);
    fs::permissions(folder / "a.vcf", fs::perms::none);
    EXPECT_EQ(open().count(), 0u);
    EXPECT_NE(reports.find("a.vcf"), std::string::npos);
    fs::permissions(folder / "a.vcf", fs::perms::owner_all);
    EXPECT_EQ(open().count(), 1u);
}

TEST_F(VCardFolder, AFolderThatMayNotBeWrittenFailsTheSave)
{
    put("a.vcf", cardText("A"));
    const Unprivileged user(root);
    auto store = open();
    fs::permissions(folder, fs::perms::owner_read | fs::perms::owner_exec);
    expectFailure(Step::Save, folder.string(), [&] { edit(store, "a.vcf", kTitle, u"x"); });
    expectFailure(Step::Save, folder.string(), [&] { add(store, u"x"); });
    expectFailure(Step::Delete, folder.string(), [&] { store.remove("a.vcf"); });
    EXPECT_EQ(get("a.vcf"), cardText("A"));
}

TEST_F(VCardFolder, AFolderThatMayNoLongerBeWrittenFailsTheSaveInTheMiddleOfABatch)
{
    const Unprivileged user(root);
    auto store = open();
    store.beginBatch();
    constexpr std::size_t kCards = 100; // the files of the next ones are open already
    for (std::size_t i = 0; i < kCards; ++i) add(store, u"x");
    fs::permissions(folder, fs::perms::owner_read | fs::perms::owner_exec);
    expectFailure(Step::Save, folder.string(), [&] { add(store, u"Lost"); });
    fs::permissions(folder, fs::perms::owner_all);
    store.endBatch(false);
    EXPECT_EQ(open().count(), kCards);
    EXPECT_LE(strayFiles(), 1u); // the lost one's could not be deleted either; a later run does that
}

TEST_F(VCardFolder, AnEditKeepsThePermissions)
{
    put("a.vcf", cardText("A"));
    fs::permissions(folder / "a.vcf", fs::perms(0640));
    auto store = open();
    edit(store, "a.vcf", kTitle, u"Boss");
    EXPECT_EQ(fs::status(folder / "a.vcf").permissions(), fs::perms(0640));
}

TEST_F(VCardFolder, ADeviceIsNeitherAFolderNorAFile)
{
    expectFailure(Step::Open, "neither a folder", [&] { open("/dev/null"); });
}

TEST_F(VCardFolder, ALinkIsNoRecordAndIsReported)
{
    put("b.vcf", cardText("B"));
    fs::create_symlink(folder / "b.vcf", folder / "link.vcf");
    auto store = open();
    EXPECT_EQ(ids(store), std::vector<std::string>{"b.vcf"});
    EXPECT_NE(reports.find("link.vcf"), std::string::npos);
}

} // namespace
} // namespace mb::vcard
