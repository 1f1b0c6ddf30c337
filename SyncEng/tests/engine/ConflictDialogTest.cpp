// Conflicts through the real dialogs: what the dialogs say, and what becomes of each answer.
#include "dialogs/CConflictDlg.h"
#include "dialogs/CDeleteConflictDlg.h"
#include "FrontEndFake.h"
#include "ShownMessages.h"
#include "SyncScenario.h"
#include "TextMatchers.h"
#include "WithoutDocuments.h"

#include <optional>

namespace {

using mb::CConflictDlg;
using mb::CDeleteConflictDlg;
using mb::Dialog;
using mbtest::Begins;
using mbtest::FakeField;
using mbtest::FakeStore;
using mbtest::SyncScenario;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

constexpr HRESULT rebuildFields = static_cast<HRESULT>(0x80040213);

// One contact on both sides, in step. The summary is off, so each dialog is about a conflict.
class ConflictDialogTest : public testing::Test {
protected:
    ConflictDialogTest()
    {
        for (const _SyncOptions option : {soConfirmAdds, soConfirmUpdates, soConfirmDeletes}) s.setOption(option, 0);
        id1 = s.one().add({{ftFirstName, u"Ada"}, {ftLastName, u"Lovelace"}, {ftCity1, u"London"}});
        EXPECT_EQ(s.sync(), S_OK);
        id2 = s.two().order.at(0);
    }
    void changeBothCities(const char16_t* city1 = u"Paris", const char16_t* city2 = u"Rome")
    {
        s.one().set(id1, ftCity1, city1);
        s.two().set(id2, ftCity1, city2);
    }
    // The text of a control of the next dialog, which is then cancelled.
    std::u16string textInDialog(int control)
    {
        std::u16string text;
        user.script.emplace_back([&text, control](Dialog& dialog) {
            text = dialog.model().find(control)->text;
            dialog.press(mb::idCancel);
        });
        EXPECT_EQ(s.syncAsking(), E_ABORT);
        return text;
    }
    // The next conflict is answered so.
    void answer(int radio, bool forAll = false)
    {
        user.script.emplace_back([radio, forAll](Dialog& dialog) {
            dialog.choose(radio);
            dialog.check(CConflictDlg::idApplyToAll, forAll);
            dialog.press(mb::idOk);
        });
    }
    // The radio that the next conflict dialog comes up with; its answer is OK.
    void noteRadio(std::vector<int>& radios)
    {
        user.script.emplace_back([&radios](Dialog& dialog) {
            for (const mb::Control& control : dialog.model().controls())
                if (control.kind == mb::ControlKind::Radio && control.checked) radios.push_back(control.id);
            dialog.choose(CConflictDlg::idTrans1Wins);
            dialog.press(mb::idOk);
        });
    }
    // The last run was cancelled in its only dialog: that stands in the log, and no message told of it.
    void expectCancelledSilently(std::u16string_view caption)
    {
        const mbtest::ShownMessages shown;
        EXPECT_EQ(s.syncAsking(), E_ABORT);
        EXPECT_THAT(user.captions, ElementsAre(caption));
        EXPECT_THAT(s.lastLog(), HasSubstr("Synchronization was cancelled by the user\r\n"));
        EXPECT_EQ(shown.text(), "");
        EXPECT_THAT(user.messages, IsEmpty());
        EXPECT_THAT(s.writes(), IsEmpty());
    }
    SyncScenario s;
    mbtest::FrontEndFake user;
    std::u16string id1, id2;
};

// By the radio that is chosen: the side that wins all conflicts.
class AnswerForAll : public ConflictDialogTest, public testing::WithParamInterface<int> {
protected:
    bool oneWins() const { return GetParam() == CConflictDlg::idTrans1Wins; }
    FakeStore& winner() { return oneWins() ? s.one() : s.two(); }
    FakeStore& loser() { return oneWins() ? s.two() : s.one(); }
    // Sets a value on every contact of a store.
    static void setAll(FakeStore& store, LONG type, const std::u16string& text)
    {
        for (const std::u16string& id : store.order) store.set(id, type, text);
    }
    static std::vector<std::u16string> all(const FakeStore& store, LONG type)
    {
        std::vector<std::u16string> values;
        for (const std::u16string& id : store.order) values.push_back(store.get(id, type));
        return values;
    }
};

} // namespace

