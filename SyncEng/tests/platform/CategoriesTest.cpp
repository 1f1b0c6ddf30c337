#include "categories.h"

#include "ClassesOf.h"
#include "TestFolder.h"
#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace platform;
using mbtest::classesOf;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

// GUIDs of this process alone, since Windows keeps one list of categories for all processes.
GUID guid(unsigned char n)
{
    static const GUID own = com::newGuid();
    GUID made = own;
    made.Data1 = (made.Data1 & 0xFFFFFF00u) + n;
    return made;
}
const GUID one = guid(1), two = guid(2), three = guid(3), cards = guid(100), mails = guid(101);

class Categories : public testing::Test {
protected:
    ~Categories() override
    {
        for (const GUID* clsid : {&one, &two, &three})
            for (const GUID* category : {&cards, &mails}) (void)unregisterClassInCategory(*clsid, *category);
    }
    mbtest::TestFolder folder;
};

} // namespace

TEST_F(Categories, AnEmptyRegistryHasNoClasses) { EXPECT_THAT(classesOf(cards), IsEmpty()); }

TEST_F(Categories, ClassesAreListedByTheirCategory)
{
    EXPECT_EQ(registerClassInCategory(two, cards), S_OK);
    EXPECT_EQ(registerClassInCategory(one, cards), S_OK);
    EXPECT_EQ(registerClassInCategory(three, mails), S_OK);
    EXPECT_EQ(registerClassInCategory(one, mails), S_OK);
    EXPECT_THAT(classesOf(cards), ElementsAre(one, two)); // in registry order
    EXPECT_THAT(classesOf(mails), ElementsAre(one, three));
}

TEST_F(Categories, RegisteringTwiceIsRegisteringOnce)
{
    EXPECT_EQ(registerClassInCategory(one, cards), S_OK);
    EXPECT_EQ(registerClassInCategory(one, cards), S_OK);
    EXPECT_THAT(classesOf(cards), ElementsAre(one));
}

TEST_F(Categories, AClassRemovedFromOneCategoryStaysInTheOther)
{
    registerClassInCategory(one, cards);
    registerClassInCategory(one, mails);
    registerClassInCategory(two, cards);
    EXPECT_EQ(unregisterClassInCategory(one, cards), S_OK);
    EXPECT_THAT(classesOf(cards), ElementsAre(two));
    EXPECT_THAT(classesOf(mails), ElementsAre(one));
}
