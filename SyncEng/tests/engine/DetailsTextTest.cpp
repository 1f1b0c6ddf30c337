#include "engine/details/DetailsText.h"

#include <gtest/gtest.h>

namespace {

using mb::DetailsText;
using mb::parseDetails;

std::vector<std::size_t> sizesOf(const DetailsText& details)
{
    std::vector<std::size_t> sizes;
    for (const mb::DetailsUnit& unit : details.units) sizes.push_back(unit.lines.size());
    return sizes;
}

mb::DetailsHash hashOf(std::u16string_view text)
{
    const DetailsText details = parseDetails(text);
    EXPECT_EQ(details.units.size(), 1u);
    return details.units.empty() ? 0 : details.units.front().hash;
}

} // namespace

TEST(DetailsTextTest, ALineWithoutAGroupIsAUnit)
{
    const DetailsText details = parseDetails(u"NOTE;LANGUAGE=de:a:b\n\nTZ:Europe/Paris\r\nX-A:1");
    ASSERT_EQ(sizesOf(details), (std::vector<std::size_t>{1, 1, 1}));
    EXPECT_EQ(details.units[0].name, u"NOTE");
    EXPECT_EQ(details.units[1].lines.front(), u"TZ:Europe/Paris");
    EXPECT_EQ(details.units[1].key, u"");
}

TEST(DetailsTextTest, TheLinesOfOneGroupAreOneUnitWhoseNameAndOrderDoNotCount)
{
    const DetailsText details = parseDetails(u"item1.URL:http://example.org\nX-A:1\nITEM1.X-ABLABEL:blog");
    ASSERT_EQ(sizesOf(details), (std::vector<std::size_t>{2, 1}));
    EXPECT_EQ(details.units[0].group, u"item1");
    EXPECT_EQ(hashOf(u"item1.URL:a\nitem1.X-ABLABEL:b"), hashOf(u"q.X-ABLABEL:b\nq.URL:a"));
    EXPECT_NE(hashOf(u"item1.URL:a\nitem1.X-ABLABEL:b"), hashOf(u"item1.URL:a\nitem1.X-ABLABEL:c"));
}

TEST(DetailsTextTest, TheLinesOfOnePropertyWithOneAltIdAreOneUnit)
{
    const DetailsText details = parseDetails(u"TITLE;ALTID=1:Boss\nROLE;ALTID=1:r\nTITLE;ALTID=1;LANGUAGE=fr:Patron\nTITLE;ALTID=2:x");
    ASSERT_EQ(sizesOf(details), (std::vector<std::size_t>{2, 1, 1}));
    EXPECT_EQ(hashOf(u"TITLE;ALTID=1:Boss"), hashOf(u"TITLE;ALTID=7:Boss"));
    EXPECT_NE(hashOf(u"TITLE;ALTID=1:Boss"), hashOf(u"TITLE:Boss"));
}

TEST(DetailsTextTest, TheLinesOfOnePropertyWithOnePropIdAreOneUnit)
{
    const DetailsText details = parseDetails(u"LANG;PROP-ID=a:fr\nLANG;PROP-ID=b:en\nLANG;PREF=1;PROP-ID=A:de\nNOTE;PROP-ID=a:x");
    EXPECT_EQ(sizesOf(details), (std::vector<std::size_t>{2, 1, 1}));
    EXPECT_EQ(hashOf(u"LANG;PROP-ID=a:fr"), hashOf(u"LANG;PROP-ID=7:fr"));
    EXPECT_NE(hashOf(u"LANG;PROP-ID=a:fr"), hashOf(u"LANG:fr"));
    EXPECT_EQ(sizesOf(parseDetails(u"LANG;ALTID=1;PROP-ID=a:fr\nLANG;ALTID=1:en\nLANG;PROP-ID=a:de")), (std::vector<std::size_t>{3}))
        << "by either of them";
}

