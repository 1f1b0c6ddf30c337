#include "dialogs/CConflictDlg.h"
#include "dialogs/CDeleteConflictDlg.h"
#include "DialogsFixture.h"
#include "translators/Cancelled.h"

namespace {

using mb::CConflictDlg;
using mb::CDeleteConflictDlg;
using mb::ConflictQuestion;
using mb::DeleteConflictQuestion;
using mb::idCancel;
using mb::idOk;
using testing::ElementsAre;
using testing::IsEmpty;

class ConflictDlgTest : public mbtest::DialogsTest {
protected:
    ConflictDlgTest()
    {
        id1 = s.one().add({{ftFirstName, u"Ada"}, {ftLastName, u"Lovelace"}, {ftCity1, u"Paris"}});
        id2 = s.two().add({{ftFirstName, u"Ada"}, {ftLastName, u"Lovelace"}, {ftCity1, u"Rome"}});
        question.side1 = {translator1.get(), mbtest::fakeClass1, id1};
        question.side2 = {translator2.get(), mbtest::fakeClass2, id2};
        question.ChangeMap1[ftCity1] = u"Paris";
        question.ChangeMap2[ftCity1] = u"Rome";
        question.FieldTypes = &types;
        question.ConflictIndex = 2;
        question.ConflictTotal = 7;
    }
    std::u16string message()
    {
        CConflictDlg dialog(question);
        dialog.prepare();
        return control(dialog, CConflictDlg::idMessage).text;
    }
    std::u16string id1, id2;
    mb::FieldTypeMap types{{ftFirstName, ftFirstName}, {ftLastName, ftLastName}, {ftCity1, ftCity1}};
    ConflictQuestion question;
};

} // namespace

TEST_F(ConflictDlgTest, ItsControlsSayWhatTheConflictIs)
{
    CConflictDlg dialog(question);
    dialog.prepare();
    EXPECT_EQ(dialog.model().caption, u"Resolve Conflicting Changes");
    EXPECT_EQ(control(dialog, CConflictDlg::idCounter).text, u"Conflict 2 of 7");
    EXPECT_EQ(control(dialog, CConflictDlg::idMessage).text,
              u"Conflicting changes were made to the contact \"Ada Lovelace\" in First and Second. Please choose an option to "
              u"resolve the conflict. Remapped field names in Second are displayed in brackets.");
    EXPECT_EQ(control(dialog, CConflictDlg::idMerge).text, u"Let me resolve the conflicts &manually");
    EXPECT_EQ(control(dialog, CConflictDlg::idDuplicate).text, u"Create a &duplicate contact");
    EXPECT_EQ(control(dialog, CConflictDlg::idTrans1Wins).text, u"First &overwrites Second");
    EXPECT_EQ(control(dialog, CConflictDlg::idTrans2Wins).text, u"Second over&writes First");
    EXPECT_EQ(control(dialog, CConflictDlg::idList).columns.at(0).header, u"Field Name");
    EXPECT_EQ(control(dialog, CConflictDlg::idList).columns.at(1).header, u"First");
    EXPECT_EQ(control(dialog, CConflictDlg::idList).columns.at(2).header, u"Second");
    ASSERT_EQ(control(dialog, CConflictDlg::idList).rows.size(), 1u);
    EXPECT_THAT(control(dialog, CConflictDlg::idList).rows[0].cells, ElementsAre(u"City", u"Paris", u"Rome"));
    EXPECT_TRUE(control(dialog, CConflictDlg::idMerge).checked);
    EXPECT_FALSE(control(dialog, CConflictDlg::idApplyToAll).enabled);
    for (const int button : std::initializer_list<int>{idOk, idCancel, CConflictDlg::idHelp}) EXPECT_TRUE(control(dialog, button).enabled);
}

TEST_F(ConflictDlgTest, NamesThatDifferOnlyInCaseGiveThePlainMessage)
{
    s.two().set(id2, ftLastName, u"LOVELACE");
    EXPECT_THAT(message(), mbtest::Begins(u"Conflicting changes were made to the contact \"Ada Lovelace\" in First and Second."));
}

