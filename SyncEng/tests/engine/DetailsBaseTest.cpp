#include "engine/details/DetailsBase.h"

#include <gtest/gtest.h>

namespace {

using mb::DetailsBase;

const DetailsBase someBase{{std::nullopt, 7}, {1, 2}, {3, std::nullopt}, {0xFFFFFFFFFFFFFFFFU, 0}};

} // namespace

TEST(DetailsBaseTest, ReadsBackAsItWasStored)
{
    EXPECT_EQ(mb::parseDetailsBase(mb::composeDetailsBase(someBase)), someBase);
    EXPECT_EQ(mb::composeDetailsBase({}), u"");
    EXPECT_EQ(mb::parseDetailsBase(u""), DetailsBase());
}

TEST(DetailsBaseTest, IsStoredInOneOrder) { EXPECT_EQ(mb::composeDetailsBase({{3, 4}, {1, 2}}), mb::composeDetailsBase({{1, 2}, {3, 4}})); }

// A damaged base with other pairs would show lines as removed that are there.
TEST(DetailsBaseTest, WithAnyDamageIsNone)
{
    const std::u16string text = mb::composeDetailsBase(someBase);
    for (std::size_t i = 0; i < text.size(); ++i) {
        std::u16string changed = text;
        changed[i] = changed[i] == u'A' ? u'B' : u'A';
        EXPECT_FALSE(mb::parseDetailsBase(changed)) << "unit " << i;
        changed[i] = u'\x20AC';
        EXPECT_FALSE(mb::parseDetailsBase(changed)) << "unit " << i;
        EXPECT_FALSE(i > 0 && mb::parseDetailsBase(text.substr(0, i))) << "cut at " << i;
        EXPECT_FALSE(mb::parseDetailsBase(text.substr(0, i) + text.substr(i + 1))) << "without unit " << i;
    }
    EXPECT_FALSE(mb::parseDetailsBase(text + u" "));
    EXPECT_FALSE(mb::parseDetailsBase(text + text));
}

TEST(DetailsBaseTest, IsTheMirrorOfTheOtherSidesCopy)
{
    EXPECT_TRUE(mb::isMirror({{1, 2}, {3, std::nullopt}}, {{std::nullopt, 3}, {2, 1}}));
    EXPECT_FALSE(mb::isMirror({{1, 2}}, {{1, 2}}));
    EXPECT_FALSE(mb::isMirror({{1, 2}}, {{2, 1}, {2, 1}}));
}
