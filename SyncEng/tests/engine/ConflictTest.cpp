#include "dialogs/ConflictPrompt.h"
#include "engine/conflicts/Conflicts.h"
#include "FrontEndFake.h"
#include "SyncScenario.h"

#include <gmock/gmock.h>

namespace {

using mb::ConflictFields;
using mb::ConflictQuestion;
using mb::DeleteConflictQuestion;
using mb::FieldValueMap;
using mbtest::SyncScenario;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

// Answers the questions of a run as the test says, and remembers them.
class Answers final : public mb::ConflictPrompt {
public:
    Answers() : former_(mb::SetConflictPrompt(this)) {}
    Answers(const Answers&) = delete;
    Answers& operator=(const Answers&) = delete;
    ~Answers() override { mb::SetConflictPrompt(former_); }
    bool ask(ConflictQuestion& question) override
    {
        ++asked;
        index = question.ConflictIndex;
        total = question.ConflictTotal;
        preset = question.Resolution;
        const auto fields = mb::ListConflictFields(question.SyncImages, question.ChangeMap1, question.ChangeMap2, *question.FieldTypes);
        question.ConflictFields1 = fields.side1;
        question.ConflictFields2 = fields.side2;
        if (change) change(question);
        question.Resolution = resolution;
        question.ApplyToAll = applyToAll;
        return ok;
    }
    bool ask(DeleteConflictQuestion& question) override
    {
        ++askedDelete;
        deletedSide = question.DeletedSide;
        question.Resolution = resolution;
        question.ApplyToAll = applyToAll;
        return ok;
    }
    LONG resolution = croTrans1Wins, preset = 0, index = 0, total = 0;
    bool applyToAll = false, ok = true;
    int asked = 0, askedDelete = 0;
    _TransIds deletedSide{};
    std::function<void(ConflictQuestion&)> change;

private:
    mb::ConflictPrompt* former_;
};

// One contact on both sides, in step, with three fields.
class ConflictTest : public testing::Test {
protected:
    ConflictTest()
    {
        id1 = s.one().add({{ftFirstName, u"Ada"}, {ftLastName, u"Lovelace"}, {ftCity1, u"London"}, {ftPhone, u"1"}, {ftNotes, u"n"}});
        EXPECT_EQ(s.sync(), S_OK);
        id2 = s.two().order.at(0);
    }
    // A run with a user who accepts the summary.
    HRESULT syncAsking()
    {
        s.log().clear();
        mbtest::FrontEndFake user;
        user.byDefault = mb::idOk; // to the summary
        const auto synchronizer = s.create<ISynchronizer>(__uuidof(Synchronizer));
        EXPECT_EQ(synchronizer->Initialize(nullptr, VARIANT_FALSE), S_OK);
        return synchronizer->Synchronize(s.map(), VARIANT_FALSE);
    }
    void changeBothCities()
    {
        s.one().set(id1, ftCity1, u"Paris");
        s.two().set(id2, ftCity1, u"Rome");
    }
    SyncScenario s;
    std::u16string id1, id2;
};

} // namespace

TEST_F(ConflictTest, ChangesOfDifferentFieldsAreNoConflictAndTheOptionsAreNotConsulted)
{
    s.setOption(soConflictResolution, croDeleteAll);
    s.one().set(id1, ftPhone, u"2");
    s.two().set(id2, ftNotes, u"m");
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.logText(), HasSubstr("No conflicts detected"));
    EXPECT_EQ(s.one().get(id1, ftNotes), u"m");
    EXPECT_EQ(s.two().get(id2, ftPhone), u"2");
    s.expectInStep();
}

TEST_F(ConflictTest, ChangesOfDifferentFieldsAreNoConflictThoughNewContactsMakeTheEngineLookAgain)
{
    s.one().set(id1, ftPhone, u"2");
    s.two().set(id2, ftNotes, u"m");
    s.one().add({{ftLastName, u"Hopper"}});
    s.two().add({{ftLastName, u"Turing"}});
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.lastLog(), testing::Not(HasSubstr("CONFLICT")));
    EXPECT_THAT(s.one().records, SizeIs(3));
    s.expectInStep();
}

TEST_F(ConflictTest, ASilentRunKeepsBothContactsOfAConflictAsSeparateRecords)
{
    changeBothCities();
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.logText(), HasSubstr("CONFLICT: Ada Lovelace"));
    EXPECT_THAT(s.one().records, SizeIs(2));
    EXPECT_THAT(s.two().records, SizeIs(2));
    EXPECT_EQ(s.one().get(id1, ftCity1), u"Paris");
    EXPECT_EQ(s.two().get(id2, ftCity1), u"Rome");
}

