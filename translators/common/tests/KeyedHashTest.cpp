#include "KeyedHash.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace mb::plugin {
namespace {

using namespace std::string_literals;

TEST(KeyedHash, OnlyEqualTextsHaveEqualHashes)
{
    // Texts that a weak hash may confuse: of different lengths, padded with zeros, with parts swapped.
    std::vector<std::u16string> texts{u"",     u"\0"s,  u"\0\0"s, u"\0\0\0"s, u"\0\0\0\0"s, u"a",
                                      u"a\0"s, u"\0a"s, u"ab",    u"ba",      u"abc",       u"cba"};
    for (std::size_t length = 1; length < 40; ++length) {
        texts.emplace_back(length, u'x');
        texts.emplace_back(length, u'\uFFFF');
        texts.push_back(std::u16string(length, u'x') + u"y");
        texts.push_back(u"y" + std::u16string(length, u'x'));
        texts.push_back(u"abc" + std::u16string(length, u'x') + u"def");
        texts.push_back(u"def" + std::u16string(length, u'x') + u"abc");
    }
    const KeyedHash hash;
    for (std::size_t i = 0; i < texts.size(); ++i)
        for (std::size_t j = 0; j < texts.size(); ++j) EXPECT_EQ(hash(texts[i]) == hash(texts[j]), i == j) << i << " and " << j;
}

TEST(KeyedHash, BothHalvesDifferForDifferentTexts)
{
    const KeyedHash hash;
    EXPECT_NE(hash(u"Ada").first, hash(u"Bea").first);
    EXPECT_NE(hash(u"Ada").second, hash(u"Bea").second);
    EXPECT_NE(hash(u"Ada").first, hash(u"Ada").second);
}

TEST(KeyedHash, EachObjectHasItsOwnKey)
{
    const KeyedHash one, two;
    EXPECT_NE(one(u"Ada Lovelace").first, two(u"Ada Lovelace").first);
    EXPECT_NE(one(u"Ada Lovelace").second, two(u"Ada Lovelace").second);
}

} // namespace
} // namespace mb::plugin