TEST_F(ConflictDlgTest, NamesThatDifferAreBothShown)
{
    s.two().set(id2, ftFirstName, u"Augusta");
    EXPECT_THAT(message(),
                mbtest::Begins(u"Conflicting changes were made to the contact \"Ada Lovelace\" in First and the matching contact "
                               u"\"Augusta Lovelace\" in Second."));
    question.FieldMapChanged = true;
    EXPECT_EQ(message(),
              u"Field maps have been changed since last sycnhronization. There are conflicting field values for the contact \"\"Ada "
              u"Lovelace\"\" in First and the matching contact \"\"Augusta Lovelace\"\" in Second. Please choose an option to resolve the "
              u"conflict.");
}

TEST_F(ConflictDlgTest, NamesAreComparedInFullAlthoughTheyAreShownCut)
{
    s.one().set(id1, ftFirstName, std::u16string(20, u'x') + u"y");
    s.two().set(id2, ftFirstName, std::u16string(20, u'x') + u"z");
    const std::u16string shown = std::u16string(20, u'x') + u"... Lovelace";
    EXPECT_THAT(message(), mbtest::Holds(u"\"" + shown + u"\" in First and the matching contact \"" + shown + u"\""));
}

TEST_F(ConflictDlgTest, AChangedFieldMapIsMentioned)
{
    question.FieldMapChanged = true;
    EXPECT_EQ(
        message(),
        u"Field maps have been changed since last sycnhronization. There are conflicting field values for the contact \"Ada Lovelace\" "
        u"in First and Second. Please choose an option to resolve the conflict.");
}

TEST_F(ConflictDlgTest, AFirstNameOf21CharactersIsShownAs20AndAnEllipsis)
{
    const std::u16string name(21, u'x');
    for (const auto& [store, id] : {std::pair(&s.one(), id1), std::pair(&s.two(), id2)}) store->set(id, ftFirstName, name);
    EXPECT_THAT(message(), mbtest::Holds(u"\"" + name.substr(0, 20) + u"... Lovelace\""));
}

TEST_F(ConflictDlgTest, AValueOf100CharactersIsKeptAndOneOf101IsCut)
{
    question.ChangeMap1[ftCity1] = std::u16string(100, u'a');
    question.ChangeMap2[ftCity1] = std::u16string(101, u'b');
    CConflictDlg dialog(question);
    dialog.prepare();
    EXPECT_THAT(column(dialog, CConflictDlg::idList, 1), ElementsAre(std::u16string(100, u'a')));
    EXPECT_THAT(column(dialog, CConflictDlg::idList, 2), ElementsAre(std::u16string(100, u'b') + u"..."));
}

TEST_F(ConflictDlgTest, AValueIsCutBeforeItsLineBreaksBecomeBlanks)
{
    question.ChangeMap1[ftCity1] = std::u16string(98, u'a') + u"\r\nb";
    CConflictDlg dialog(question);
    dialog.prepare();
    EXPECT_THAT(column(dialog, CConflictDlg::idList, 1), ElementsAre(std::u16string(98, u'a') + u" ..."));
}

TEST_F(ConflictDlgTest, LineBreaksAreBlanks)
{
    question.ChangeMap1[ftCity1] = u"a\r\nb\rc\nd";
    CConflictDlg dialog(question);
    dialog.prepare();
    EXPECT_THAT(column(dialog, CConflictDlg::idList, 1), ElementsAre(u"a b c d"));
}

TEST_F(ConflictDlgTest, ANameWithoutAMappedFieldStaysEmpty)
{
    s.two().fields.push_back({0, u"Nickname"}); // a translator may report type 0 for a field that was not loaded
    s.two().set(id2, 0, u"Countess");
    types.erase(ftFirstName);
    EXPECT_THAT(message(), mbtest::Holds(u"and the matching contact \"Lovelace\" in Second."));
    question.FieldTypes = nullptr;
    EXPECT_THAT(message(), mbtest::Holds(u"and the matching contact \"\" in Second."));
}

