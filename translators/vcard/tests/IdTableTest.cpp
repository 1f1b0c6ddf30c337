#include "IdTable.h"

#include <gtest/gtest.h>
#include <map>
#include <random>
#include <stdexcept>

namespace mb::vcard {
namespace {

TEST(IdTable, KeepsTheOrderAndThePlaces)
{
    IdTable table;
    EXPECT_EQ(table.count(), 0u);
    EXPECT_EQ(table.find("a"), nullptr);
    EXPECT_TRUE(table.add("b", {1, -1}));
    EXPECT_TRUE(table.add("a", {2, 5}));
    EXPECT_FALSE(table.add("b", {3, -1}));
    EXPECT_EQ(table.count(), 2u);
    EXPECT_EQ(table.at(0), "b");
    EXPECT_EQ(table.at(1), "a");
    EXPECT_THROW((void)table.at(2), std::out_of_range);
    EXPECT_EQ(table.find("b")->place.file, 1u);
    EXPECT_EQ(table.find("a")->place.card, 5);
    EXPECT_EQ(table.find("A"), nullptr);
}

TEST(IdTable, TakesBackARemovedIdentifierAtTheEnd)
{
    IdTable table;
    for (const char* id : {"a", "b", "c"}) table.add(id, {0, -1});
    table.find("b")->known = true;
    table.remove("a");
    table.remove("missing");
    EXPECT_EQ(table.find("a"), nullptr);
    EXPECT_TRUE(table.add("a", {9, -1}));
    EXPECT_EQ(table.count(), 3u);
    EXPECT_EQ(table.at(0), "b");
    EXPECT_EQ(table.at(2), "a");
    EXPECT_EQ(table.find("a")->place.file, 9u);
    EXPECT_TRUE(table.find("b")->known);
    table.clear();
    EXPECT_EQ(table.count(), 0u);
    EXPECT_EQ(table.find("b"), nullptr);
}

TEST(IdTable, IsAListWithALookup)
{
    std::mt19937 random(static_cast<std::uint32_t>(testing::UnitTest::GetInstance()->random_seed()));
    IdTable table;
    std::vector<std::string> order;
    std::map<std::string, std::size_t> files;
    for (std::size_t step = 0; step < 20000; ++step) {
        const std::string id = std::to_string(random() % 700);
        if (random() % 3 != 0) {
            const bool isNew = files.emplace(id, step).second;
            ASSERT_EQ(table.add(id, {step, -1}), isNew);
            if (isNew) order.push_back(id);
        } else {
            table.remove(id);
            if (files.erase(id) > 0) std::erase(order, id);
        }
        if (const auto* entry = table.find(id)) {
            ASSERT_EQ(entry->place.file, files.at(id));
        } else {
            ASSERT_FALSE(files.contains(id));
        }
        if (random() % 50 != 0) continue;
        ASSERT_EQ(table.count(), order.size());
        for (std::size_t i = 0; i < order.size(); ++i) ASSERT_EQ(table.at(i), order[i]);
    }
}

} // namespace
} // namespace mb::vcard