TEST_F(ConflictTest, ASilentRunLetsAChangedRecordSurviveADeletionOnTheOtherSide)
{
    s.one().set(id1, ftCity1, u"Paris");
    s.two().remove(id2);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.two().records, SizeIs(1));
    EXPECT_EQ(s.two().get(s.two().order.at(0), ftCity1), u"Paris");
    s.expectInStep();
}

TEST_F(ConflictTest, TheSameWithTheSidesExchanged)
{
    s.two().set(id2, ftCity1, u"Rome");
    s.one().remove(id1);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.one().records, SizeIs(1));
    EXPECT_EQ(s.one().get(s.one().order.at(0), ftCity1), u"Rome");
    s.expectInStep();
}

TEST_F(ConflictTest, WhereAllIsToBeAddedTheDeleteOptionIsNotRead)
{
    s.setOption(soConflictResolution, croAddAll);
    s.setOption(soDelConflictResolution, croDeleteAll);
    s.one().set(id1, ftCity1, u"Paris");
    s.two().remove(id2);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_TRUE(s.one().has(id1));
    EXPECT_THAT(s.two().records, SizeIs(1));
}

TEST_F(ConflictTest, WhereAllIsToBeAddedAnEditedContactSurvivesADeletionThatWouldWin)
{
    s.setOption(soConflictResolution, croAddAll);
    s.setOption(soDelConflictResolution, croTrans1Wins);
    s.one().remove(id1);
    s.two().set(id2, ftCity1, u"Rome");
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_TRUE(s.two().has(id2));
    ASSERT_THAT(s.one().records, SizeIs(1));
    EXPECT_EQ(s.one().get(s.one().order.at(0), ftCity1), u"Rome");
    s.expectInStep();
}

TEST_F(ConflictTest, WhereAllIsToBeAddedTheSameHoldsWithTheSidesExchanged)
{
    s.setOption(soConflictResolution, croAddAll);
    s.setOption(soDelConflictResolution, croTrans2Wins);
    s.one().set(id1, ftCity1, u"Paris");
    s.two().remove(id2);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_TRUE(s.one().has(id1));
    ASSERT_THAT(s.two().records, SizeIs(1));
    EXPECT_EQ(s.two().get(s.two().order.at(0), ftCity1), u"Paris");
    s.expectInStep();
}

TEST_F(ConflictTest, WhereADeletionIsToWinBothAreDeletedAndNothingIsAsked)
{
    s.setOption(soDelConflictResolution, croDeleteAll);
    s.one().set(id1, ftCity1, u"Paris");
    s.two().remove(id2);
    Answers answers;
    EXPECT_EQ(syncAsking(), S_OK);
    EXPECT_EQ(answers.askedDelete, 0);
    EXPECT_THAT(s.one().records, IsEmpty());
    EXPECT_THAT(s.two().records, IsEmpty());
}

TEST_F(ConflictTest, SideOneWinsItsConflictingFieldAloneAndTheOthersTravel)
{
    s.setOption(soConflictResolution, croTrans1Wins);
    s.one().set(id1, ftCity1, u"Paris");
    s.two().set(id2, ftCity1, u"Rome");
    s.two().set(id2, ftPhone, u"2");
    s.two().set(id2, ftNotes, u"m");
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.two().get(id2, ftCity1), u"Paris");
    EXPECT_EQ(s.one().get(id1, ftPhone), u"2");
    EXPECT_EQ(s.one().get(id1, ftNotes), u"m");
    s.expectInStep();
}

TEST_F(ConflictTest, SideOneWinsWithEveryFieldInConflict)
{
    s.setOption(soConflictResolution, croTrans1Wins);
    changeBothCities();
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.two().get(id2, ftCity1), u"Paris");
    EXPECT_THAT(s.log().starting("1 WriteField"), IsEmpty()) << "the loser's task is gone";
    s.expectInStep();
}

TEST_F(ConflictTest, SideTwoWins)
{
    s.setOption(soConflictResolution, croTrans2Wins);
    changeBothCities();
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.one().get(id1, ftCity1), u"Rome");
    s.expectInStep();
}

TEST_F(ConflictTest, DeletingBothOnAConflictDeletesBoth)
{
    s.setOption(soConflictResolution, croDeleteAll);
    changeBothCities();
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.one().records, IsEmpty());
    EXPECT_THAT(s.two().records, IsEmpty());
}

TEST_F(ConflictTest, AMergeWithoutADialogLeavesThePairAsItIs)
{
    s.setOption(soConflictResolution, croMerge);
    changeBothCities();
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.writes(), IsEmpty());
    EXPECT_EQ(s.one().get(id1, ftCity1), u"Paris");
    EXPECT_EQ(s.two().get(id2, ftCity1), u"Rome");
}

