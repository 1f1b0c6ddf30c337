// The merge of the details of two records, without stores: rules by example, and random edits against a merge of sets.
#include "engine/details/MergeDetails.h"

#include "DetailsLines.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using mb::DetailsBase;
using mb::FieldTypeMap;
using mb::MergedDetails;
using mbtest::Lines;
using mbtest::linesOf;
using mbtest::textOfLines;
using testing::ElementsAre;
using testing::IsEmpty;

using mbtest::Winner;

// Two records, and what the history knows of their details.
struct Pair {
    std::u16string one, two;
    DetailsBase base{}; // as side 1 has it
    FieldTypeMap types{{24, 31}};
    Winner winner = Winner::One;
    // What the store of side 2 makes of a text.
    std::u16string (*rewrite)(const std::u16string&) = [](const std::u16string& text) { return text; };
    std::vector<std::u16string> overwritten{};
    int writes = 0;

    void oneToTwo() { write(one, two, base, types, Winner::One, rewrite); }
    void twoToOne()
    {
        DetailsBase own = mb::mirrored(base);
        FieldTypeMap back;
        for (const auto& [type1, type2] : types) back[type2] = type1;
        write(two, one, own, back, Winner::Two, [](const std::u16string& text) { return text; });
        base = mb::mirrored(own);
    }
    void run()
    {
        writes = 0;
        oneToTwo();
        twoToOne();
    }
    void expectAtRest()
    {
        const std::u16string before1 = one, before2 = two;
        run();
        EXPECT_EQ(writes, 0) << "a run without an edit writes nothing";
        EXPECT_EQ(linesOf(one), linesOf(before1));
        EXPECT_EQ(linesOf(two), linesOf(before2));
        EXPECT_TRUE(mb::detailsAsInBase(one, base, types));
    }

private:
    void write(const std::u16string& source, std::u16string& target, DetailsBase& own, const FieldTypeMap& map, Winner side,
               std::u16string (*store)(const std::u16string&))
    {
        const std::u16string before = target;
        const MergedDetails merged(
            {.source = source, .target = before, .base = own, .types = map, .sourceWins = [&](const auto&) { return winner == side; }});
        if (merged.changesTarget()) {
            ++writes;
            target = store(merged.text());
        }
        for (const std::u16string_view line : merged.overwritten()) overwritten.emplace_back(line);
        own = *mb::parseDetailsBase(mb::composeDetailsBase(merged.nextBase(target)));
    }
};

} // namespace

TEST(MergeDetailsTest, AtAFirstMeetingBothGetTheUnion)
{
    Pair pair{u"NOTE:a\nTZ:1", u"TZ:1\nURL:b"};
    pair.run();
    EXPECT_EQ(linesOf(pair.one), (Lines{u"NOTE:a", u"TZ:1", u"URL:b"}));
    EXPECT_EQ(linesOf(pair.two), linesOf(pair.one));
    pair.expectAtRest();
}

TEST(MergeDetailsTest, EditsOfDifferentLinesMeet)
{
    Pair pair{u"NOTE:a\nTZ:1\nURL:b", u""};
    pair.run();
    pair.one = u"NOTE:a2\nTZ:1\nURL:b\nX-N:1"; // changed one, added one
    pair.two = u"NOTE:a\nURL:b\nX-M:2";        // removed one, added one
    pair.run();
    EXPECT_EQ(linesOf(pair.one), (Lines{u"NOTE:a2", u"URL:b", u"X-M:2", u"X-N:1"}));
    EXPECT_EQ(linesOf(pair.two), linesOf(pair.one));
    pair.expectAtRest();
}

TEST(MergeDetailsTest, ALineThatBothChangedStandsTwice)
{
    Pair pair{u"NOTE:a", u"NOTE:a"};
    pair.run();
    pair.one = u"NOTE:b";
    pair.two = u"NOTE:c";
    pair.run();
    EXPECT_EQ(linesOf(pair.one), (Lines{u"NOTE:b", u"NOTE:c"}));
    EXPECT_EQ(linesOf(pair.two), linesOf(pair.one));
    EXPECT_THAT(pair.overwritten, IsEmpty());
}

