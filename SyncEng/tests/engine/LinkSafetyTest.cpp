// What may cost no contact and no link between two contacts: identifiers that look alike, what an earlier run left behind, and a history
// that lost a part.
#include "FrontEndFake.h"
#include "People.h"
#include "SyncScenario.h"

#include <gmock/gmock.h>

namespace {

using mbtest::person;
using mbtest::SyncScenario;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

// One contact that both sides know.
class LinkedPair : public testing::Test {
protected:
    LinkedPair()
    {
        ada = s.one().add(person(u"Ada", u"Lovelace"));
        EXPECT_EQ(s.sync(), S_OK);
        ada2 = s.two().order.back();
    }
    SyncScenario s;
    std::u16string ada, ada2;
};

} // namespace

TEST(LinkSafety, ARecordThatGaveWayToOneWhoseIdentifierDiffersInCaseEndsNoRun)
{
    SyncScenario s;
    s.one().add(u"ada.vcf", person(u"Ada", u"Lovelace"));
    EXPECT_EQ(s.sync(), S_OK);
    s.one().remove(u"ada.vcf");
    s.one().add(u"Ada.vcf", person(u"Ada", u"Byron"));
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.two().records, SizeIs(1));
    EXPECT_EQ(s.two().get(s.two().order.back(), ftLastName), u"Byron");
    s.expectInStep();
}

TEST(LinkSafety, OfTwoKnownRecordsWhoseIdentifiersDifferInCaseOneMayGo)
{
    SyncScenario s;
    s.one().add(u"Ada.vcf", person(u"Ada", u"Byron"));
    s.one().add(u"ada.vcf", person(u"Ada", u"Lovelace"));
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.two().records, SizeIs(2));
    s.one().remove(u"ada.vcf");
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.two().records, SizeIs(1));
    s.expectInStep();
}

TEST(LinkSafety, APairGoneOnBothSidesTakesNoOtherPairWithItThatBearsItsIdentifier)
{
    SyncScenario s;
    // Both stores count from 1: the identifiers of one side are those of other records on the other side.
    for (auto* store : {&s.one(), &s.two()})
        store->options.makeId = [](int n) { return std::u16string(static_cast<std::size_t>(n), u'1'); };
    const auto charles = s.two().add(person(u"Charles", u"Babbage"));
    const auto ada = s.one().add(person(u"Ada", u"Lovelace"));
    ASSERT_EQ(ada, charles);
    EXPECT_EQ(s.sync(), S_OK);
    const auto ada2 = s.two().order.back(), charles1 = s.one().order.back();
    s.one().remove(ada);
    s.two().remove(ada2);
    EXPECT_EQ(s.sync(), S_OK);
    s.two().set(charles, ftLastName, u"Babbage Jr");
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.one().get(charles1, ftLastName), u"Babbage Jr") << "the pair is linked still";
    EXPECT_THAT(s.one().records, SizeIs(1));
    s.expectInStep();
}

TEST_F(LinkedPair, WhatACancelledRunMeantToUnlinkStaysLinkedInTheNextOne)
{
    const auto lost = s.two().records.at(ada2);
    s.one().set(ada, ftCity1, u"Paris");
    s.two().remove(ada2);
    // A conflict was settled, and then the user thought better of it.
    mbtest::FrontEndFake user;
    user.byDefault = mb::idCancel;
    s.setOption(soDelConflictResolution, croTrans1Wins);
    EXPECT_EQ(s.syncAsking(), E_ABORT);
    // Both stores go back to what they were.
    s.one().set(ada, ftCity1, u"");
    s.two().add(ada2, lost.values);
    s.two().records.at(ada2).modified = lost.modified;
    EXPECT_EQ(s.sync(), S_OK);
    s.two().set(ada2, ftLastName, u"Byron");
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.one().get(ada, ftLastName), u"Byron");
    EXPECT_THAT(s.one().records, SizeIs(1));
    s.expectInStep();
}

