#include "RulesFixture.h"

#include "engine/duplicates/MatchRules.h"
#include "engine/duplicates/RecordIndex.h"
#include "text.h"

#include <gtest/gtest.h>
#include <random>

namespace mb {
namespace {

struct ScoreRow {
    const char16_t *a, *b;
    int score, words;
};

} // namespace

TEST(WordScore, OnlyLeadingWordsWithABlankBehindThemCount)
{
    const ScoreRow table[] = {
        {u"", u"abcd ", 0, 0},
        {u"abcd", u"abcd", 0, 0},                                     // one word: no blank
        {u"abcd ", u"abcd", 1, 1},                                    // the blank is at the end
        {u"abc abcd x", u"abcd", 1, 1},                               // the first word is too short
        {u"Analytical Engines Ltd", u"Analytical Engines Inc", 2, 2}, // the third word is not looked at
        {u"Analytical Engines Ltd", u"analytical engines ltd", 0, 2}, // case counts
        {u"Anal xxxx y", u"zAnalz", 1, 2},                            // anywhere in the other
        {u"  abcd e", u"abcd", 1, 1},
    };
    for (const ScoreRow& row : table) {
        int words = -1;
        EXPECT_EQ(WordPrefixScore(row.a, row.b, 4, words), row.score) << platform::utf8(row.a);
        EXPECT_EQ(words, row.words) << platform::utf8(row.a);
    }
    int words = -1;
    EXPECT_EQ(WordPrefixScore(u"abcd e", u"abcd", 0, words), 0);
    EXPECT_EQ(words, 0);
}

TEST(FieldFit, AValueIsCutToTheFieldAndItsLineEndsBecomeBlanks)
{
    EXPECT_EQ(FitToField(u"a\r\nb\rc\nd", ffReplaceNewLine, 0), u"a b c d");
    EXPECT_EQ(FitToField(u"a\r\nb", 0, 0), u"a\r\nb");
    EXPECT_EQ(FitToField(u"abcdef", 0, 3), u"abc");
    EXPECT_EQ(FitToField(u"abcdef", 0, 0xFFFFFFFF), u"abcdef");
    EXPECT_EQ(FitForTarget(u"a.example", ftWebPage, 0, 0), u"http://a.example");
}

TEST(Alnum, LettersAndDigitsStayInOrder)
{
    EXPECT_EQ(AlnumOnly(u" a-B. 3\u00E9\u4F60!"), u"aB3\u00E9\u4F60");
    EXPECT_TRUE(sameAlnum(u"O'Hara, 12", u"ohara12"));
}

TEST_F(Rules, APerfectMatchEndsTheWalk)
{
    add(Side::One, u"a", {{ftLastName, u"L"}, {ftFirstName, u"F"}, {ftTitle, u"x"}});
    add(Side::One, u"b", {{ftLastName, u"L"}, {ftFirstName, u"F"}, {ftTitle, u"t"}});
    add(Side::One, u"c", {{ftLastName, u"L"}, {ftFirstName, u"F"}, {ftTitle, u"t"}});
    EXPECT_EQ(rank({u"a", u"b", u"c"}, {{ftLastName, u"l"}, {ftFirstName, u"f"}, {ftTitle, u"T"}}), u"b");
    EXPECT_FALSE(pass.side(Side::One).tasks.at(u"b").Changes);
}

TEST_F(Rules, AnotherLastNameIsNeverADuplicate)
{
    add(Side::One, u"a", {{ftLastName, u"M"}, {ftFirstName, u"F"}, {ftEmail1, u"e"}});
    EXPECT_FALSE(rank({u"a"}, {{ftLastName, u"L"}, {ftFirstName, u"F"}, {ftEmail1, u"e"}}));
}

TEST_F(Rules, TwoEmptyEmailsPassTheGateButNeedASharedWordToBePlaced)
{
    add(Side::One, u"a", {{ftLastName, u"L"}, {ftFirstName, u"F"}, {ftCompany, u"Analytical Engines Ltd"}});
    EXPECT_FALSE(rank({u"a"}, {{ftLastName, u"L"}, {ftFirstName, u"G"}}));
    EXPECT_EQ(rank({u"a"}, {{ftLastName, u"L"}, {ftFirstName, u"G"}, {ftCompany, u"Analytical Engines Inc"}}), u"a");
}

TEST_F(Rules, ALastNameAloneIsEnoughWhereThereIsNothingElse)
{
    add(Side::One, u"a", {{ftLastName, u"L"}, {ftTitle, u"x"}});
    EXPECT_EQ(rank({u"a"}, {{ftLastName, u"L"}, {ftTitle, u"y"}}), u"a");
}

TEST_F(Rules, AmongThoseWithNameAndEmailButNoWordsTheLaterWins)
{
    for (const char16_t* id : {u"a", u"b"})
        add(Side::One, id, {{ftLastName, u"L"}, {ftFirstName, u"F"}, {ftEmail1, u"e"}, {ftTitle, u"x"}});
    EXPECT_EQ(rank({u"a", u"b"}, {{ftLastName, u"L"}, {ftFirstName, u"F"}, {ftEmail1, u"e"}, {ftTitle, u"y"}}), u"b");
}

TEST_F(Rules, AmongThoseWithAHigherScoreTheHighestWinsAndATieKeepsTheEarlier)
{
    const Values two{{ftLastName, u"L"}, {ftFirstName, u"F"}, {ftEmail1, u"e"}, {ftStreet1, u"Alpha Beta Gamma Delta Road 1"}};
    add(Side::One, u"a", {{ftLastName, u"L"}, {ftFirstName, u"F"}, {ftEmail1, u"e"}, {ftStreet1, u"Alpha none none none Road 2"}});
    add(Side::One, u"b", {{ftLastName, u"L"}, {ftFirstName, u"F"}, {ftEmail1, u"e"}, {ftStreet1, u"Alpha Beta none none Road 2"}});
    add(Side::One, u"c", {{ftLastName, u"L"}, {ftFirstName, u"F"}, {ftEmail1, u"e"}, {ftStreet1, u"Alpha Beta none nine Road 2"}});
    EXPECT_EQ(rank({u"a", u"b", u"c"}, two), u"b");
}

TEST_F(Rules, NameAndEmailWithAWordStandBeforeAnEmailAlone)
{
    const Values two{{ftLastName, u"L"}, {ftFirstName, u"F"}, {ftEmail1, u"e"}, {ftStreet1, u"Alpha Road 1"}};
    add(Side::One, u"a", {{ftLastName, u"L"}, {ftFirstName, u"G"}, {ftEmail1, u"e"}});
    add(Side::One, u"b", {{ftLastName, u"L"}, {ftFirstName, u"F"}, {ftEmail1, u"e"}, {ftStreet1, u"Alpha Road 2"}});
    EXPECT_EQ(rank({u"a", u"b"}, two), u"b");
    EXPECT_EQ(rank({u"b", u"a"}, two), u"b");
}

TEST_F(Rules, AFirstNameThatDiffersOnAPairFoundByEmailIsNotedInBothMaps)
{
    add(Side::One, u"a", {{ftLastName, u"L"}, {ftFirstName, u"F"}, {ftEmail1, u"e"}});
    EXPECT_EQ(rank({u"a"}, {{ftLastName, u"L"}, {ftFirstName, u"G"}, {ftEmail1, u"e"}}), u"a");
    EXPECT_EQ(pass.side(Side::One).tasks.at(u"a").Changes->find(ftFirstName)->second, u"F");
    EXPECT_EQ(pass.side(Side::Two).tasks.at(u"two").Changes->find(ftFirstName)->second, u"G");
}

TEST_F(Rules, ACandidateThatHasAPartnerIsPassedOver)
{
    add(Side::One, u"a", {{ftLastName, u"L"}, {ftFirstName, u"F"}}).MappedId = u"other";
    EXPECT_FALSE(rank({u"a", u"unknown"}, {{ftLastName, u"L"}, {ftFirstName, u"F"}}));
}

TEST_F(Rules, AnImageOnOneSideAloneIsAGiftAndNoConflict)
{
    add(Side::One, u"a", {{ftLastName, u"L"}, {ftFirstName, u"F"}, {ftImage1, u"1"}});
    EXPECT_EQ(rank({u"a"}, {{ftLastName, u"L"}, {ftFirstName, u"F"}, {ftImage1, u"0"}}), u"a");
    const DroppedTasks dropped = PairDuplicates(pass, u"a", u"two", rows);
    EXPECT_FALSE(dropped.drop1);
    EXPECT_TRUE(dropped.drop2);
    EXPECT_EQ(pass.side(Side::One).tasks.at(u"a").MappedId, u"two");
}

TEST_F(Rules, EqualRecordsAreLinkedAndTheOneOfSideTwoGoes)
{
    add(Side::One, u"a", {{ftLastName, u"L"}, {ftNotes, u"n"}});
    add(Side::Two, u"b", {{ftLastName, u"L"}, {ftNotes, u"N."}});
    const DroppedTasks dropped = PairDuplicates(pass, u"a", u"b", rows);
    EXPECT_TRUE(dropped.drop2);
    EXPECT_EQ(pass.side(Side::One).tasks.at(u"a").Kind, TaskMatched);
}

TEST_F(Rules, AFirstNameNeverEntersTheChangesOfAPair)
{
    add(Side::One, u"a", {{ftLastName, u"L"}, {ftFirstName, u"F"}});
    add(Side::Two, u"b", {{ftLastName, u"L"}, {ftFirstName, u"G"}});
    PairDuplicates(pass, u"a", u"b", rows);
    EXPECT_FALSE(pass.side(Side::One).tasks.at(u"a").Changes);
}

TEST_F(Rules, NotesThatDifferAreKeptRawOnBothSides)
{
    add(Side::One, u"a", {{ftNotes, u"n 1"}});
    add(Side::Two, u"b", {{ftNotes, u"n 2"}});
    const DroppedTasks dropped = PairDuplicates(pass, u"a", u"b", rows);
    EXPECT_FALSE(dropped.drop1 || dropped.drop2);
    EXPECT_EQ(pass.side(Side::Two).tasks.at(u"b").Changes->find(ftNotes)->second, u"n 2");
    EXPECT_EQ(pass.side(Side::Two).tasks.at(u"b").MappedId, u"a");
}

TEST_F(Rules, InOneDirectionAPairIsLeftAlone)
{
    pass.send[Side::Two] = false;
    add(Side::One, u"a", {{ftNotes, u"n"}});
    add(Side::Two, u"b", {{ftNotes, u"n"}});
    const DroppedTasks dropped = PairDuplicates(pass, u"a", u"b", rows);
    EXPECT_FALSE(dropped.drop1 || dropped.drop2);
    EXPECT_FALSE(pass.side(Side::One).tasks.at(u"a").MappedId);
}

TEST_F(Rules, FieldsOfTheirOwnRulesMakeNoDifferenceHere)
{
    MatchRow status;
    status.field1.type = status.field2.type = ftRecordStatus;
    rows.rows.push_back(status);
    add(Side::One, u"a", {{ftLastName, u"L"}, {ftFirstName, u"F"}, {ftNotes, u"1"}, {ftCategories, u"1"}, {ftRecordStatus, u"1"}});
    EXPECT_EQ(rank({u"a"}, {{ftLastName, u"L"}, {ftFirstName, u"F"}, {ftNotes, u"2"}, {ftCategories, u"2"}, {ftRecordStatus, u"2"}}), u"a");
    EXPECT_FALSE(changes1(u"a"));
}

TEST_F(Rules, AnImageOnSideTwoAloneIsAGiftToSideOne)
{
    add(Side::One, u"a", {{ftLastName, u"L"}, {ftFirstName, u"F"}, {ftImage1, u"0"}});
    EXPECT_EQ(rank({u"a"}, {{ftLastName, u"L"}, {ftFirstName, u"F"}, {ftImage1, u"1"}, {ftImageSize1, u"5"}}), u"a");
    ASSERT_TRUE(changes1(u"a") && changes2());
    EXPECT_TRUE(changes1(u"a")->empty());
    EXPECT_EQ(changes2()->size(), 1u);
    EXPECT_EQ(changes2()->find(ftImage1)->second, u"1");
    const DroppedTasks dropped = PairDuplicates(pass, u"a", u"two", rows);
    EXPECT_TRUE(dropped.drop1);
    EXPECT_FALSE(dropped.drop2);
    EXPECT_EQ(pass.side(Side::Two).tasks.at(u"two").MappedId, u"a");
}

TEST_F(Rules, TwoImagesOfDifferentSizeAreADifferenceOfBothSides)
{
    add(Side::One, u"a", {{ftLastName, u"L"}, {ftFirstName, u"F"}, {ftImage1, u"1"}, {ftImageSize1, u"4"}});
    EXPECT_EQ(rank({u"a"}, {{ftLastName, u"L"}, {ftFirstName, u"F"}, {ftImage1, u"1"}, {ftImageSize1, u"5"}}), u"a");
    ASSERT_TRUE(changes1(u"a") && changes2());
    EXPECT_EQ(changes1(u"a")->find(ftImage1)->second, u"1");
    EXPECT_EQ(changes1(u"a")->find(ftImageSize1)->second, u"4");
    EXPECT_EQ(changes2()->find(ftImage1)->second, u"1");
    EXPECT_EQ(changes2()->find(ftImageSize1)->second, u"5");
    const DroppedTasks dropped = PairDuplicates(pass, u"a", u"two", rows);
    EXPECT_FALSE(dropped.drop1 || dropped.drop2);
}

TEST_F(Rules, WhereImagesCannotBeComparedTheyMakeNoDifference)
{
    run.HistoryVersion = 3;
    add(Side::One, u"a", {{ftLastName, u"L"}, {ftFirstName, u"F"}, {ftImage1, u"1"}, {ftImageSize1, u"4"}});
    EXPECT_EQ(rank({u"a"}, {{ftLastName, u"L"}, {ftFirstName, u"F"}, {ftImage1, u"1"}, {ftImageSize1, u"5"}}), u"a");
    EXPECT_FALSE(changes1(u"a"));
}

TEST_F(Rules, AFieldThatOnlyANewVersionHasMakesNoDifferenceOnceItsMapIsNew)
{
    const Values one{{ftLastName, u"L"}, {ftFirstName, u"F"}, {ftTitle, u"x"}},
        two{{ftLastName, u"L"}, {ftFirstName, u"F"}, {ftTitle, u"y"}};
    MatchRow& title = *std::ranges::find(rows.rows, ftTitle, [](const MatchRow& row) { return row.field1.type; });
    const auto winner = [&] {
        // A perfect match ends the walk; without one the later of two equal candidates wins.
        for (const char16_t* id : {u"a", u"b"}) add(Side::One, id, one);
        return rank({u"a", u"b"}, two);
    };
    title.field1.flags = title.field2.flags = ffVersionDependent;
    EXPECT_EQ(winner(), u"b") << "the map is no new one";
    run.FieldMapRebuilt = true;
    EXPECT_EQ(winner(), u"a");
    EXPECT_EQ(changes1(u"a")->find(ftTitle)->second, u"x") << "the difference is noted all the same";
    title.field2.flags = 0;
    EXPECT_EQ(winner(), u"b") << "both fields must be such";
    std::swap(title.field1.flags, title.field2.flags);
    EXPECT_EQ(winner(), u"b") << "that of side 2 alone is not enough";
    title.field1.flags = ffVersionDependent;
    EXPECT_EQ(winner(), u"a");
    for (const Side side : {Side::One, Side::Two}) {
        pass.send[side] = false;
        EXPECT_EQ(winner(), u"b") << "both sides must send";
        pass.send[side] = true;
    }
}

TEST_F(Rules, InOneDirectionNoDifferenceIsNoted)
{
    pass.send[Side::One] = false;
    add(Side::One, u"a", {{ftLastName, u"L"}, {ftFirstName, u"F"}, {ftTitle, u"x"}});
    EXPECT_EQ(rank({u"a"}, {{ftLastName, u"L"}, {ftFirstName, u"F"}, {ftTitle, u"y"}}), u"a");
    EXPECT_FALSE(changes1(u"a") || changes2());
    const DroppedTasks dropped = PairDuplicates(pass, u"a", u"two", rows);
    EXPECT_FALSE(dropped.drop1 || dropped.drop2);
    EXPECT_FALSE(pass.side(Side::One).tasks.at(u"a").MappedId);
}

TEST_F(Rules, WhatIsNotedIsTheValueAsTheOtherFieldCanHoldIt)
{
    MatchRow page;
    page.field1 = {ftWebPage, 0, 8};
    page.field2 = {ftWebPage, ffReplaceNewLine, 5};
    rows.rows.push_back(page);
    add(Side::One, u"a", {{ftLastName, u"L"}, {ftFirstName, u"F"}, {ftWebPage, u"a\r\nb.example"}});
    EXPECT_EQ(rank({u"a"}, {{ftLastName, u"L"}, {ftFirstName, u"F"}, {ftWebPage, u"c\r\nd.example"}}), u"a");
    EXPECT_EQ(changes1(u"a")->find(ftWebPage)->second, u"a b.e") << "and without the scheme that it was compared with";
    EXPECT_EQ(changes2()->find(ftWebPage)->second, u"c\r\nd.exa");
}

TEST_F(Rules, AWebPageIsComparedWithItsScheme)
{
    MatchRow page;
    page.field1.type = page.field2.type = ftWebPage;
    rows.rows.push_back(page);
    add(Side::One, u"a", {{ftLastName, u"L"}, {ftFirstName, u"F"}, {ftWebPage, u"a.example"}});
    EXPECT_EQ(rank({u"a"}, {{ftLastName, u"L"}, {ftFirstName, u"F"}, {ftWebPage, u"http://a.example"}}), u"a");
    EXPECT_FALSE(changes1(u"a"));
}

TEST_F(Rules, NotesThatDifferOnlyInWhatTheOtherFieldCannotHoldAreEqual)
{
    rows.notes = {ftNotes, 0, ffReplaceNewLine, 4, 6};
    add(Side::One, u"a", {{ftNotes, u"12345678"}});
    add(Side::Two, u"b", {{ftNotes, u"1234567"}});
    EXPECT_FALSE(PairDuplicates(pass, u"a", u"b", rows).drop2) << "123456 of side 1 against 1234 of side 2";
    EXPECT_EQ(changes1(u"a")->find(ftNotes)->second, u"12345678") << "as it was read";

    add(Side::One, u"c", {{ftNotes, u"123456 and more"}});
    add(Side::Two, u"d", {{ftNotes, u"1234"}});
    rows.notes = {ftNotes, 0, 0, 0, 4};
    EXPECT_TRUE(PairDuplicates(pass, u"c", u"d", rows).drop2);
    EXPECT_EQ(pass.side(Side::One).tasks.at(u"c").Kind, TaskMatched);
    add(Side::One, u"e", {{ftNotes, u"1234"}});
    add(Side::Two, u"f", {{ftNotes, u"123456 and more"}});
    rows.notes = {ftNotes, 0, 0, 4, 0};
    EXPECT_TRUE(PairDuplicates(pass, u"e", u"f", rows).drop2);
}

TEST_F(Rules, EqualTextsAreNoDifferenceThoughTheFieldsHoldDifferentLengths)
{
    for (const LONG type : {ftEmail1, ftNotes, ftCategories}) {
        for (SpecialField* field : {&rows.email, &rows.notes, &rows.categories}) *field = {field->type2, 0, 0, 4, 6};
        add(Side::One, u"a", {{type, u"12345678"}});
        add(Side::Two, u"b", {{type, u"12345678"}});
        EXPECT_TRUE(PairDuplicates(pass, u"a", u"b", rows).drop2) << type;
        EXPECT_FALSE(changes1(u"a")) << type;
        EXPECT_EQ(pass.side(Side::One).tasks.at(u"a").Kind, TaskMatched) << type;
        pass.side(Side::One).tasks.clear();
        pass.side(Side::Two).tasks.clear();
    }
}

TEST_F(Rules, EmailAndCategoriesThatDifferMakeAPairAConflict)
{
    for (const LONG type : {ftEmail1, ftCategories}) {
        add(Side::One, u"a", {{type, u"1"}});
        add(Side::Two, u"b", {{type, u"2"}});
        const DroppedTasks dropped = PairDuplicates(pass, u"a", u"b", rows);
        EXPECT_FALSE(dropped.drop1 || dropped.drop2) << type;
        EXPECT_EQ(changes1(u"a")->find(type)->second, u"1");
        pass.side(Side::One).tasks.clear();
        pass.side(Side::Two).tasks.clear();
    }
}

TEST_F(Rules, ARecordThatHasAPartnerIsNotPairedAgain)
{
    add(Side::One, u"a", {}).MappedId = u"other";
    add(Side::Two, u"b", {});
    EXPECT_FALSE(PairDuplicates(pass, u"a", u"b", rows).drop2);
    EXPECT_EQ(pass.side(Side::One).tasks.at(u"a").MappedId, u"other");
    add(Side::One, u"c", {});
    add(Side::Two, u"d", {}).MappedId = u"other";
    EXPECT_FALSE(PairDuplicates(pass, u"c", u"d", rows).drop2);
    EXPECT_FALSE(PairDuplicates(pass, u"c", u"gone", rows).drop2);
    EXPECT_FALSE(pass.side(Side::One).tasks.at(u"c").MappedId);
}

// ---- The index answers what the expressions answer -----------------------------------------------------------------------

namespace {

std::string literal(const std::u16string& text) { return "\"" + platform::utf8(text) + "\""; }

std::vector<std::u16string> idsOf(const std::vector<platform::XmlElement>& elements, bool parents)
{
    std::vector<std::u16string> ids;
    for (const auto& e : elements) ids.push_back(platform::utf16((parents ? e.parent() : e).attribute("ID").value_or("?")));
    return ids;
}

using IndexQuestion = RecordIndex::Question;

std::vector<std::u16string> idsOf(RecordIndex& index, IndexQuestion question, const std::u16string& last, const std::u16string& first,
                                  const std::u16string& email, const std::u16string& digest)
{
    const std::string l = platform::utf8(last), f = platform::utf8(first), e = platform::utf8(email), d = platform::utf8(digest);
    std::vector<std::u16string> ids;
    EXPECT_FALSE(index.find(question, {l, f, e, d}, [&](std::size_t position) {
        ids.push_back(index.id(position));
        return false;
    }));
    return ids;
}

} // namespace

TEST(RecordIndexTest, TheBucketsAnswerWhatTheExpressionsAnswer)
{
    const std::u16string words[] = {u"", u"a", u"b", u"o'hara", u"\"q\"", u"a&b", u"\u0437\u0430", u"a b", u"&quot;"};
    const std::u16string digests[] = {u"", u"x0", u"y1"};
    const std::u16string ids[] = {u"1", u"2", u"A", u"a", u"x'y", u"q\"z", u"[1]", u"3", u"4"};
    // Other cases with --gtest_shuffle --gtest_repeat=N, by the seed of each round.
    const unsigned before = 200 * static_cast<unsigned>(testing::UnitTest::GetInstance()->random_seed());
    for (unsigned seed = before + 1; seed <= before + 200 && !testing::Test::HasFailure(); ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        const auto any = [&](const auto& from) { return from[random() % std::size(from)]; };
        RecordIndex index;
        ASSERT_TRUE(index.create());
        const auto add = [&] { (void)index.AddToRecordIndex(any(ids), any(words), any(words), any(words), any(digests)); };
        for (unsigned n = random() % 25; n > 0; --n) add();
        for (int step = 0; step < 10; ++step) {
            // The values of a query are attributes of the other document, where a quote is escaped already.
            const auto value = [&] {
                std::u16string text = any(words);
                for (std::size_t at = 0; (at = text.find(u'"')) != std::u16string::npos;) text.replace(at, 1, u"&quot;");
                return text;
            };
            const std::u16string last = value(), first = value(), email = value(), digest = any(digests);
            const auto root = index.document().root();
            const std::string l = "@LastName=" + literal(last), f = "@FirstName=" + literal(first), e = "@Email=" + literal(email),
                              open = "@MappedID=\"\"", v = "]/Value[.=" + literal(digest) + "]";
            EXPECT_EQ(idsOf(index, IndexQuestion::ContentAlone, u"", u"", u"", digest),
                      idsOf(root.select("Record[@LastName=\"\" and @FirstName=\"\" and @Email=\"\" and " + open + v), true));
            EXPECT_EQ(idsOf(index, IndexQuestion::NameAndContent, last, first, email, digest),
                      idsOf(root.select("Record[" + l + " and " + f + " and " + open + v), true));
            EXPECT_EQ(idsOf(index, IndexQuestion::EmailAndContent, last, first, email, digest),
                      idsOf(root.select("Record[" + l + " and " + e + " and " + open + v), true));
            EXPECT_EQ(idsOf(index, IndexQuestion::NameAndEmail, last, first, email, digest),
                      idsOf(root.select("Record[" + l + " and " + f + " and " + e + " and " + open + "]"), false));
            EXPECT_EQ(idsOf(index, IndexQuestion::Name, last, first, email, digest),
                      idsOf(root.select("Record[" + l + " and " + f + " and " + open + "]"), false));
            EXPECT_EQ(idsOf(index, IndexQuestion::Email, last, first, email, digest),
                      idsOf(root.select("Record[" + l + " and " + e + " and " + open + "]"), false));
            index.MarkRecordMapped(any(ids), u"partner");
            if (random() % 4 == 0) add();
        }
    }
}

TEST(RecordIndexTest, AnIdentifierWithAQuoteBreaksItsExpressionAndMarksNothing)
{
    RecordIndex index;
    ASSERT_TRUE(index.create());
    EXPECT_EQ(index.AddToRecordIndex(u"a\"b", u"l", u"f", u"e", u"d"), 0u);
    index.MarkRecordMapped(u"a\"b", u"partner");
    EXPECT_EQ(index.open().size(), 1u);
    index.MarkRecordMapped(u"x\" or @FirstName=\"f", u"partner");
    EXPECT_TRUE(index.open().empty()) << "the identifier goes in as it is";
}

} // namespace mb