TEST(MergeDetailsTest, OfAPropertyThatStandsOnceTheWinnersLineStaysAndTheOtherIsTold)
{
    for (const Winner winner : {Winner::One, Winner::Two}) {
        Pair pair{u"BDAY:19700101", u"BDAY:19700101"};
        pair.run();
        pair.one = u"BDAY:19710101";
        pair.two = u"BDAY:19720101";
        pair.winner = winner;
        pair.run();
        const bool one = winner == Winner::One;
        EXPECT_EQ(pair.one, one ? u"BDAY:19710101" : u"BDAY:19720101");
        EXPECT_EQ(pair.two, pair.one);
        EXPECT_THAT(pair.overwritten, ElementsAre(one ? u"BDAY:19720101" : u"BDAY:19710101"));
        pair.expectAtRest();
    }
}

TEST(MergeDetailsTest, ARemovalGivesWayToAChangeOfAPropertyThatStandsOnce)
{
    Pair pair{u"BDAY:19700101", u"BDAY:19700101"};
    pair.run();
    pair.one.clear();
    pair.two = u"BDAY:19720101";
    pair.run();
    EXPECT_EQ(pair.one, u"BDAY:19720101");
    EXPECT_EQ(pair.two, u"BDAY:19720101");
}

TEST(MergeDetailsTest, InOneDirectionTheTargetKeepsItsOwnLinesAndItsRemovals)
{
    Pair pair{u"NOTE:a\nTZ:1\nX-A:1", u"X-OWN:1"};
    pair.oneToTwo();
    EXPECT_EQ(linesOf(pair.two), (Lines{u"NOTE:a", u"TZ:1", u"X-A:1", u"X-OWN:1"}));
    EXPECT_EQ(linesOf(pair.one), (Lines{u"NOTE:a", u"TZ:1", u"X-A:1"}));
    pair.two = u"TZ:1\nX-A:1\nX-OWN:1"; // the target's user removed the note
    pair.one = u"NOTE:a\nX-A:1\nX-B:1"; // the source's user removed the time zone and added a line
    pair.oneToTwo();
    EXPECT_EQ(linesOf(pair.two), (Lines{u"X-A:1", u"X-B:1", u"X-OWN:1"}));
    pair.twoToOne(); // now the other direction is allowed too
    EXPECT_EQ(linesOf(pair.one), linesOf(pair.two)) << "the target's removal was not forgotten";
}

TEST(MergeDetailsTest, AStoreThatSpellsLinesAnewIsAtRest)
{
    Pair pair{u"NOTE:Some Words\nNOTE:Other\nBDAY:1970-01-01", u""};
    pair.rewrite = [](const std::u16string& text) {
        std::u16string lower;
        for (const std::u16string& line : linesOf(text)) {
            lower += lower.empty() ? u"" : u"\n";
            const std::size_t colon = line.find(u':');
            lower += line.substr(0, colon);
            for (const char16_t c : line.substr(colon))
                if (c != u' ' && c != u'-') lower += c >= u'A' && c <= u'Z' ? static_cast<char16_t>(c + 32) : c;
        }
        return lower;
    };
    pair.run();
    EXPECT_EQ(linesOf(pair.two), (Lines{u"BDAY:19700101", u"NOTE:other", u"NOTE:somewords"}));
    EXPECT_EQ(linesOf(pair.one), (Lines{u"BDAY:1970-01-01", u"NOTE:Other", u"NOTE:Some Words"}));
    pair.expectAtRest();
    // An edit of a respelled line takes the place of its counterpart, from both sides.
    pair.two = u"BDAY:19700101\nNOTE:edited\nNOTE:other";
    pair.run();
    EXPECT_EQ(linesOf(pair.one), (Lines{u"BDAY:1970-01-01", u"NOTE:Other", u"NOTE:edited"}));
    pair.one = u"BDAY:1970-01-02\nNOTE:edited";
    pair.run();
    EXPECT_EQ(linesOf(pair.two), (Lines{u"BDAY:19700102", u"NOTE:edited"}));
    pair.expectAtRest();
}

TEST(MergeDetailsTest, WhatAStoreDoesNotKeepIsNoRemovalAndWhatItAddsDoesNotTravel)
{
    Pair pair{u"NOTE:a\nX-LOST:1", u""};
    pair.rewrite = [](const std::u16string& text) {
        Lines lines = linesOf(text);
        std::erase_if(lines, [](const std::u16string& line) { return line.starts_with(u"X-LOST"); });
        lines.insert(u"X-MADE:by the store");
        return textOfLines(lines);
    };
    pair.run();
    EXPECT_EQ(linesOf(pair.two), (Lines{u"NOTE:a", u"X-MADE:by the store"}));
    EXPECT_EQ(linesOf(pair.one), (Lines{u"NOTE:a", u"X-LOST:1"}));
    pair.expectAtRest();
    pair.two = u"NOTE:a\nX-LOST:1\nX-MADE:by the store"; // the store keeps such lines now, and its user enters the line
    pair.run();
    EXPECT_EQ(linesOf(pair.one), (Lines{u"NOTE:a", u"X-LOST:1"})) << "it is the line that side 1 has";
}