TEST_F(ConflictDialogTest, AContactDeletedOnSideTwoIsSaidToBeChangedInTheFirstAndDeletedInTheSecond)
{
    s.one().set(id1, ftCity1, u"Paris");
    s.two().remove(id2);
    EXPECT_EQ(textInDialog(CDeleteConflictDlg::idMessage),
              u"The contact \"Ada Lovelace\" was changed in First and deleted in Second. Please choose an option to resolve the conflict.");
    EXPECT_EQ(textInDialog(CDeleteConflictDlg::idAdd), u"&Add contact to Second");
    EXPECT_EQ(textInDialog(CDeleteConflictDlg::idDelete), u"&Delete contact from First");
    EXPECT_EQ(textInDialog(CDeleteConflictDlg::idCounter), u"Conflict 1 of 1");
    EXPECT_EQ(user.captions.at(0), u"Resolve Contact's Change and Deletion");
}

TEST_F(ConflictDialogTest, AContactDeletedOnSideOneIsSaidToBeChangedInTheSecondAndDeletedInTheFirst)
{
    s.one().remove(id1);
    s.two().set(id2, ftLastName, u"King");
    EXPECT_EQ(textInDialog(CDeleteConflictDlg::idMessage),
              u"The contact \"Ada King\" was changed in Second and deleted in First. Please choose an option to resolve the conflict.");
    EXPECT_EQ(textInDialog(CDeleteConflictDlg::idAdd), u"&Add contact to First");
    EXPECT_EQ(textInDialog(CDeleteConflictDlg::idDelete), u"&Delete contact from Second");
}

TEST_F(ConflictDialogTest, AddingAndDeletingMeanTheSameOnBothSides)
{
    for (const bool goneOnOne : {true, false})
        for (const bool add : {true, false}) {
            SCOPED_TRACE((goneOnOne ? "deleted on side 1, " : "deleted on side 2, ") + std::string(add ? "add" : "delete"));
            const auto edited = s.one().add({{ftLastName, u"Edited"}});
            ASSERT_EQ(s.sync(), S_OK);
            const std::u16string partner = s.two().order.back();
            (goneOnOne ? s.one() : s.two()).remove(goneOnOne ? edited : partner);
            (goneOnOne ? s.two() : s.one()).set(goneOnOne ? partner : edited, ftCity1, u"Rome");
            answer(add ? CDeleteConflictDlg::idAdd : CDeleteConflictDlg::idDelete);
            EXPECT_EQ(s.syncAsking(), S_OK);
            const std::size_t left = add ? 2 : 1;
            EXPECT_THAT(s.one().records, SizeIs(left));
            EXPECT_THAT(s.two().records, SizeIs(left));
            for (FakeStore* store : {&s.one(), &s.two()})
                if (add) store->remove(std::u16string(store->order.back()));
            ASSERT_EQ(s.sync(), S_OK);
        }
}

TEST_F(ConflictDialogTest, AnUnchangedFieldMapIsNotBlamed)
{
    changeBothCities();
    EXPECT_THAT(textInDialog(CConflictDlg::idMessage),
                Begins(u"Conflicting changes were made to the contact \"Ada Lovelace\" in First and Second."));
    s.two().set(id2, ftLastName, u"King");
    EXPECT_THAT(textInDialog(CConflictDlg::idMessage),
                Begins(u"Conflicting changes were made to the contact \"Ada Lovelace\" in First and the matching contact \"Ada King\" in "
                       u"Second."));
}

TEST_F(ConflictDialogTest, AChangedFieldMapIsBlamedUntilARunWasGood)
{
    ASSERT_EQ(s.create<IFieldMap>(__uuidof(FieldMap))->SetFieldMapUpdated(s.fieldMapId(), 1), S_OK);
    changeBothCities();
    EXPECT_EQ(textInDialog(CConflictDlg::idMessage),
              u"Field maps have been changed since last sycnhronization. There are conflicting field values for the contact \"Ada "
              u"Lovelace\" in First and Second. Please choose an option to resolve the conflict.");
    s.two().set(id2, ftLastName, u"King");
    EXPECT_EQ(textInDialog(CConflictDlg::idMessage),
              u"Field maps have been changed since last sycnhronization. There are conflicting field values for the contact \"\"Ada "
              u"Lovelace\"\" in First and the matching contact \"\"Ada King\"\" in Second. Please choose an option to resolve the "
              u"conflict.");
    answer(CConflictDlg::idTrans1Wins);
    ASSERT_EQ(s.syncAsking(), S_OK);
    changeBothCities(u"Oslo", u"Bergen");
    EXPECT_THAT(textInDialog(CConflictDlg::idMessage), Begins(u"Conflicting changes were made"));
}

TEST_F(ConflictDialogTest, TheListShowsTheFieldsThatBothSidesChangedAlone)
{
    changeBothCities();
    s.one().set(id1, ftTitle, u"Countess");
    s.two().set(id2, ftNotes, u"n");
    std::vector<std::vector<std::u16string>> rows;
    user.script.emplace_back([&](Dialog& dialog) {
        for (const mb::ListRow& row : dialog.model().find(CConflictDlg::idList)->rows) rows.push_back(row.cells);
    });
    EXPECT_EQ(s.syncAsking(), E_ABORT);
    EXPECT_THAT(rows, ElementsAre(ElementsAre(u"City", u"Paris", u"Rome")));
}

