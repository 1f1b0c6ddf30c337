// Names where neither the file system nor the engine tells upper and lower case apart.
#include "CardStoreFixture.h"

namespace mb::vcard {
namespace {

TEST_F(VCardFolder, ANameInOtherCaseIsTheSameFile)
{
    put("A.vcf", cardText("1"));
    put("a.vcf", cardText("2"));
    auto store = open();
    EXPECT_EQ(ids(store), std::vector<std::string>{"A.vcf"});
    EXPECT_EQ(read(store, "A.vcf", kLastName), u"2");
}

} // namespace
} // namespace mb::vcard
