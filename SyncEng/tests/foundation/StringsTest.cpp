#include "foundation/Strings.h"

#include <gtest/gtest.h>
#include <string_view>
#include <vector>

using mb::LoadText, mb::Text;

namespace {

struct Row {
    int id;
    std::string_view text;
};

constexpr Row rows[] = {
#define STRING(id, name, text) {id, text},
#include "strings.inc"
#undef STRING
};

} // namespace

TEST(Strings, EveryTextIsFoundByItsNumber)
{
    for (const Row& row : rows) {
        const std::u16string text = LoadText(static_cast<Text>(row.id));
        EXPECT_EQ(std::string(text.begin(), text.end()), row.text) << row.id; // the texts are ASCII
    }
}

TEST(Strings, NumbersAreUniqueAndTextsNotEmpty)
{
    int before = 0;
    for (const Row& row : rows) {
        EXPECT_LT(before, row.id);
        EXPECT_FALSE(row.text.empty()) << row.id;
        before = row.id;
    }
}

TEST(Strings, AnUnknownNumberHasAnEmptyText)
{
    for (const int id : {-1, 0, 99, 213, 100'000}) EXPECT_EQ(LoadText(static_cast<Text>(id)), u"") << id;
}

TEST(Strings, QuirksAreKept)
{
    EXPECT_NE(LoadText(Text::FieldMapConflictMessage).find(u"sycnhronization"), std::u16string::npos);
    EXPECT_NE(LoadText(Text::FieldMapDuplicateMessage).find(u"\"\"%s\"\""), std::u16string::npos);
    EXPECT_EQ(LoadText(Text::BeginUpdateFailed), LoadText(Text::EndUpdateFailed));
}
