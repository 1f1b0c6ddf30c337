// A failure of a store, or a cancel, never reads as "gone" and never loses the link between two contacts.
#include "People.h"
#include "SyncScenario.h"
#include "TestImages.h"

#include <gmock/gmock.h>

namespace {

using mbtest::FakeStore;
using mbtest::person;
using mbtest::SyncScenario;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

constexpr HRESULT accessDenied = static_cast<HRESULT>(0x80070005), silentStop = static_cast<HRESULT>(0x80040211);

// Three contacts that both sides know.
class KnownContacts : public testing::Test {
protected:
    KnownContacts()
    {
        for (const char16_t* last : {u"Lovelace", u"Hopper", u"Turing"}) {
            auto values = person(u"A", last);
            values[ftCity1] = u"London";
            values[ftTitle] = u"Dr";
            ids.push_back(s.one().add(std::move(values)));
        }
        EXPECT_EQ(s.sync(), S_OK);
        ids2 = s.two().order;
    }
    // The n-th call of the method from now on.
    void failNext(const std::string& method, HRESULT hr, int n = 1) { s.log().failOn(method, s.log().count(method) + n, hr); }
    // The next `count` calls.
    void failAll(const std::string& method, HRESULT hr, int count = 50)
    {
        for (int n = 1; n <= count; ++n) failNext(method, hr, n);
    }
    void expectAllThere()
    {
        EXPECT_THAT(s.one().records, SizeIs(3));
        EXPECT_THAT(s.two().records, SizeIs(3));
    }
    SyncScenario s;
    std::vector<std::u16string> ids, ids2;
};

} // namespace

TEST_F(KnownContacts, AreNotDeletedByAStoreThatAnswersEveryQuestionWithACancel)
{
    for (const char* side : {"1", "2"})
        for (const char* method : {" FindRecord", " GetRecordID"}) {
            SCOPED_TRACE(side + std::string(method));
            failAll(side + std::string(method), E_ABORT);
            const std::size_t before = s.logText().size();
            EXPECT_EQ(s.sync(), E_ABORT);
            EXPECT_THAT(s.logText().substr(before), HasSubstr("Synchronization was cancelled by the user"));
            EXPECT_THAT(s.writes(), IsEmpty());
            expectAllThere();
        }
}

TEST_F(KnownContacts, AreNotDeletedByAStoreThatMayNotBeRead)
{
    failAll("1 FindRecord", accessDenied);
    EXPECT_EQ(s.sync(), accessDenied);
    expectAllThere();
    EXPECT_NE(s.lastError().first.find(u"First"), std::u16string::npos);
}

TEST_F(KnownContacts, AreNotDeletedByAStoreThatCountsThemButListsAndFindsNone)
{
    failAll("1 FindRecord", E_FAIL);
    failAll("1 GetRecordID", E_FAIL);
    EXPECT_EQ(s.sync(), E_FAIL);
    EXPECT_THAT(s.writes(), IsEmpty());
    expectAllThere();
    EXPECT_NE(s.lastError().first.find(u"First did not list all the records"), std::u16string::npos);
}

TEST_F(KnownContacts, OfWhichOneIsDeletedWhileAnotherCannotBeListedKeepTheDeletionForTheNextRun)
{
    s.one().remove(ids[0]);
    failNext("1 GetRecordID", E_FAIL, 2);
    EXPECT_EQ(s.sync(), E_FAIL);
    EXPECT_THAT(s.two().records, SizeIs(3));
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.two().records, SizeIs(2));
    s.expectInStep();
}

TEST_F(KnownContacts, KeepTheirDeletionsAfterARunThatCouldNotStartAStore)
{
    s.one().remove(ids[0]);
    s.two().set(ids2[1], ftCity1, u"Paris");
    failNext("1 Initialize", E_FAIL);
    EXPECT_EQ(s.sync(), E_FAIL);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.one().records, SizeIs(2)) << "what was deleted does not come back";
    EXPECT_EQ(s.one().get(ids[1], ftCity1), u"Paris");
    s.expectInStep();
}

