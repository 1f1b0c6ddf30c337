// The work of an enumeration of a filter list, counted in allocations. Part of allocation_tests, which counts them.
#include "../../store/AllocationFaults.h"
#include "foundation/Format.h"
#include "TestFolder.h"
#include "translators/FilterStore.h"

#include <gtest/gtest.h>
#include <limits>

namespace mb {
namespace {

// Adds `count` entries to a new list, and returns the number of allocations that the enumeration of the list makes.
int allocationsOfEnumeration(ULONG count)
{
    const mbtest::TestFolder folder;
    std::filesystem::create_directories(folder.data());
    FilterStore store;
    EXPECT_EQ(store.open(), S_OK);
    for (ULONG i = 0; i < count; ++i) EXPECT_EQ(store.add(u"cards.db", Format(u"identifier %d", static_cast<int>(i))), S_OK);
    std::u16string id;
    mbtest::allocationsMade = 0;
    mbtest::failingAllocation = std::numeric_limits<int>::max(); // counts, and lets none fail
    ULONG found = 0;
    while (SUCCEEDED(store.at(u"cards.db", found, id))) ++found;
    mbtest::failingAllocation = 0;
    EXPECT_EQ(found, count);
    return mbtest::allocationsMade;
}

} // namespace

TEST(FilterStore, AnEnumerationTakesWorkInProportionToTheLengthOfTheList)
{
    const int few = allocationsOfEnumeration(200), many = allocationsOfEnumeration(2000);
    EXPECT_GT(few, 0);
    EXPECT_LT(many, few * 15) << "ten times the entries take ten times the work; a list that each call reads anew takes a hundred times";
}

} // namespace mb
