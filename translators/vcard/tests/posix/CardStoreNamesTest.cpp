// Names where the file system tells upper and lower case apart, and the engine does not.
#include "CardStoreFixture.h"

namespace mb::vcard {
namespace {

TEST_F(VCardFolder, NamesThatDifferOnlyInCaseAreOneRecord)
{
    put("A.vcf", cardText("1"));
    put("a.vcf", cardText("2"));
    auto store = open();
    EXPECT_EQ(ids(store), std::vector<std::string>{"A.vcf"});
    EXPECT_TRUE(store.exists("a.vcf"));
    EXPECT_NE(reports.find("a.vcf: left out"), std::string::npos);
}

TEST_F(VCardFolder, NamesOfEveryAlphabetThatDifferOnlyInCaseAreOneRecord)
{
    put("\xC3\x84.vcf", cardText("1")); // A with two dots
    put("\xC3\xA4.vcf", cardText("2"));
    auto store = open();
    EXPECT_EQ(ids(store).size(), 1u);
    EXPECT_NE(reports.find("left out"), std::string::npos);
}

} // namespace
} // namespace mb::vcard
