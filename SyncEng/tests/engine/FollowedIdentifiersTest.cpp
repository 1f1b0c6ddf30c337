// Records whose identifiers a store changed by itself: the history follows each of them, and no other record.
#include "People.h"
#include "SyncScenario.h"
#include "TestImages.h"

#include <gmock/gmock.h>

namespace {

using mbtest::makePicture;
using mbtest::person;
using mbtest::SyncScenario;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

using Ids = std::vector<std::u16string>;

// Three contacts in step. Side 1 tells of changed identifiers.
class FollowedIdentifiers : public testing::TestWithParam<bool> {
protected:
    FollowedIdentifiers()
    {
        for (const char16_t* name : {u"Lovelace", u"Hopper", u"Noether"}) ids.push_back(own().add(person(u"A", name)));
        EXPECT_EQ(s.sync(), S_OK);
        own().options.updater = true;
    }
    mbtest::FakeStore& own() { return GetParam() ? s.one() : s.two(); }
    mbtest::FakeStore& other() { return GetParam() ? s.two() : s.one(); }
    // Each record goes from one identifier to the other, all at once.
    void rename(const std::vector<std::pair<std::u16string, std::u16string>>& changes)
    {
        for (const auto& [from, to] : changes) own().rename(false, from, from + u" on its way");
        for (const auto& [from, to] : changes) {
            own().rename(false, from + u" on its way", to);
            own().options.changedIds[from] = to;
        }
    }
    // Each contact of the other side holds something of its own that is not mapped; that is lost where it is made anew.
    void expectFollowed()
    {
        const auto before = other().order;
        EXPECT_EQ(s.sync(), S_OK);
        EXPECT_THAT(s.writes(), IsEmpty());
        EXPECT_EQ(other().order, before);
        for (const std::u16string& id : Ids(own().order)) own().set(id, ftCity1, own().get(id, ftLastName));
        EXPECT_EQ(s.sync(), S_OK);
        EXPECT_EQ(other().order, before);
        for (const std::u16string& id : before) EXPECT_EQ(other().get(id, ftCity1), other().get(id, ftLastName));
        s.expectInStep();
    }
    // Every question for the new identifier of `id` fails in the next run; the other questions are answered.
    void failQuestion(const std::u16string& id, HRESULT hr) { own().options.unansweredIds = {{id, hr}}; }
    // Ends the run before it writes, and once the store answers again, the next run follows the identifiers.
    void expectRefusedAndThenFollowed(HRESULT hr = accessDenied)
    {
        failQuestion(ids[0], hr);
        const auto before = other().order;
        EXPECT_EQ(s.sync(), E_FAIL);
        EXPECT_THAT(s.writes(), IsEmpty());
        EXPECT_EQ(other().order, before);
        const std::u16string name = GetParam() ? u"First" : u"Second";
        EXPECT_EQ(s.lastError().first,
                  name + u" could not tell whether the record " + ids[0] + u" has another identifier now. Nothing was written.");
        own().options.unansweredIds.clear();
        expectFollowed();
    }
    static constexpr HRESULT accessDenied = static_cast<HRESULT>(0x80070005);
    SyncScenario s;
    Ids ids;
};

TEST_P(FollowedIdentifiers, OfTwoRecordsThatSwappedThem)
{
    rename({{ids[0], ids[1]}, {ids[1], ids[0]}});
    expectFollowed();
}

TEST_P(FollowedIdentifiers, OfRecordsThatEachTookTheNextOnes)
{
    rename({{ids[0], ids[1]}, {ids[1], ids[2]}, {ids[2], u"new"}});
    expectFollowed();
}

TEST_P(FollowedIdentifiers, ThatDifferInCaseOnly)
{
    rename({{ids[0], ids[0] + u"a"}});
    EXPECT_EQ(s.sync(), S_OK);
    own().options.changedIds.clear();
    rename({{ids[0] + u"a", ids[0] + u"A"}});
    expectFollowed();
}

TEST_P(FollowedIdentifiers, ThatARecordHasAlreadyAreNotGivenToAnother)
{
    own().options.changedIds[ids[0]] = ids[1];
    own().remove(ids[0]);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(other().records, SizeIs(2));
    s.expectInStep();
}

TEST_P(FollowedIdentifiers, ThatTwoRecordsAskForGoToTheFirst)
{
    own().rename(false, ids[0], u"new");
    own().options.changedIds = {{ids[0], u"new"}, {ids[1], u"new"}};
    own().remove(ids[1]);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(other().records, SizeIs(2));
    EXPECT_EQ(s.log().starting(GetParam() ? "1 DeleteRecord" : "2 DeleteRecord").size(), 0u);
    s.expectInStep();
}

TEST_P(FollowedIdentifiers, AreAskedForOnceMoreOnlyIfAnyChanged)
{
    const std::string question = GetParam() ? "1 GetUpdatedRecordId" : "2 GetUpdatedRecordId";
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.log().starting(question).size(), 3u);
    s.log().clear();
    rename({{ids[0], u"new"}});
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.log().starting(question).size(), 6u);
}