TEST_F(ConflictDlgTest, AnImageWithEqualValuesAddsNoRowButIsListedAsAConflictField)
{
    question.SyncImages = true;
    question.ChangeMap1[ftImage1] = question.ChangeMap2[ftImage1] = u"1";
    CConflictDlg dialog(question);
    dialog.prepare();
    EXPECT_THAT(column(dialog, CConflictDlg::idList, 0), ElementsAre(u"City"));
    EXPECT_THAT(question.ConflictFields1, ElementsAre(ftCity1, ftImage1));
    EXPECT_THAT(question.ConflictFields2, ElementsAre(ftCity1, ftImage1));
    question.SyncImages = false;
    CConflictDlg without(question);
    without.prepare();
    EXPECT_THAT(question.ConflictFields1, ElementsAre(ftCity1));
}

TEST_F(ConflictDlgTest, ARemappedFieldIsNamedInBracketsInTheColumnOfSide2Only)
{
    types[ftCity1] = ftState1;
    question.ChangeMap2 = values({{ftState1, u"Lazio"}});
    CConflictDlg dialog(question);
    dialog.prepare();
    ASSERT_EQ(control(dialog, CConflictDlg::idList).rows.size(), 1u);
    EXPECT_THAT(control(dialog, CConflictDlg::idList).rows[0].cells, ElementsAre(u"City", u"Paris", u"[State] Lazio"));
    EXPECT_THAT(question.ConflictFields2, ElementsAre(ftState1));
}

TEST_F(ConflictDlgTest, AFieldChangedOnOnlyOneSideIsNotListed)
{
    question.ChangeMap1[ftPhone] = u"1";
    CConflictDlg dialog(question);
    dialog.prepare();
    EXPECT_THAT(column(dialog, CConflictDlg::idList, 0), ElementsAre(u"City"));
}

TEST_F(ConflictDlgTest, EachChoiceSetsItsResolution)
{
    const std::pair<int, LONG> choices[] = {
        {CConflictDlg::idDuplicate, croAddAll}, {CConflictDlg::idTrans1Wins, croTrans1Wins}, {CConflictDlg::idTrans2Wins, croTrans2Wins}};
    for (const auto& [radio, resolution] : choices) {
        CConflictDlg dialog(question);
        dialog.prepare();
        dialog.choose(radio);
        EXPECT_TRUE(control(dialog, CConflictDlg::idApplyToAll).enabled);
        dialog.check(CConflictDlg::idApplyToAll, true);
        dialog.press(idOk);
        EXPECT_EQ(dialog.ending(), idOk);
        EXPECT_EQ(question.Resolution, resolution);
        EXPECT_TRUE(question.ApplyToAll);
    }
}

TEST_F(ConflictDlgTest, ThePresetIsSelected)
{
    const std::pair<LONG, int> presets[] = {{croTrans1Wins, CConflictDlg::idTrans1Wins},
                                            {croTrans2Wins, CConflictDlg::idTrans2Wins},
                                            {croMerge, CConflictDlg::idMerge},
                                            {croAddAll, CConflictDlg::idDuplicate},
                                            {croNotify, CConflictDlg::idDuplicate}};
    for (const auto& [resolution, radio] : presets) {
        question.Resolution = resolution;
        CConflictDlg dialog(question);
        dialog.prepare();
        EXPECT_TRUE(control(dialog, radio).checked) << resolution;
        EXPECT_EQ(control(dialog, CConflictDlg::idApplyToAll).enabled, radio != CConflictDlg::idMerge);
    }
}

TEST_F(ConflictDlgTest, ApplyToAllStaysFalseWithTheManualChoice)
{
    question.Resolution = croTrans1Wins;
    CConflictDlg dialog(question);
    dialog.prepare();
    dialog.check(CConflictDlg::idApplyToAll, true);
    dialog.choose(CConflictDlg::idMerge);
    EXPECT_FALSE(control(dialog, CConflictDlg::idApplyToAll).enabled);
    EXPECT_TRUE(control(dialog, CConflictDlg::idApplyToAll).checked);
    dialog.press(idOk); // the dialog stays open, because there is no merge component
    EXPECT_FALSE(question.ApplyToAll);
    EXPECT_EQ(dialog.ending(), std::nullopt);
}