TEST_F(ConflictTest, AMergeGivesEachSideWhatItLeftForIt)
{
    s.setOption(soConfirmAdds, 0);
    s.setOption(soConfirmUpdates, 0);
    s.setOption(soConfirmDeletes, 0);
    changeBothCities();
    Answers answers;
    answers.resolution = croMerge;
    answers.change = [](ConflictQuestion& q) {
        EXPECT_EQ(q.ChangeMap1[ftCity1], u"Paris");
        q.ChangeMap1[ftCity1] = q.ChangeMap2[ftCity1] = u"Berlin";
    };
    EXPECT_EQ(syncAsking(), S_OK);
    EXPECT_EQ(answers.asked, 1);
    EXPECT_EQ(s.one().get(id1, ftCity1), u"Berlin");
    EXPECT_EQ(s.two().get(id2, ftCity1), u"Berlin");
}

TEST_F(ConflictTest, AMergedPairIsNotReadAgainBeforeItIsWritten)
{
    for (const _SyncOptions option : {soConfirmAdds, soConfirmUpdates, soConfirmDeletes}) s.setOption(option, 0);
    changeBothCities();
    s.one().set(id1, ftPhone, u"2"); // the merge drops it
    Answers answers;
    answers.resolution = croMerge;
    std::size_t linesBefore = 0;
    answers.change = [&](ConflictQuestion& q) {
        linesBefore = s.log().lines.size();
        q.ChangeMap1 = q.ChangeMap2 = FieldValueMap();
        q.ChangeMap1[ftCity1] = q.ChangeMap2[ftCity1] = u"Berlin";
    };
    EXPECT_EQ(syncAsking(), S_OK);
    const auto& lines = s.log().lines;
    const auto writing = std::ranges::find(lines, "2 BeginUpdate");
    for (auto at = lines.begin() + static_cast<std::ptrdiff_t>(linesBefore); at != writing; ++at)
        EXPECT_THAT(*at, testing::Not(HasSubstr("ReadRecord")));
    EXPECT_EQ(s.one().get(id1, ftCity1), u"Berlin");
    EXPECT_EQ(s.two().get(id2, ftCity1), u"Berlin");
    EXPECT_EQ(s.two().get(id2, ftPhone), u"1") << "what the merge left out does not travel";
}

TEST_F(ConflictTest, AChangedRecordOfEitherSideIsReadOnceToFindItsChanges)
{
    for (const bool onTwo : {false, true}) {
        if (onTwo)
            s.two().set(id2, ftPhone, u"3");
        else
            s.one().set(id1, ftPhone, u"2");
        EXPECT_EQ(s.sync(), S_OK);
        const auto& lines = s.log().lines;
        const std::string opening = onTwo ? "2 BeginReadRecord" : "1 BeginReadRecord";
        EXPECT_EQ(std::count_if(lines.begin(), std::ranges::find(lines, "2 BeginUpdate"),
                                [&](const std::string& line) { return line.starts_with(opening); }),
                  2)
            << "once to see that it changed, once to see what";
    }
}

TEST_F(ConflictTest, AMergedPairIsNotAskedAboutAgainWhenDuplicatesWereSearchedFor)
{
    s.one().add({{ftLastName, u"Hopper"}});
    s.two().add({{ftLastName, u"Turing"}});
    changeBothCities();
    Answers answers;
    answers.resolution = croMerge;
    EXPECT_EQ(syncAsking(), S_OK);
    EXPECT_EQ(answers.asked, 1);
}

// A first run pairs the two by its search, so their values are known before one of them is written.
TEST(MergedDuplicates, TheHistoryHoldsWhatTheMergeWroteAndNotWhatTheSearchRead)
{
    SyncScenario s;
    for (const _SyncOptions option : {soConfirmAdds, soConfirmUpdates, soConfirmDeletes}) s.setOption(option, 0);
    const auto one = s.one().add({{ftFirstName, u"Ada"}, {ftLastName, u"Lovelace"}, {ftCity1, u"London"}, {ftTitle, u"Countess"}});
    const auto two = s.two().add({{ftFirstName, u"Ada"}, {ftLastName, u"Lovelace"}, {ftCity1, u"Rome"}, {ftTitle, u"Lady"}});
    {
        Answers answers;
        answers.resolution = croMerge;
        answers.change = [](ConflictQuestion& q) {
            q.ChangeMap1.erase(ftCity1); // the second store gets the title
            q.ChangeMap2.erase(ftTitle); // and the first one the city
        };
        EXPECT_EQ(s.syncAsking(), S_OK);
        EXPECT_EQ(answers.asked, 1);
    }
    EXPECT_EQ(s.two().get(two, ftTitle), u"Countess");
    EXPECT_EQ(s.one().get(one, ftCity1), u"Rome");
    s.one().touch(one);
    s.two().touch(two);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.writes(), IsEmpty());
    EXPECT_EQ(s.two().get(two, ftTitle), u"Countess");
}