// The phone is another field on each side, so the two lists of lost fields are not the same.
TEST_P(AnswerForAll, LetsTheLosingSideKeepItsOtherChangesInEachConflict)
{
    std::ranges::find(s.two().fields, LONG{ftPhone}, &FakeField::type)->type = ftHomePhone;
    s.mapFields(ftPhone, ftHomePhone);
    for (const char16_t* name : {u"B", u"C"}) s.one().add({{ftLastName, name}, {ftCity1, u"London"}});
    ASSERT_EQ(s.sync(), S_OK);
    setAll(s.one(), ftCity1, u"Paris");
    setAll(s.one(), ftPhone, u"11");
    setAll(s.two(), ftCity1, u"Rome");
    setAll(s.two(), ftHomePhone, u"22");
    setAll(loser(), ftNotes, u"kept");
    answer(GetParam(), true);
    EXPECT_EQ(s.syncAsking(), S_OK);
    EXPECT_THAT(user.captions, SizeIs(1)) << "the others are not asked about";
    const std::u16string city = oneWins() ? u"Paris" : u"Rome", phone = oneWins() ? u"11" : u"22";
    for (FakeStore* store : {&s.one(), &s.two()}) {
        EXPECT_THAT(all(*store, ftCity1), ElementsAre(city, city, city));
        EXPECT_THAT(all(*store, store == &s.one() ? ftPhone : ftHomePhone), ElementsAre(phone, phone, phone));
        EXPECT_THAT(all(*store, ftNotes), ElementsAre(u"kept", u"kept", u"kept"));
    }
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.writes(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Winners, AnswerForAll, testing::Values(int{CConflictDlg::idTrans1Wins}, int{CConflictDlg::idTrans2Wins}));

TEST_F(ConflictDialogTest, CancellingAConflictStandsInTheLogAndShowsNoMessage)
{
    changeBothCities();
    expectCancelledSilently(u"Resolve Conflicting Changes");
}

TEST_F(ConflictDialogTest, CancellingADeletionStandsInTheLogAndShowsNoMessage)
{
    s.one().set(id1, ftCity1, u"Paris");
    s.two().remove(id2);
    expectCancelledSilently(u"Resolve Contact's Change and Deletion");
}

TEST_F(ConflictDialogTest, CancellingTheSummaryStandsInTheLogAndShowsNoMessage)
{
    s.setOption(soConfirmAdds, 1);
    s.one().add({{ftLastName, u"Hopper"}});
    expectCancelledSilently(u"Confirm Changes");
}

// In either search: with documents, and in memory.
TEST_F(ConflictDialogTest, TheOfferOfSideOneForANewFieldMapEndsWithTheSearchThatFollows)
{
    for (const bool inMemory : {false, true}) {
        SCOPED_TRACE(inMemory ? "in memory" : "with documents");
        std::optional<mbtest::WithoutDocuments> broken;
        if (inMemory) broken.emplace();
        std::vector<int> radios;
        for (int i = 0; i < 3; ++i) noteRadio(radios);
        changeBothCities(inMemory ? u"Paris" : u"Oslo", inMemory ? u"Rome" : u"Bergen");
        s.log().failOn("2 BeginUpdate", s.log().count("2 BeginUpdate") + 1, rebuildFields);
        EXPECT_EQ(s.syncAsking(), S_OK);
        changeBothCities(u"Vienna", u"Berlin");
        EXPECT_EQ(s.syncAsking(), S_OK);
        EXPECT_THAT(radios, ElementsAre(CConflictDlg::idMerge, CConflictDlg::idTrans1Wins, CConflictDlg::idMerge));
    }
}

TEST_F(ConflictDialogTest, TheOfferOfSideOneForANewFieldMapEndsThoughTheSearchFoundNothing)
{
    s.one().remove(id1);
    ASSERT_EQ(s.sync(), S_OK);
    id1 = s.one().add({{ftLastName, u"Hopper"}});
    s.two().add({{ftLastName, u"Turing"}});
    s.log().failOn("2 BeginUpdate", s.log().count("2 BeginUpdate") + 1, rebuildFields);
    ASSERT_EQ(s.syncAsking(), S_OK);
    EXPECT_THAT(s.lastLog(), HasSubstr("No duplicates found"));
    id2 = s.two().order.back();
    std::vector<int> radios;
    noteRadio(radios);
    changeBothCities();
    EXPECT_EQ(s.syncAsking(), S_OK);
    EXPECT_THAT(radios, ElementsAre(CConflictDlg::idMerge));
}
