// Files that another program holds open, and read-only files.
#include "CardStoreFixture.h"

#include <windows.h>

namespace mb::vcard {
namespace {

TEST_F(VCardFolder, AFileThatAnotherProgramHoldsOpenFailsTheOpening)
{
    put("a.vcf", cardText("A"));
    const HANDLE held = CreateFileW((folder / "a.vcf").c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(held, INVALID_HANDLE_VALUE);
    expectFailure(Step::Open, "a.vcf", [&] { open(); });
    CloseHandle(held);
    EXPECT_EQ(open().count(), 1u);
}

TEST_F(VCardFolder, ACardReplacedByAFolderIsLeftOutButExists)
{
    put("one.vcf", cardText("1"));
    put("two.vcf", cardText("2", "u1") + cardText("3", "u2"));
    const std::vector<std::string> known = ids(open());
    for (const char* name : {"one.vcf", "two.vcf"}) {
        fs::remove(folder / name);
        fs::create_directory(folder / name);
    }
    auto store = open();
    EXPECT_EQ(store.count(), 0u);
    for (const std::string& id : known) EXPECT_TRUE(store.exists(id)) << id;
    EXPECT_NE(reports.find("one.vcf: left out, it is a folder"), std::string::npos) << reports;
}

TEST_F(VCardFolder, AReadOnlyFileFailsTheSave)
{
    put("a.vcf", cardText("A"));
    auto store = open();
    ASSERT_TRUE(SetFileAttributesW((folder / "a.vcf").c_str(), FILE_ATTRIBUTE_READONLY));
    expectFailure(Step::Save, "a.vcf", [&] { edit(store, "a.vcf", ftTitle, u"x"); });
    EXPECT_EQ(get("a.vcf"), cardText("A"));
    EXPECT_EQ(strayFiles(), 0u);
    ASSERT_TRUE(SetFileAttributesW((folder / "a.vcf").c_str(), FILE_ATTRIBUTE_NORMAL));
}

} // namespace
} // namespace mb::vcard