TEST_P(FollowedIdentifiers, RaiseAnOlderHistoryToVersionThreeAndLowerNone)
{
    rename({{ids[0], u"new"}});
    EXPECT_EQ(s.sync(), S_OK);
    std::string text = s.folder.read(s.historyFile());
    ASSERT_THAT(text, HasSubstr("Version=\"4\""));
    text.replace(text.find("Version=\"4\""), 11, "Version=\"2\"");
    s.folder.write(std::filesystem::relative(s.historyFile(), s.folder.path()).string(), text);
    own().options.changedIds.clear();
    rename({{u"new", u"newer"}});
    s.log().failOn("1 GetRecordCount", s.log().count("1 GetRecordCount") + 1, E_FAIL);
    EXPECT_EQ(s.sync(), E_FAIL);
    EXPECT_THAT(s.folder.read(s.historyFile()), HasSubstr("Version=\"3\""));
}

TEST_P(FollowedIdentifiers, OfARecordThatIsGoneAreNotTakenForUnchangedWhereTheStoreCouldNotTell)
{
    rename({{ids[0], u"new"}});
    expectRefusedAndThenFollowed();
}

// A store may forget the changes once they are saved.
TEST_P(FollowedIdentifiers, AreNotSavedWhileTheStoreCouldNotTellAllOfThem)
{
    rename({{ids[0], u"new"}, {ids[1], u"newer"}});
    expectRefusedAndThenFollowed();
}

TEST_P(FollowedIdentifiers, AreNotTakenForUnchangedWhereTheStoreAnswersWithAPlainFailure)
{
    rename({{ids[0], u"new"}});
    expectRefusedAndThenFollowed(E_FAIL);
}

TEST_P(FollowedIdentifiers, AreNotFollowedToTheIdentifierOfARecordThatTheStoreCouldNotTellOf)
{
    rename({{ids[0], ids[1]}, {ids[1], ids[0]}});
    expectRefusedAndThenFollowed();
}

TEST_P(FollowedIdentifiers, OfARecordThatIsGoneEndARunInOneDirectionToo)
{
    s.setOption(soSyncType, GetParam() ? stImportToTrans1 : stExportFromTrans1);
    for (const std::u16string& id : Ids(other().order)) other().set(id, ftCity1, u"Paris");
    rename({{ids[0], u"new"}});
    failQuestion(ids[0], accessDenied);
    EXPECT_EQ(s.sync(), E_FAIL);
    EXPECT_THAT(s.writes(), IsEmpty());
    EXPECT_THAT(own().records, SizeIs(3));
}

TEST_P(FollowedIdentifiers, ThatTheStoreCouldNotTellCostNothingWhileTheRecordIsThere)
{
    failQuestion(ids[0], accessDenied);
    own().set(ids[0], ftCity1, u"Paris");
    EXPECT_EQ(s.sync(), S_OK);
    s.expectInStep();
}

TEST_P(FollowedIdentifiers, AreAskedForAgainWhereAQuestionFailed)
{
    const std::string question = GetParam() ? "1 GetUpdatedRecordId" : "2 GetUpdatedRecordId";
    own().remove(ids[0]);
    s.log().failNext(question, accessDenied);
    s.log().failOn(question, s.log().count(question) + 4, E_FAIL); // the same question of the second round
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.log().starting(question), SizeIs(9));
    EXPECT_THAT(other().records, SizeIs(2));
    s.expectInStep();
}

// 0x80040207 is the code of a record that the store does not have.
TEST_P(FollowedIdentifiers, AreUnchangedWhereTheStoreRenamesNoneOrDoesNotHaveTheRecord)
{
    for (const HRESULT hr : {E_NOTIMPL, static_cast<HRESULT>(0x80040207)}) {
        const std::u16string gone = own().order.front();
        failQuestion(gone, hr);
        own().remove(gone);
        EXPECT_EQ(s.sync(), S_OK);
        EXPECT_EQ(other().records.size(), own().records.size());
        s.expectInStep();
    }
    EXPECT_THAT(other().records, SizeIs(1));
}

INSTANTIATE_TEST_SUITE_P(Sides, FollowedIdentifiers, testing::Values(true, false),
                         [](const auto& first) { return first.param ? "SideOne" : "SideTwo"; });

TEST(FollowedPictures, AnOldPictureIsNotWrittenOverANewOneInTheRunAfterAnIdentifierWasFollowed)
{
    SyncScenario s;
    s.one().addImageFields();
    s.two().addImageFields();
    auto contact = person(u"Ada", u"Lovelace");
    contact[ftImage1] = makePicture(20, 10);
    const auto ada = s.one().add(contact);
    EXPECT_EQ(s.sync(), S_OK);
    const auto ada2 = s.two().order.back();
    s.one().options.updater = true;
    s.one().rename(false, ada, u"new");
    s.one().options.changedIds[ada] = u"new";
    EXPECT_EQ(s.sync(), S_OK);
    const std::u16string newer = makePicture(31, 17);
    s.two().set(ada2, ftImage1, newer);
    s.one().set(u"new", ftCity1, u"Paris");
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.two().get(ada2, ftImage1), newer);
    EXPECT_EQ(s.two().get(ada2, ftCity1), u"Paris");
    EXPECT_EQ(s.one().get(u"new", ftImage1), newer);
}

} // namespace