TEST_F(KnownContacts, AreKnownStillAfterARunInWhichAStoreDidNotTellItsName)
{
    s.two().set(ids2[1], ftCity1, u"Paris");
    failNext("2 GetSyncParams", E_FAIL);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.one().get(ids[1], ftCity1), u"Paris");
    s.one().remove(ids[0]);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.two().records, SizeIs(2));
    s.expectInStep();
}

TEST_F(KnownContacts, AreNotDeletedByAnotherStoreThatTookThePlaceOfOneAfterAFailedRun)
{
    failNext("1 GetRecordCount", E_FAIL);
    EXPECT_EQ(s.sync(), E_FAIL);
    s.one().options.database = u"another store";
    while (!s.one().order.empty()) s.one().remove(std::u16string(s.one().order.front()));
    s.one().add(person(u"B", u"Babbage"));
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.two().records, SizeIs(4));
    EXPECT_THAT(s.one().records, SizeIs(4));
    s.expectInStep();
}

TEST_F(KnownContacts, ThatBothSidesChangedInDifferentFieldsAreNoConflictThoughBothHaveNewContacts)
{
    s.one().set(ids[0], ftCity1, u"Paris");
    s.two().set(ids2[0], ftTitle, u"Prof");
    s.one().add(person(u"N", u"New on one"));
    s.two().add(person(u"N", u"New on two"));
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.one().records, SizeIs(5));
    EXPECT_EQ(s.one().get(ids[0], ftTitle), u"Prof");
    EXPECT_EQ(s.two().get(ids2[0], ftCity1), u"Paris");
    EXPECT_THAT(s.logText(), Not(HasSubstr("CONFLICT")));
    s.expectInStep();
}

TEST_F(KnownContacts, ThatAnOptionSettledAreNotSettledOnceMoreByTheSearchForDuplicates)
{
    s.setOption(soConflictResolution, croTrans1Wins);
    s.one().set(ids[0], ftCity1, u"Paris");
    s.one().set(ids[0], ftTitle, u"Prof");
    s.two().set(ids2[0], ftCity1, u"Rome");
    s.two().set(ids2[0], ftPhone, u"1");
    s.one().add(person(u"N", u"New on one"));
    s.two().add(person(u"N", u"New on two"));
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.one().records, SizeIs(5));
    for (const auto& [store, id] : {std::pair(&s.one(), ids[0]), std::pair(&s.two(), ids2[0])}) {
        EXPECT_EQ(store->get(id, ftCity1), u"Paris");
        EXPECT_EQ(store->get(id, ftTitle), u"Prof");
        EXPECT_EQ(store->get(id, ftPhone), u"1");
    }
    s.expectInStep();
}

TEST_F(KnownContacts, OfWhichOneHasNoReadableDateKeepItsEditForTheNextRun)
{
    s.one().set(ids[0], ftCity1, u"Paris");
    s.two().set(ids2[0], ftTitle, u"Prof");
    failNext("1 GetModifiedDate", E_FAIL); // of the first contact
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.one().get(ids[0], ftTitle), u"Prof");
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.two().get(ids2[0], ftCity1), u"Paris");
    s.expectInStep();
}

TEST(UnreadField, IsNotOverwrittenByTheOtherSide)
{
    SyncScenario s;
    for (FakeStore* store : {&s.one(), &s.two()}) store->fields = {{ftLastName, u"Last"}, {ftCity1, u"City"}};
    s.setOption(soConflictResolution, croTrans1Wins);
    const auto one = s.one().add({{ftLastName, u"Lovelace"}, {ftCity1, u"London"}});
    EXPECT_EQ(s.sync(), S_OK);
    const auto two = s.two().order.front();
    s.one().set(one, ftCity1, u"Paris");
    s.two().set(two, ftCity1, u"Rome");
    // Both fields, when the record is scanned and when it is looked at once more because the other side's change would go there.
    for (int n = 1; n <= 4; ++n) s.log().failOn("1 ReadField", s.log().count("1 ReadField") + n, E_FAIL);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.one().get(one, ftCity1), u"Paris");
    EXPECT_EQ(s.two().get(two, ftCity1), u"Rome");
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.two().get(two, ftCity1), u"Paris");
    s.expectInStep();
}