TEST_F(ConflictDlgTest, AMissingMergeComponentIsReportedAndTheDialogStaysOpen)
{
    CConflictDlg dialog(question);
    dialog.prepare();
    dialog.press(idOk);
    ASSERT_EQ(user.messages.size(), 1u);
    EXPECT_THAT(user.messages[0], mbtest::Begins(u"Error merging conflicts. Error code: 0x80004005. Error message: "));
    EXPECT_EQ(user.messageCaption, u"Mirabook Synchronization");
    EXPECT_EQ(dialog.ending(), std::nullopt);
    dialog.close();
    EXPECT_EQ(dialog.ending(), idCancel);
}

TEST_F(ConflictDlgTest, ARecordThatCannotBeReadLeavesEmptyNamesAndTheDialogShows)
{
    s.log().failOn("1 BeginReadRecord", 1, E_FAIL);
    EXPECT_THAT(message(),
                mbtest::Begins(u"Conflicting changes were made to the contact \"\" in First and the matching contact \"Ada Lovelace\""));
}

TEST_F(ConflictDlgTest, ACancelFromAStoreThatItReadsIsNoAnswer)
{
    for (const char* call : {"1 BeginReadRecord", "2 BeginReadRecord", "1 ReadField", "2 EndReadRecord", "1 GetCount", "2 GetFieldType"}) {
        s.log().failNext(call, E_ABORT);
        CConflictDlg dialog(question);
        EXPECT_THROW((void)mb::ShowDialog(dialog, nullptr), mb::Cancelled) << call;
        EXPECT_FALSE(dialog.ending()) << call << ": the dialog was never shown";
    }
}

TEST_F(ConflictDlgTest, ACancelFromAStoreDuringTheMergeEndsItWithoutAMessage)
{
    CConflictDlg dialog(question);
    dialog.prepare();
    s.log().failNext("2 GetTranslatorCaps", E_ABORT);
    dialog.press(idOk);
    EXPECT_TRUE(dialog.cancelledByTranslator());
    EXPECT_EQ(dialog.ending(), idCancel);
    EXPECT_TRUE(user.messages.empty());
}

TEST_F(ConflictDlgTest, ATranslatorWithoutFieldsIsShownWithoutNames)
{
    s.one().options.fieldList = false;
    CConflictDlg dialog(question);
    dialog.prepare();
    EXPECT_THAT(control(dialog, CConflictDlg::idList).rows.at(0).cells, ElementsAre(u"", u"Paris", u"Rome"));
    dialog.press(idOk);
    EXPECT_EQ(user.messages.size(), 1u) << "a merge needs the fields";
    EXPECT_EQ(dialog.ending(), std::nullopt);
}

namespace {

class DeleteConflictDlgTest : public mbtest::DialogsTest {
protected:
    DeleteConflictDlgTest()
    {
        s.one().addImageFields();
        id = s.one().add({{ftFirstName, u"Ada"}, {ftLastName, u"Lovelace"}, {ftNotes, u"a\nb"}, {ftImage1, u"picture"}});
        question.survivor = {translator1.get(), mbtest::fakeClass1, id};
        question.deletedClsid = mbtest::fakeClass2;
        question.DeletedSide = idTrans2;
        question.ConflictIndex = question.ConflictTotal = 1;
    }
    LONG answer(int radio)
    {
        CDeleteConflictDlg dialog(question);
        dialog.prepare();
        dialog.choose(radio);
        dialog.press(idOk);
        EXPECT_EQ(dialog.ending(), idOk);
        return question.Resolution;
    }
    std::u16string id;
    DeleteConflictQuestion question;
};

} // namespace

