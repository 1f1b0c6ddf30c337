// Files that another program holds, and files that may only be read.
#include "CardStoreFixture.h"

#include <windows.h>

namespace mb::vcard {
namespace {

TEST_F(VCardFolder, AFileThatAnotherProgramHoldsIsLeftOutUntilItIsFree)
{
    put("a.vcf", cardText("A"));
    const HANDLE held = CreateFileW((folder / "a.vcf").c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(held, INVALID_HANDLE_VALUE);
    EXPECT_EQ(open().count(), 0u);
    EXPECT_NE(reports.find("a.vcf"), std::string::npos);
    CloseHandle(held);
    EXPECT_EQ(open().count(), 1u);
}

TEST_F(VCardFolder, AFileThatMayOnlyBeReadFailsTheSave)
{
    put("a.vcf", cardText("A"));
    auto store = open();
    ASSERT_TRUE(SetFileAttributesW((folder / "a.vcf").c_str(), FILE_ATTRIBUTE_READONLY));
    expectFailure(Step::Save, "a.vcf", [&] { edit(store, "a.vcf", kTitle, u"x"); });
    EXPECT_EQ(get("a.vcf"), cardText("A"));
    EXPECT_EQ(strayFiles(), 0u);
    ASSERT_TRUE(SetFileAttributesW((folder / "a.vcf").c_str(), FILE_ATTRIBUTE_NORMAL));
}

} // namespace
} // namespace mb::vcard