TEST(MergeDetailsTest, AGroupWhoseNameIsInUseIsRenamed)
{
    Pair pair{u"item1.URL:a\nitem1.X-ABLABEL:blog", u"item1.URL:b\nitem1.X-ABLABEL:home\nitem2.URL:c"};
    pair.run();
    EXPECT_EQ(linesOf(pair.two), (Lines{u"item1.URL:b", u"item1.X-ABLABEL:home", u"item2.URL:c", u"item3.URL:a", u"item3.X-ABLABEL:blog"}));
    EXPECT_EQ(linesOf(pair.one), (Lines{u"item1.URL:a", u"item1.X-ABLABEL:blog", u"item2.URL:b", u"item2.X-ABLABEL:home", u"item3.URL:c"}));
    pair.expectAtRest();
}

TEST(MergeDetailsTest, AnAltIdThatIsInUseIsRenamed)
{
    Pair pair{u"TITLE;ALTID=1:a\nTITLE;ALTID=1;LANGUAGE=fr:b", u"TITLE;ALTID=1:c\nROLE;ALTID=2:d"};
    pair.run();
    EXPECT_EQ(linesOf(pair.two), (Lines{u"ROLE;ALTID=2:d", u"TITLE;ALTID=1:c", u"TITLE;ALTID=2:a", u"TITLE;ALTID=2;LANGUAGE=fr:b"}));
    pair.expectAtRest();
}

TEST(MergeDetailsTest, AnAnnotationGetsTheTypeOfTheOtherSidesField)
{
    Pair pair{u"@24;TYPE=cell", u""};
    pair.run();
    EXPECT_EQ(pair.two, u"@31;TYPE=cell");
    EXPECT_EQ(pair.one, u"@24;TYPE=cell");
    pair.two = u"@31;TYPE=work";
    pair.run();
    EXPECT_EQ(pair.one, u"@24;TYPE=work");
    pair.expectAtRest();
    pair.one.clear();
    pair.run();
    EXPECT_EQ(pair.two, u"");
}

TEST(MergeDetailsTest, AnAnnotationOfAFieldThatIsNotMappedStaysHome)
{
    Pair pair{u"@24;TYPE=cell\n@25;TYPE=a", u"@24;TYPE=of two"};
    pair.run();
    EXPECT_EQ(linesOf(pair.one), (Lines{u"@24;TYPE=cell", u"@25;TYPE=a"}));
    EXPECT_EQ(linesOf(pair.two), (Lines{u"@24;TYPE=of two", u"@31;TYPE=cell"}));
    pair.expectAtRest();
    pair.types.clear(); // the field is unmapped: its annotations stay on both sides, whatever one of them does with them
    pair.one = u"@25;TYPE=a";
    pair.run();
    EXPECT_EQ(linesOf(pair.two), (Lines{u"@24;TYPE=of two", u"@31;TYPE=cell"}));
    pair.expectAtRest();
}

TEST(MergeDetailsTest, APropIdInUseIsRenamed)
{
    Pair pair{u"LANG;PROP-ID=a:fr\nLANG;PREF=1;PROP-ID=a:de", u"LANG;PROP-ID=A:en"};
    pair.oneToTwo();
    EXPECT_EQ(linesOf(pair.two), (Lines{u"LANG;PREF=1;PROP-ID=1:de", u"LANG;PROP-ID=1:fr", u"LANG;PROP-ID=A:en"}));
    pair.twoToOne();
    EXPECT_EQ(linesOf(pair.one), (Lines{u"LANG;PREF=1;PROP-ID=a:de", u"LANG;PROP-ID=1:en", u"LANG;PROP-ID=a:fr"}));
    pair.expectAtRest();
}