TEST(DetailsTextTest, TheNumberOfAProgramInAPidDoesNotCount)
{
    const auto hashes = [](std::u16string_view text) {
        std::vector<mb::DetailsHash> all;
        for (const mb::DetailsUnit& unit : parseDetails(text).units) all.push_back(unit.hash);
        return all;
    };
    const auto hash = hashes(u"LANG;PID=1.1,4.2:fr\nCLIENTPIDMAP:1;urn:a\nCLIENTPIDMAP:2;urn:b\n@24;PID=1.1");
    EXPECT_EQ(hash, hashes(u"LANG;PID=1.2,4.1:fr\nCLIENTPIDMAP:2;urn:a\nCLIENTPIDMAP:1;urn:b\n@24;PID=1.2"));
    const auto other = hashes(u"LANG;PID=1.1,4.2:fr\nCLIENTPIDMAP:1;urn:c\nCLIENTPIDMAP:2;urn:b\n@24;PID=1.1");
    EXPECT_NE(hash[0], other[0]) << "another program made it";
    EXPECT_NE(hash[1], other[1]);
    EXPECT_EQ(hash[2], other[2]);
    EXPECT_NE(hash[3], other[3]);
    EXPECT_EQ(mb::annotationHash(parseDetails(u"@24;PID=1.1\nCLIENTPIDMAP:1;urn:a").units[0], 31),
              hashes(u"@31;PID=1.7\nCLIENTPIDMAP:7;urn:a")[0]);
}

TEST(DetailsTextTest, AQuotedParameterHidesItsColonAndSemicolon)
{
    const DetailsText details = parseDetails(u"ADR;LABEL=\"a:b;ALTID=9\";ALTID=1:;;x\nADR;ALTID=1;LANGUAGE=fr:;;y");
    EXPECT_EQ(sizesOf(details), (std::vector<std::size_t>{2}));
    EXPECT_EQ(details.units[0].altId, u"1");
}

TEST(DetailsTextTest, AnAnnotationIsKnownByItsField)
{
    const DetailsText details = parseDetails(u"@24;TYPE=cell,work;PREF=1\n@x;TYPE=a\n@8");
    ASSERT_EQ(details.units.size(), 3u);
    EXPECT_EQ(details.units[0].field, 24);
    EXPECT_EQ(details.units[0].key, u"@24");
    EXPECT_EQ(details.units[1].field, 0) << "no annotation";
    EXPECT_EQ(details.units[2].field, 8);
    EXPECT_EQ(mb::annotationLine(details.units[0], 31), u"@31;TYPE=cell,work;PREF=1");
    EXPECT_EQ(mb::annotationHash(details.units[0], 31), hashOf(u"@31;TYPE=cell,work;PREF=1"));
}

TEST(DetailsTextTest, APropertyThatStandsOnceIsKnownByItsNameAndASecondOneByItsContent)
{
    const DetailsText details = parseDetails(u"BDAY:19700101\nBDAY:19710101\nKIND:group\nNOTE:n\nitem1.BDAY:1");
    ASSERT_EQ(details.units.size(), 5u);
    EXPECT_EQ(details.units[0].key, u"BDAY");
    EXPECT_EQ(details.units[1].key, u"");
    EXPECT_EQ(details.units[2].key, u"KIND");
    EXPECT_EQ(details.units[3].key, u"");
    EXPECT_EQ(details.units[4].key, u"");
}

TEST(DetailsTextTest, TheRecordsOwnLinesAreNoUnits)
{
    const DetailsText details = parseDetails(u"UID:urn:uuid:1\nX-A:1\nVERSION:3.0");
    EXPECT_EQ(details.units.size(), 1u);
    EXPECT_EQ(details.ownLines, (std::vector<std::u16string_view>{u"UID:urn:uuid:1", u"VERSION:3.0"}));
}

TEST(DetailsTextTest, RenamesAUnitsGroupAndAltIdAndLeavesTheRestOfItsLines)
{
    const DetailsText details = parseDetails(u"item1.URL;X=\";ALTID=9\":a;ALTID=8\nTITLE;ALTID=1;LANGUAGE=fr:x");
    EXPECT_EQ(mb::renamedLines(details.units[0], {.group = u"item2"}),
              (std::vector<std::u16string>{u"item2.URL;X=\";ALTID=9\":a;ALTID=8"}));
    EXPECT_EQ(mb::renamedLines(details.units[1], {.altId = u"3"}), (std::vector<std::u16string>{u"TITLE;ALTID=3;LANGUAGE=fr:x"}));
    EXPECT_EQ(mb::renamedLines(details.units[1], {}), (std::vector<std::u16string>{u"TITLE;ALTID=1;LANGUAGE=fr:x"}));
}