TEST(LinkSafety, WhereTheHistoryLostTheValuesOfARecordTwoChangesAreAConflictAndNoExchange)
{
    SyncScenario s;
    const auto ada = s.one().add(person(u"Ada", u"Lovelace"));
    s.log().failOn("2 ReadField", 1, E_FAIL); // as the target is read back
    EXPECT_EQ(s.sync(), S_OK);
    const auto ada2 = s.two().order.back();
    s.one().set(ada, ftCity1, u"Paris");
    s.two().set(ada2, ftCity1, u"Rome");
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.one().get(ada, ftCity1), u"Paris");
    EXPECT_EQ(s.two().get(ada2, ftCity1), u"Rome");
    EXPECT_THAT(s.logText(), HasSubstr("CONFLICT: Ada Lovelace"));
    s.expectInStep();
}

TEST(LinkSafety, WhereTheHistoryLostTheValuesOfARecordTwoSpellingsAreNotExchanged)
{
    SyncScenario s;
    const auto ada = s.one().add(person(u"Ada", u"Lovelace"));
    s.log().failOn("2 ReadField", 1, E_FAIL); // as the target is read back
    EXPECT_EQ(s.sync(), S_OK);
    const auto ada2 = s.two().order.back();
    s.one().set(ada, ftCity1, u"St. Ives");
    s.two().set(ada2, ftCity1, u"st ives");
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.one().get(ada, ftCity1), u"St. Ives");
    EXPECT_EQ(s.two().get(ada2, ftCity1), u"st ives");
    EXPECT_THAT(s.logText(), HasSubstr("CONFLICT: Ada Lovelace"));
    s.expectInStep();
}

TEST_F(LinkedPair, APairThatWasDissolvedIsNotTakenUpAgainAfterARunThatEndedHalfway)
{
    s.one().set(ada, ftCity1, u"Paris");
    s.two().set(ada2, ftCity1, u"Rome");
    s.sink().writes = 0;
    s.sink().cancelAtWrite = 1; // side 2 has its new record, side 1 not yet
    EXPECT_EQ(s.sync(), E_ABORT);
    EXPECT_THAT(s.two().records, SizeIs(2));
    EXPECT_THAT(s.one().records, SizeIs(1));
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.one().get(ada, ftCity1), u"Paris");
    EXPECT_EQ(s.two().get(ada2, ftCity1), u"Rome");
    EXPECT_THAT(s.one().records, SizeIs(2));
    EXPECT_THAT(s.two().records, SizeIs(2));
    s.expectInStep();
}

TEST_F(LinkedPair, AChangeThatWaitsWhileItsRecordIsWrittenIsNotForgottenByARunThatEndsHalfway)
{
    s.one().set(ada, ftCity1, u"Paris");
    s.two().set(ada2, ftPhone, u"5");
    s.sink().writes = 0;
    s.sink().cancelAtWrite = 1; // the city came to side 2, the phone did not come to side 1 yet
    EXPECT_EQ(s.sync(), E_ABORT);
    EXPECT_EQ(s.two().get(ada2, ftCity1), u"Paris");
    EXPECT_EQ(s.one().get(ada, ftPhone), u"");
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.one().get(ada, ftPhone), u"5");
    s.expectInStep();
}

TEST(LinkSafety, AChangeThatWonOverADeletionSurvivesARunThatEndsHalfway)
{
    for (const bool onTwo : {false, true}) {
        SyncScenario s;
        const auto ada = s.one().add(person(u"Ada", u"Lovelace"));
        EXPECT_EQ(s.sync(), S_OK);
        const auto ada2 = s.two().order.back();
        if (onTwo) {
            s.two().set(ada2, ftCity1, u"Rome");
            s.one().remove(ada);
        } else {
            s.one().set(ada, ftCity1, u"Rome");
            s.two().remove(ada2);
        }
        s.sink().writes = 0;
        s.sink().cancelAtWrite = 1;
        EXPECT_EQ(s.sync(), E_ABORT);
        EXPECT_EQ(s.sync(), S_OK);
        ASSERT_THAT(s.one().records, SizeIs(1));
        ASSERT_THAT(s.two().records, SizeIs(1));
        EXPECT_EQ(s.two().get(s.two().order.back(), ftCity1), u"Rome");
        s.expectInStep();
    }
}