TEST(MergeDetailsTest, AProgramWhoseNumberIsInUseGetsAnotherInItsLinesToo)
{
    Pair pair{u"LANG;PID=1.1,2.3:fr\n@24;PID=5.1\nCLIENTPIDMAP:1;urn:a\nCLIENTPIDMAP:3;urn:c", u"CLIENTPIDMAP:1;urn:b\nTZ;PID=1.1:1"};
    pair.run();
    EXPECT_EQ(linesOf(pair.two), (Lines{u"@31;PID=5.2", u"CLIENTPIDMAP:1;urn:b", u"CLIENTPIDMAP:2;urn:a", u"CLIENTPIDMAP:3;urn:c",
                                        u"LANG;PID=1.2,2.3:fr", u"TZ;PID=1.1:1"}));
    EXPECT_EQ(linesOf(pair.one), (Lines{u"@24;PID=5.1", u"CLIENTPIDMAP:1;urn:a", u"CLIENTPIDMAP:2;urn:b", u"CLIENTPIDMAP:3;urn:c",
                                        u"LANG;PID=1.1,2.3:fr", u"TZ;PID=1.2:1"}));
    pair.expectAtRest();
    pair.one += u"\nNOTE;PID=9.1:n"; // the target has the program under another number
    pair.run();
    EXPECT_TRUE(linesOf(pair.two).contains(u"NOTE;PID=9.2:n")) << linesOf(pair.two).size();
    pair.expectAtRest();
}

TEST(MergeDetailsTest, AProgramStaysAsLongAsALineNamesIt)
{
    Pair pair{u"LANG;PID=1.1:fr\nCLIENTPIDMAP:1;urn:a", u""};
    pair.run();
    pair.one = u"";
    pair.two += u"\nTZ;PID=2.1:1"; // a new line of the program that the other side removes
    pair.run();
    EXPECT_EQ(linesOf(pair.two), (Lines{u"CLIENTPIDMAP:1;urn:a", u"TZ;PID=2.1:1"}));
    EXPECT_EQ(linesOf(pair.one), linesOf(pair.two));
    pair.expectAtRest();
    pair.one = u"TZ;PID=2.1:2\nCLIENTPIDMAP:1;urn:a";
    pair.two = u""; // the program is gone there, and a line of it is new here
    pair.run();
    EXPECT_EQ(linesOf(pair.two), (Lines{u"CLIENTPIDMAP:1;urn:a", u"TZ;PID=2.1:2"}));
    EXPECT_EQ(linesOf(pair.one), linesOf(pair.two));
    pair.expectAtRest();
    pair.two = u"";
    pair.run();
    EXPECT_EQ(pair.one, u"");
    pair.expectAtRest();
}

TEST(MergeDetailsTest, ANewRecordIsOfferedTheUidAndAKnownOneKeepsItsOwn)
{
    const FieldTypeMap types;
    const auto merged = [&](bool isNew, std::u16string_view target) {
        return MergedDetails({.source = u"UID:1\nVERSION:3.0\nX-A:1",
                              .target = target,
                              .base = {},
                              .types = types,
                              .newTarget = isNew,
                              .sourceWins = {}})
            .text();
    };
    EXPECT_EQ(linesOf(merged(true, u"")), (Lines{u"UID:1", u"VERSION:3.0", u"X-A:1"}));
    EXPECT_EQ(linesOf(merged(false, u"UID:2")), (Lines{u"UID:2", u"X-A:1"}));
}

TEST(MergeDetailsTest, ANewRecordIsToldTheVersionThatTheMapDemands)
{
    const FieldTypeMap types;
    const auto offered = [&](LONG version, std::u16string_view source) {
        return MergedDetails(
                   {.source = source, .target = {}, .base = {}, .types = types, .newTarget = true, .version = version, .sourceWins = {}})
            .text();
    };
    EXPECT_EQ(offered(cvAsStore, u"VERSION:2.1\nVERSION:3.0"), u"VERSION:2.1");
    EXPECT_EQ(offered(cvAsStore, u"VERSION;PREF=1:3.0"), u"VERSION:3.0") << "what another map demanded is no demand of this one";
    EXPECT_EQ(offered(cvAsSource, u"VERSION:2.1"), u"VERSION;PREF=1:2.1");
    EXPECT_EQ(offered(cvAsSource, u"VERSION;PREF=1:3.0\nX-A:1"), u"X-A:1\nVERSION;PREF=1:3.0");
    EXPECT_EQ(offered(cvAsSource, u""), u"") << "the source names none";
    EXPECT_EQ(offered(cv30, u"VERSION:4.0\nUID:1"), u"UID:1\nVERSION;PREF=1:3.0");
    EXPECT_EQ(offered(cv40, u""), u"VERSION;PREF=1:4.0");
    EXPECT_EQ(offered(50, u"VERSION:4.0"), u"VERSION:4.0") << "a value that is not known";
}

