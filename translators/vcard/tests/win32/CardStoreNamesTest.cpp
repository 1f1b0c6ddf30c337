// Names that differ only in case: equal for the file system and for the engine.
#include "CardStoreFixture.h"

namespace mb::vcard {
namespace {

TEST_F(VCardFolder, ANameInAnotherCaseIsTheSameFile)
{
    put("A.vcf", cardText("1"));
    put("a.vcf", cardText("2"));
    auto store = open();
    EXPECT_EQ(ids(store), std::vector<std::string>{"A.vcf"});
    EXPECT_EQ(read(store, "A.vcf", ftLastName), u"2");
}

TEST_F(VCardFolder, AFileRenamedToItsNameInAnotherCaseIsTheSameRecord)
{
    put("ada.vcf", cardText("Ada"));
    ASSERT_EQ(ids(open()), std::vector<std::string>{"ada.vcf"});
    fs::rename(folder / "ada.vcf", folder / "between.vcf");
    fs::rename(folder / "between.vcf", folder / "Ada.vcf");
    auto store = open();
    EXPECT_TRUE(store.exists("ada.vcf"));
    EXPECT_EQ(store.updatedId("ada.vcf"), "Ada.vcf");
}

} // namespace
} // namespace mb::vcard