TEST_F(DeleteConflictDlgTest, ItsControlsSayWhoChangedAndWhoDeleted)
{
    CDeleteConflictDlg dialog(question);
    dialog.prepare();
    EXPECT_EQ(dialog.model().caption, u"Resolve Contact's Change and Deletion");
    EXPECT_EQ(control(dialog, CDeleteConflictDlg::idMessage).text,
              u"The contact \"Ada Lovelace\" was changed in First and deleted in Second. Please choose an option to resolve the conflict.");
    EXPECT_EQ(control(dialog, CDeleteConflictDlg::idAdd).text, u"&Add contact to Second");
    EXPECT_EQ(control(dialog, CDeleteConflictDlg::idDelete).text, u"&Delete contact from First");
    EXPECT_EQ(control(dialog, CDeleteConflictDlg::idCounter).text, u"Conflict 1 of 1");
    EXPECT_TRUE(control(dialog, CDeleteConflictDlg::idAdd).checked);
    EXPECT_EQ(dialog.model().focus, CDeleteConflictDlg::idAdd);
    EXPECT_EQ(dialog.model().find(CConflictDlg::idMerge), nullptr);
    EXPECT_EQ(dialog.model().find(CConflictDlg::idDuplicate), nullptr);
}

TEST_F(DeleteConflictDlgTest, LongNamesAreCutAndItsCheckBoxIsPreset)
{
    s.one().set(id, ftFirstName, std::u16string(21, u'x'));
    question.ApplyToAll = true;
    CDeleteConflictDlg dialog(question);
    dialog.prepare();
    EXPECT_THAT(control(dialog, CDeleteConflictDlg::idMessage).text, mbtest::Holds(u"\"" + std::u16string(20, u'x') + u"... Lovelace\""));
    EXPECT_TRUE(control(dialog, CDeleteConflictDlg::idApplyToAll).checked);
}

TEST_F(DeleteConflictDlgTest, TheListShowsEachFieldExceptImages)
{
    CDeleteConflictDlg dialog(question);
    dialog.prepare();
    const auto names = column(dialog, CDeleteConflictDlg::idList, 0);
    EXPECT_EQ(names.size(), s.one().fields.size() - 2);
    EXPECT_THAT(names, testing::Not(testing::Contains(u"Front image")));
    EXPECT_THAT(column(dialog, CDeleteConflictDlg::idList, 1), testing::Contains(u"a b"));
    EXPECT_THAT(column(dialog, CDeleteConflictDlg::idList, 2), testing::Each(u"<Contact deleted>"));
}

TEST_F(DeleteConflictDlgTest, AFieldThatCannotBeReadIsLeftOut)
{
    s.log().failOn("ReadField", 3, E_FAIL); // the first two calls read the name
    CDeleteConflictDlg dialog(question);
    dialog.prepare();
    EXPECT_EQ(control(dialog, CDeleteConflictDlg::idList).rows.size(), s.one().fields.size() - 3);
}

TEST_F(DeleteConflictDlgTest, AddMeansTheChangedSideWinsAndDeleteTheOtherSide)
{
    EXPECT_EQ(answer(CDeleteConflictDlg::idAdd), croTrans1Wins);
    EXPECT_EQ(answer(CDeleteConflictDlg::idDelete), croTrans2Wins);
    question.DeletedSide = idTrans1;
    EXPECT_EQ(answer(CDeleteConflictDlg::idAdd), croTrans2Wins);
    EXPECT_EQ(answer(CDeleteConflictDlg::idDelete), croTrans1Wins);
}

TEST_F(DeleteConflictDlgTest, ApplyToAllComesFromItsCheckBoxAndCancelKeepsTheQuestion)
{
    CDeleteConflictDlg dialog(question);
    dialog.prepare();
    dialog.check(CDeleteConflictDlg::idApplyToAll, true);
    dialog.press(idCancel);
    EXPECT_EQ(dialog.ending(), idCancel);
    EXPECT_FALSE(question.ApplyToAll);
    EXPECT_EQ(question.Resolution, croTrans1Wins) << "unchanged";
    CDeleteConflictDlg again(question);
    again.prepare();
    again.check(CDeleteConflictDlg::idApplyToAll, true);
    again.press(idOk);
    EXPECT_TRUE(question.ApplyToAll);
}

TEST_F(DeleteConflictDlgTest, ARecordThatCannotBeReadLeavesTheListEmpty)
{
    s.one().remove(id);
    CDeleteConflictDlg dialog(question);
    dialog.prepare();
    EXPECT_THAT(control(dialog, CDeleteConflictDlg::idList).rows, IsEmpty());
    EXPECT_THAT(control(dialog, CDeleteConflictDlg::idMessage).text, mbtest::Begins(u"The contact \"\" was changed"));
}