TEST_F(KnownContacts, OfWhichOneHasNoReadableDateAreNotDeletedWithTheirEdit)
{
    s.one().set(ids[0], ftCity1, u"Paris");
    s.two().remove(ids2[0]);
    failNext("1 GetModifiedDate", E_FAIL);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.one().get(ids[0], ftCity1), u"Paris") << "a change against a deletion";
    EXPECT_THAT(s.two().records, SizeIs(3));
    s.expectInStep();
}

// A store that vanishes in the middle of a run can read nothing any more: that is no change against the deletion of the other side.
TEST_F(KnownContacts, OfWhichOneIsDeletedWhileItsPartnerCannotBeReadKeepTheDeletionForTheNextRun)
{
    s.one().remove(ids[0]);
    s.two().touch(ids2[0]);
    failAll("2 BeginReadRecord", E_FAIL, 3);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.writes(), IsEmpty());
    EXPECT_THAT(s.two().records, SizeIs(3)) << "the partner may have been edited";
    EXPECT_THAT(s.logText(), HasSubstr("could not read the record")) << "and the log tells why the contact is still there";
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.one().records, SizeIs(2)) << "it is not brought back";
    s.expectInStep();
}

TEST_F(KnownContacts, OfWhichOneIsEditedWhileItsPartnerIsDeletedStandsAgainstTheDeletionOnceItCanBeRead)
{
    s.one().remove(ids[0]);
    s.two().set(ids2[0], ftCity1, u"Paris");
    failNext("2 BeginReadRecord", E_FAIL);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.one().records, SizeIs(3)) << "looked at once more, it was edited";
    s.expectInStep();
}

TEST(UnreadPicture, WhoseSizeCannotBeReadDoesNotOverwriteTheOtherSide)
{
    SyncScenario pictures;
    for (FakeStore* store : {&pictures.one(), &pictures.two()}) store->addImageFields();
    const auto one = pictures.one().add({{ftLastName, u"Lovelace"}, {ftImage1, mbtest::makePicture(4, 3)}});
    EXPECT_EQ(pictures.sync(), S_OK);
    const auto two = pictures.two().order.front();
    pictures.one().touch(one);
    pictures.two().set(two, ftImage1, mbtest::makePicture(8, 8));
    for (int n = 1; n <= 9; ++n) pictures.log().failOn("1 GetImageDataSize", pictures.log().count("1 GetImageDataSize") + n, E_FAIL);
    (void)pictures.sync();
    EXPECT_EQ(pictures.two().get(two, ftImage1), mbtest::makePicture(8, 8));
    for (int run = 0; run < 5; ++run) EXPECT_EQ(pictures.sync(), S_OK); // the picture waits while its size cannot be read
    EXPECT_EQ(pictures.two().get(two, ftImage1), mbtest::makePicture(8, 8));
    EXPECT_EQ(pictures.one().get(one, ftImage1), mbtest::makePicture(8, 8));
}

TEST_F(KnownContacts, StayKnownWhenAStoreWithoutBatchesFailsToCleanUp)
{
    s.two().options.batches = false;
    s.one().add(person(u"N", u"New"));
    failNext("2 Cleanup", E_FAIL);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.writes(), IsEmpty());
    EXPECT_THAT(s.two().records, SizeIs(4));
}

// ---- Cancelled and failed while a side is written

TEST_F(KnownContacts, AndANewOneWhoseReadBackIsCancelledAreLinked)
{
    s.one().add(person(u"N", u"New"));
    s.one().add(person(u"N", u"Never begun"));
    failNext("2 BeginReadRecord", E_ABORT);
    EXPECT_EQ(s.sync(), E_ABORT);
    EXPECT_THAT(s.two().records, SizeIs(4)) << "nothing more was written";
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.two().records, SizeIs(5));
    EXPECT_THAT(s.log().starting("2 BeginAddRecord"), SizeIs(1)) << "the first one is known";
    s.expectInStep();
}

TEST_F(KnownContacts, AndANewOneWhoseDateIsCancelledAreLinked)
{
    s.one().add(person(u"N", u"New"));
    failNext("2 GetModifiedDate", E_ABORT, 4); // the three known ones, then that of the new one
    EXPECT_EQ(s.sync(), E_ABORT);
    EXPECT_THAT(s.two().records, SizeIs(4));
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.log().starting("2 BeginAddRecord"), IsEmpty());
    s.expectInStep();
}