TEST(MergeDetailsTest, AtAFirstMeetingTheMarkThatOldCopiesHaveDoesNotTravel)
{
    const FieldTypeMap types{{43, 43}};
    const std::u16string mark = u"@43;VALUE=text";
    const auto merged = [&](std::u16string_view source, std::u16string_view target, bool firstMeeting) {
        return MergedDetails({.source = source,
                              .target = target,
                              .base = {},
                              .firstMeeting = firstMeeting,
                              .types = types,
                              .newTarget = false,
                              .sourceWins = [](const mb::DetailsUnit&) { return true; }});
    };
    const auto fromCopy = merged(mark, u"NOTE:a", true);
    EXPECT_FALSE(fromCopy.changesTarget());
    EXPECT_TRUE(mb::detailsAsInBase(mark, fromCopy.nextBase(u"NOTE:a"), types)) << "the copy is at rest";
    EXPECT_FALSE(merged(u"NOTE:a", mark + u"\nNOTE:a", true).changesTarget()) << "the mark stays";
    const auto toCopy = merged(u"@43;CALSCALE=x", mark, true);
    EXPECT_EQ(linesOf(toCopy.text()), Lines{u"@43;CALSCALE=x"});
    EXPECT_THAT(toCopy.overwritten(), IsEmpty()) << "no user wrote it";
    EXPECT_TRUE(merged(mark, u"", false).changesTarget()) << "an edit of a user";
}

TEST(MergeDetailsTest, AtAFirstMeetingAnAnnotationWithAllParametersOfTheOtherWins)
{
    const FieldTypeMap types{{20, 20}};
    const std::u16string poor = u"@20;TYPE=work", rich = u"@20;TYPE=work;VALUE=uri;X-MB-VALUE=\"tel:1;ext=2\"", other = u"@20;PREF=1";
    const auto merged = [&](std::u16string_view source, std::u16string_view target, bool bothWays) {
        return MergedDetails({.source = source,
                              .target = target,
                              .base = {},
                              .firstMeeting = true,
                              .bothWays = bothWays,
                              .types = types,
                              .newTarget = false,
                              .sourceWins = [](const mb::DetailsUnit&) { return true; }});
    };
    EXPECT_FALSE(merged(poor, rich, true).changesTarget()) << "the target's will travel to the source";
    EXPECT_EQ(merged(rich, poor, true).text(), rich);
    EXPECT_THAT(merged(rich, poor, true).overwritten(), IsEmpty());
    EXPECT_EQ(merged(poor, rich, false).text(), poor) << "in one direction the source wins";
    EXPECT_EQ(merged(other, rich, true).text(), other);
    EXPECT_THAT(merged(other, rich, true).overwritten(), ElementsAre(rich));
}

TEST(MergeDetailsTest, EqualLinesAreCounted)
{
    Pair pair{u"X-A:1\nX-A:1", u"X-A:1"};
    pair.run();
    EXPECT_EQ(linesOf(pair.two), (Lines{u"X-A:1", u"X-A:1"}));
    pair.two = u"X-A:1";
    pair.run();
    EXPECT_EQ(linesOf(pair.one), (Lines{u"X-A:1"}));
}

TEST(MergeDetailsTest, RandomEditsOnBothSidesBecomeTheMergeOfSets)
{
    for (unsigned seed = 1; seed <= 400; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        mbtest::RandomLines random(seed);
        std::set<std::u16string> one, two, base;
        Pair pair;
        for (int run = 0; run < 8; ++run) {
            random.edit(one);
            random.edit(two);
            pair.one = mbtest::joined(one);
            pair.two = mbtest::joined(two);
            pair.winner = random.below(2) == 0 ? Winner::One : Winner::Two;
            base = mbtest::mergeOfSets(one, two, base, pair.winner);
            pair.run();
            ASSERT_EQ(linesOf(pair.one), Lines(base.begin(), base.end()));
            ASSERT_EQ(linesOf(pair.two), Lines(base.begin(), base.end()));
            pair.expectAtRest();
            ASSERT_FALSE(testing::Test::HasFailure());
            one = two = base;
        }
    }
}