TEST_F(ConflictTest, AnAnswerForAllDeletionsIsAskedOnce)
{
    s.one().add({{ftLastName, u"B"}, {ftCity1, u"London"}});
    EXPECT_EQ(s.sync(), S_OK);
    for (auto& [id, record] : s.one().records) s.one().set(id, ftCity1, u"Paris");
    while (!s.two().order.empty()) s.two().remove(std::u16string(s.two().order.front()));
    Answers answers;
    answers.resolution = croTrans2Wins;
    answers.applyToAll = true;
    EXPECT_EQ(syncAsking(), S_OK);
    EXPECT_EQ(answers.askedDelete, 1);
    EXPECT_THAT(s.one().records, IsEmpty()) << "the deletion wins for both";
}

TEST_F(ConflictTest, CancellingTheQuestionEndsTheRunBeforeAnyWrite)
{
    changeBothCities();
    Answers answers;
    answers.ok = false;
    EXPECT_EQ(syncAsking(), E_ABORT);
    EXPECT_THAT(s.log().starting("2 BeginUpdate"), IsEmpty());
    EXPECT_THAT(s.log().starting("1 BeginUpdate"), IsEmpty());
}

TEST_F(ConflictTest, WithoutAFrontEndAQuestionIsCancelled)
{
    changeBothCities();
    EXPECT_EQ(syncAsking(), E_ABORT);
    EXPECT_THAT(s.writes(), IsEmpty());
}

TEST_F(ConflictTest, AnAnswerForAllIsAskedOnce)
{
    for (const char16_t* name : {u"B", u"C"}) s.one().add({{ftLastName, name}, {ftCity1, u"London"}});
    EXPECT_EQ(s.sync(), S_OK);
    for (const auto& [id, record] : s.one().records) s.one().records[id].values[ftCity1] = u"Paris", s.one().touch(id);
    for (const auto& [id, record] : s.two().records) s.two().records[id].values[ftCity1] = u"Rome", s.two().touch(id);
    Answers answers;
    answers.resolution = croTrans2Wins;
    answers.applyToAll = true;
    EXPECT_EQ(syncAsking(), S_OK);
    EXPECT_EQ(answers.asked, 1);
    EXPECT_EQ(answers.total, 3);
    for (const auto& [id, record] : s.one().records) EXPECT_EQ(s.one().get(id, ftCity1), u"Rome");
}

TEST_F(ConflictTest, TheQuestionOfADeletionTellsTheSideThatHasItNoMore)
{
    s.two().set(id2, ftCity1, u"Rome");
    s.one().remove(id1);
    Answers answers;
    answers.resolution = croDeleteAll;
    EXPECT_EQ(syncAsking(), S_OK);
    EXPECT_EQ(answers.askedDelete, 1);
    EXPECT_EQ(answers.deletedSide, idTrans1);
    EXPECT_THAT(s.two().records, IsEmpty());
}

TEST_F(ConflictTest, AfterTheFieldMapWasMadeAnewTheQuestionOffersSideOneInsteadOfAMerge)
{
    changeBothCities();
    Answers answers;
    std::vector<LONG> presets;
    answers.change = [&](ConflictQuestion& question) { presets.push_back(question.Resolution); };
    s.log().failOn("2 BeginUpdate", s.log().count("2 BeginUpdate") + 1, static_cast<HRESULT>(0x80040213));
    EXPECT_EQ(syncAsking(), S_OK);
    EXPECT_THAT(presets, ElementsAre(croMerge, croTrans1Wins));
}

TEST_F(ConflictTest, TheLogTellsWhatBecameOfAConflict)
{
    changeBothCities();
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.logText(), HasSubstr("\tCONFLICT: Ada Lovelace\r\n\tSETTLED: both are kept\r\n"));
}

TEST_F(ConflictTest, TheLogTellsWhoWon)
{
    s.setOption(soConflictResolution, croTrans2Wins);
    changeBothCities();
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.logText(), HasSubstr("\tSETTLED: Second wins (side 2)\r\n"));
}

TEST_F(ConflictTest, AnEmptyListOnOneSideReportsNoProgress)
{
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.sink().labels, testing::Not(testing::Contains(u"Resolving possible conflicts.")));
}

TEST(ConflictFieldList, ImagesAreLeftOutWhereTheyAreNotCompared)
{
    FieldValueMap a, b;
    a[ftImage1] = b[ftImage1] = u"1";
    a[ftPhone] = u"1";
    b[ftHomePhone] = u"2";
    const mb::FieldTypeMap types{{ftPhone, ftHomePhone}};
    EXPECT_THAT(mb::ListConflictFields(false, a, b, types).side2, ElementsAre(ftHomePhone));
    EXPECT_THAT(mb::ListConflictFields(true, a, b, types).side1, ElementsAre(ftPhone, ftImage1));
    EXPECT_THAT(mb::ListConflictFields(true, {}, b, types).side1, IsEmpty());
}
