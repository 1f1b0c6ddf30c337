#include "DetailsBytes.h"
#include "Blake2b.h"

#include <gtest/gtest.h>

namespace mb::plugin {
namespace {

const std::string whole = "item1.PHOTO;PREF=1;X=\"a:b\":data:image/png;base64,aGk=";
const std::string hashed = "item1.PHOTO;PREF=1;X=\"a:b\":x-mb-data:image/png,2," + blake2b("aGk=");

TEST(DetailsBytes, AnEmbeddedFileIsGivenByItsTypeLengthAndHash)
{
    EXPECT_EQ(hashedLine(whole), hashed);
    EXPECT_EQ(hashedValue(hashed), "x-mb-data:image/png,2," + blake2b("aGk="));
    EXPECT_NE(hashedLine("PHOTO:data:image/png;base64,aGk="), hashedLine("PHOTO:data:image/png;base64,aGl="));
    EXPECT_NE(hashedLine("PHOTO:data:image/png;base64,aGk="), hashedLine("PHOTO:data:image/gif;base64,aGk="));
    EXPECT_EQ(hashedLine("KEY:data:;base64,aGkh"), "KEY:x-mb-data:,3," + blake2b("aGkh"));
}

TEST(DetailsBytes, AnyOtherLineStays)
{
    for (const std::string line : {"NOTE:a", "PHOTO:https://example.net/a;base64,aGk=", "NOTE:data:image/png\\;base64\\,aGk=",
                                   "PHOTO:data:image/png,aGk=", "PHOTO:data:image/png;base64,", "PHOTO:data:image/png;base64,aGk",
                                   "PHOTO:data:image/png;base64,a===", "PHOTO:data:image/png;base64,aG k",
                                   "X;A=\":data:image/png;base64,aGk=\":b", "no property data:;base64,aGk="}) {
        EXPECT_EQ(hashedLine(line), line);
        EXPECT_EQ(hashedValue(line), "");
    }
    EXPECT_EQ(hashedValue("X;A=\":x-mb-data:\":b"), "");
}

TEST(DetailsBytes, AHashedLineBecomesTheValueThatIsHeld)
{
    const std::string held = "NOTE:a\n" + whole;
    EXPECT_EQ(hashedDetails(held), "NOTE:a\n" + hashed);
    EXPECT_EQ(wholeDetails("NOTE:b\n" + hashed, held), "NOTE:b\n" + whole);
    EXPECT_EQ(wholeDetails("PHOTO;PREF=2" + hashed.substr(hashed.find(":x-mb")), held), "PHOTO;PREF=2:data:image/png;base64,aGk=")
        << "other parameters, the same file";
}

TEST(DetailsBytes, AHashThatIsNotHeldIsLeftOut)
{
    EXPECT_EQ(wholeDetails(hashed + "\nNOTE:b", "NOTE:a"), "NOTE:b");
    EXPECT_EQ(wholeDetails(hashed, hashed), "") << "a hash is no file";
}

} // namespace
} // namespace mb::plugin