TEST_F(KnownContacts, AreNotWrittenToAfterTheirEditWasCancelled)
{
    s.one().set(ids[0], ftCity1, u"Paris");
    failNext("2 BeginEditRecord", E_ABORT);
    EXPECT_EQ(s.sync(), E_ABORT);
    EXPECT_THAT(s.log().starting("2 WriteField"), IsEmpty());
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.two().get(ids2[0], ftCity1), u"Paris");
}

TEST_F(KnownContacts, AndANewOneOfABatchThatWasNotEndedAreNotDeleted)
{
    for (const HRESULT way : {E_ABORT, E_FAIL}) {
        const auto made = s.one().add(person(u"N", way == E_ABORT ? u"Cancelled" : u"Failed"));
        failNext("2 EndUpdate", way);
        EXPECT_EQ(s.sync(), way);
        s.two().remove(std::u16string(s.two().order.back())); // the store took the batch back
        EXPECT_EQ(s.sync(), S_OK);
        EXPECT_TRUE(s.one().has(made));
        s.expectInStep();
    }
    EXPECT_THAT(s.two().records, SizeIs(5));
}

TEST_F(KnownContacts, WhoseEditIsInTheStoreThoughTheBatchWasNotEndedAreNoConflict)
{
    s.one().set(ids[0], ftCity1, u"Paris");
    failNext("2 EndUpdate", E_FAIL);
    EXPECT_EQ(s.sync(), E_FAIL);
    EXPECT_EQ(s.two().get(ids2[0], ftCity1), u"Paris") << "the store kept what it had saved";
    s.two().set(ids2[0], ftTitle, u"Prof");
    EXPECT_EQ(s.sync(), S_OK);
    expectAllThere();
    EXPECT_EQ(s.one().get(ids[0], ftTitle), u"Prof");
    EXPECT_THAT(s.logText(), Not(HasSubstr("CONFLICT")));
    s.expectInStep();
}

TEST_F(KnownContacts, AndWhatWasWrittenBeforeASilentFailureAreKnown)
{
    s.one().add(person(u"N", u"First"));
    s.one().add(person(u"N", u"Second"));
    failNext("2 SaveRecord", silentStop, 2);
    EXPECT_EQ(s.sync(), silentStop);
    EXPECT_THAT(s.two().records, SizeIs(4));
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.log().starting("2 BeginAddRecord"), SizeIs(1));
    EXPECT_THAT(s.two().records, SizeIs(5));
    s.expectInStep();
}

// ---- New contacts that cannot be read

TEST(UnreadableContact, HoldsBackTheNewContactsOfItsLastNameOnceAndSaysSo)
{
    SyncScenario s;
    const auto one = s.one().add({{ftFirstName, u"Ada"}, {ftLastName, u"Lovelace"}, {ftTitle, u"Dr"}});
    s.two().add({{ftFirstName, u"Ada"}, {ftLastName, u"Lovelace"}, {ftTitle, u"Dr"}});
    s.two().add(person(u"Grace", u"Hopper"));
    s.one().add(person(u"Alan", u"Turing"));
    s.makeMap();
    // Its title cannot be read: the fields are asked in the order of the map, first name, last name, title.
    s.log().failOn("1 ReadField", 3, E_FAIL);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.one().records, SizeIs(3)) << "the contact of another name was copied";
    EXPECT_THAT(s.two().records, SizeIs(3));
    EXPECT_THAT(s.logText(), HasSubstr("could not be read"));
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.one().records, SizeIs(3)) << "found to be one contact";
    EXPECT_TRUE(s.one().has(one));
    s.expectInStep();
}

TEST(UnreadableContact, ThatStaysUnreadableDoesNotHoldTheOthersBackASecondTime)
{
    SyncScenario s;
    s.one().add(person(u"Ada", u"Lovelace"));
    s.two().add(person(u"Grace", u"Hopper"));
    s.makeMap();
    s.log().failOn("1 BeginReadRecord", 1, E_ABORT);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.one().records, SizeIs(1)) << "not even its last name was read";
    s.log().failOn("1 BeginReadRecord", 1, E_ABORT);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.one().records, SizeIs(2));
    s.expectInStep();
}
