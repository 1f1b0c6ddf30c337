#include "Output.h"

#include "PlanOutput.h"

#include <gtest/gtest.h>

using namespace mbhost;

TEST(PrintableTest, ControlCharactersAreReplaced)
{
    EXPECT_EQ(printable("\x1b[31mred\x07"), "\uFFFD[31mred\uFFFD");
    EXPECT_EQ(printable(std::string_view("a\0b", 3)), "a\uFFFDb");
    EXPECT_EQ(printable("\u009b2J"), "\uFFFD2J") << "the one-character form of an escape sequence";
    EXPECT_EQ(printable("\x7f"), "\uFFFD");
}

TEST(PrintableTest, DirectionOverridesAreReplaced) { EXPECT_EQ(printable("ab\u202Ecd\u2066"), "ab\uFFFDcd\uFFFD"); }

TEST(PrintableTest, LineBreaksAndTabsBecomeBlanks)
{
    EXPECT_EQ(printable("one\r\ntwo\nthree\tfour\u2028five\rsix"), "one two three four five six");
    EXPECT_EQ(printable("end\r"), "end ");
}

TEST(PrintableTest, IllFormedTextIsReplacedNotDropped)
{
    const std::string shown = printable("a\xC3(b");
    EXPECT_EQ(shown.front(), 'a');
    EXPECT_NE(shown.find("\uFFFD"), std::string::npos);
    EXPECT_EQ(shown.back(), 'b');
    EXPECT_EQ(printable(u"\xD800x"), "\uFFFDx");
}

TEST(PrintableTest, LettersOfAllAlphabetsAreKept) { EXPECT_EQ(printable("Łódź さくら ليلى 𠮷郎"), "Łódź さくら ليلى 𠮷郎"); }

TEST(QuoteTest, PutsAPrintableTextInQuotationMarks) { EXPECT_EQ(quote("a\nb"), "\"a b\""); }

TEST(TableTest, ColumnsAreAsWideAsTheirWidestCell)
{
    EXPECT_EQ(table({"A", "LONG"}, {{"first", "x"}, {"b", "yy"}}), "A      LONG\n"
                                                                   "first  x\n"
                                                                   "b      yy\n");
}

TEST(TableTest, WideLettersTakeTwoColumnsAndMarksNone)
{
    EXPECT_EQ(table({"N", "M"}, {{"日本", "x"}, {"e\u0301", "y"}, {"𠮷", "z"}}), "N     M\n"
                                                                                 "日本  x\n"
                                                                                 "e\u0301     y\n"
                                                                                 "𠮷    z\n");
}

TEST(TableTest, WithoutRowsOnlyTheHeadIsPrinted) { EXPECT_EQ(table({"A", "B"}, {}), "A  B\n"); }

TEST(JsonOutputTest, EscapedTextParsesBackUnchanged)
{
    const std::string text = "quote \" backslash \\ escape \x1b line\nend 𠮷";
    testing::internal::CaptureStdout();
    printJson(Json{{"text", text}});
    std::fflush(stdout);
    const std::string written = testing::internal::GetCapturedStdout();
    EXPECT_EQ(written.find('\x1b'), std::string::npos);
    EXPECT_EQ(Json::parse(written).at("text").get<std::string>(), text);
}

TEST(JsonOutputTest, IllFormedTextStillGivesJson)
{
    testing::internal::CaptureStdout();
    printJson(Json{{"text", "a\xff"}});
    std::fflush(stdout);
    EXPECT_EQ(Json::parse(testing::internal::GetCapturedStdout()).at("text").get<std::string>(), "a\uFFFD");
}

TEST(JsonOutputTest, MembersKeepTheirOrder)
{
    testing::internal::CaptureStdout();
    printJson(Json{{"z", 1}, {"a", 2}});
    std::fflush(stdout);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "{\n  \"z\": 1,\n  \"a\": 2\n}\n");
}

TEST(PlanTextTest, CategoriesAreShownApartFromContacts)
{
    RunPlan plan;
    plan.categoryNames = {{0, "Add", "Choir", "", {}}};
    plan.categorySummary = u"To Card:\r\n";
    EXPECT_EQ(planText({}, plan).find("The contacts"), std::string::npos);
    plan.contacts = {{0, "Add", "Ada", "", {}}};
    plan.summary = u"To Card:\r\n";
    const std::string text = planText({}, plan);
    const auto categories = text.find("\nThe lists of categories\n"), contacts = text.find("\nThe contacts\n");
    EXPECT_LT(categories, text.find("Add: Choir")) << text;
    EXPECT_LT(text.find("Add: Choir"), contacts) << text;
    EXPECT_LT(contacts, text.find("Add: Ada")) << text;
    EXPECT_NE(text.find("Add: Ada"), std::string::npos) << text;
}

TEST(PlanTextTest, EachContactHasANameToShow)
{
    RunPlan plan;
    plan.contacts = {{0, "Add", "Ada Lovelace", "", {}},
                     {0, "Add", "", "Analytical Ltd.", {}},
                     {1, "Delete", "Ada", "Analytical Ltd.", {}},
                     {1, "Add", "", "", {}}};
    const std::string text = planText({}, plan);
    EXPECT_NE(text.find("  Add: Ada Lovelace\n  Add: Analytical Ltd.\n"), std::string::npos) << text;
    EXPECT_NE(text.find("  Delete: Ada (Analytical Ltd.)\n  Add: (no name)\n"), std::string::npos) << text;
}

TEST(PlanTextTest, TooManyDeletionsAreShownWithTheStoreThatLostThem)
{
    MapInfo map;
    map.translators[0].name = "Card";
    map.translators[1].name = "vCard";
    map.databases[0] = "/a.db";
    map.databases[1] = "/b";
    RunPlan plan;
    plan.contacts = {{0, "Delete", "Ada", "", {}}};
    EXPECT_EQ(planText(map, plan).find("would refuse"), std::string::npos);
    EXPECT_EQ(planJson(plan).at("refused"), nullptr);
    plan.refused = {{false, 0, 12, 7, "50%"}};
    EXPECT_NE(planText(map, plan).find("mb sync would refuse this: it would delete 7 of the 12 contacts of Card=/a.db, since vCard=/b no "
                                       "longer has them, and --max-delete 50% is the limit."),
              std::string::npos)
        << planText(map, plan);
    EXPECT_EQ(planJson(plan).at("refused").at("limit"), "50%");
}
