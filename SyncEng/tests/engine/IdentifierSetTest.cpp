#include "engine/IdentifierSet.h"

#include <gtest/gtest.h>

namespace mb {
namespace {

IdentifierSet setOf(std::initializer_list<std::u16string_view> ids)
{
    IdentifierSet made;
    for (const std::u16string_view id : ids) made.insert(id);
    return made;
}

} // namespace

TEST(IdentifierSet, FindsIdentifiersInAnyOrder)
{
    IdentifierSet ids = setOf({u"a", u"b", u"c", u"d"});
    for (const char16_t* id : {u"a", u"b", u"d", u"c", u"c", u"a", u"d", u"d"}) EXPECT_TRUE(ids.contains(id));
    EXPECT_FALSE(ids.contains(u"e"));
    EXPECT_TRUE(ids.contains(u"b"));
}

TEST(IdentifierSet, IgnoresCaseUnlessAskedForTheExactIdentifier)
{
    IdentifierSet ids = setOf({u"Ab", u"cd"});
    EXPECT_TRUE(ids.contains(u"aB"));
    EXPECT_TRUE(ids.contains(u"CD"));
    EXPECT_TRUE(ids.containsExactly(u"Ab"));
    EXPECT_FALSE(ids.containsExactly(u"ab"));
    EXPECT_FALSE(ids.containsExactly(u"x"));
}

TEST(IdentifierSet, FindsIdentifiersAddedAfterALookup)
{
    IdentifierSet ids = setOf({u"a"});
    EXPECT_FALSE(ids.containsExactly(u"b"));
    ids.insert(u"b");
    EXPECT_TRUE(ids.containsExactly(u"b"));
    EXPECT_TRUE(ids.contains(u"B"));
    EXPECT_FALSE(setOf({}).contains(u"a"));
}

} // namespace mb
