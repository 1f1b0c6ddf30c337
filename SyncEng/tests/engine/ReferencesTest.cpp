// Lines of details that name another record: the members of a group, and relations.
#include "engine/details/References.h"
#include "DetailsLines.h"
#include "engine/details/MergeDetails.h"

#include <gtest/gtest.h>

using mb::Counterparts;
using mb::Reference;

TEST(References, AreMembersAndRelationsThatAreNoTexts)
{
    for (const char16_t* line : {u"MEMBER:urn:uuid:a", u"item1.MEMBER;PREF=1:a"}) EXPECT_EQ(mb::referenceOf(line), Reference::Member);
    for (const char16_t* line : {u"RELATED;TYPE=friend:urn:uuid:a", u"RELATED;VALUE=uri:a"})
        EXPECT_EQ(mb::referenceOf(line), Reference::Relation);
    for (const char16_t* line : {u"RELATED;TYPE=friend;VALUE=text:MEMBER", u"X-MEMBER:a", u"NOTE:MEMBER:a", u"@24;X-RELATED=1", u""})
        EXPECT_EQ(mb::referenceOf(line), Reference::None);
    EXPECT_EQ(mb::lastReference(u"NOTE:a\nMEMBER:a\nRELATED:b"), Reference::Member);
    EXPECT_EQ(mb::lastReference(u"NOTE:a\nRELATED:b\nUID:MEMBER"), Reference::Relation);
    EXPECT_EQ(mb::lastReference(u"NOTE:a\nUID:MEMBER"), Reference::None);
}

TEST(References, AreComparedByTheirUidsWithoutSchemeAndCase)
{
    EXPECT_EQ(mb::referredKeys(u"MEMBER:URN:UUID:Ab\nNOTE:x\nRELATED;VALUE=uri:mailto:a@b\nUID:c"),
              (std::vector<std::u16string>{u"ab", u"mailto:a@b"}));
    EXPECT_EQ(mb::ownUid(u"NOTE:UID:a\nitem1.UID:b\nUID:urn:uuid:c\nUID:d"), u"urn:uuid:c");
    EXPECT_EQ(mb::ownUid(u"NOTE:UID:a"), u"");
}

TEST(References, GetTheCounterpartInTheirOwnSpelling)
{
    const Counterparts found{{u"a", u"urn:uuid:B"}, {u"c", u"D"}, {u"e", u"https://f"}};
    const std::pair<const char16_t*, const char16_t*> cases[] = {
        {u"MEMBER:urn:uuid:A", u"MEMBER:urn:uuid:B"},
        {u"item1.MEMBER;PREF=1:a", u"item1.MEMBER;PREF=1:B"},
        {u"RELATED;TYPE=\"x:urn:uuid:a\":urn:uuid:c", u"RELATED;TYPE=\"x:urn:uuid:a\":urn:uuid:D"},
        {u"MEMBER:urn:uuid:e", u"MEMBER:https://f"},
        {u"MEMBER:urn:uuid:unknown", u"MEMBER:urn:uuid:unknown"},
        {u"RELATED;VALUE=text:a", u"RELATED;VALUE=text:a"},
        {u"NOTE:a", u"NOTE:a"}};
    for (const auto& [line, wanted] : cases) EXPECT_EQ(mb::withCounterpart(line, found), wanted);
}

TEST(References, OfEqualMembersPairUnderBothSpellings)
{
    const mb::FieldTypeMap types;
    const Counterparts forth{{u"a", u"B"}}, back{{u"b", u"A"}};
    const auto never = [](const mb::DetailsUnit&) { return false; };
    const mb::MergedDetails first({.source = u"MEMBER:A\nMEMBER:c\nitem1.RELATED:a\nitem1.X-A:1",
                                   .target = u"MEMBER:B",
                                   .types = types,
                                   .counterparts = forth,
                                   .sourceWins = never});
    EXPECT_EQ(mbtest::linesOf(first.text()), (mbtest::Lines{u"MEMBER:B", u"MEMBER:c", u"item1.RELATED:B", u"item1.X-A:1"}));
    const mb::DetailsBase base = first.nextBase(first.text());
    const mb::MergedDetails again({.source = u"MEMBER:A\nMEMBER:c\nitem1.RELATED:a\nitem1.X-A:1",
                                   .target = first.text(),
                                   .base = base,
                                   .types = types,
                                   .counterparts = forth,
                                   .sourceWins = never});
    EXPECT_FALSE(again.changesTarget()) << "at rest";
    const std::u16string without = u"MEMBER:c\nitem1.RELATED:B\nitem1.X-A:1";
    const mb::MergedDetails returned({.source = without,
                                      .target = u"MEMBER:A\nMEMBER:c\nitem1.RELATED:a\nitem1.X-A:1",
                                      .base = mb::mirrored(base),
                                      .types = types,
                                      .counterparts = back,
                                      .sourceWins = never});
    EXPECT_EQ(mbtest::linesOf(returned.text()), (mbtest::Lines{u"MEMBER:c", u"item1.RELATED:a", u"item1.X-A:1"})) << "a removed member";
}
