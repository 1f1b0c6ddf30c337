// The six dialogs as questions in a terminal of 80 columns and 24 lines: their texts, and the effect of each key.
#include "dialogs/CChangeDetailsDlg.h"
#include "dialogs/CConfirmationDlg.h"
#include "dialogs/CConflictDlg.h"
#include "dialogs/CDeleteConflictDlg.h"
#include "dialogs/CFieldMappingDlg.h"
#include "dialogs/terminal/TerminalFrontEnd.h"
#include "DialogsFixture.h"
#include "MergeFake.h"
#include "TypedConsole.h"

namespace {

using testing::HasSubstr;
using testing::Not;

class QuestionWordsTest : public mbtest::DialogsTest {
protected:
    QuestionWordsTest()
    {
        id1 = s.one().add({{ftFirstName, u"Ada"}, {ftLastName, u"Lovelace"}, {ftTitle, u"Boss"}, {ftCity1, u"Paris"}});
        id2 = s.two().add({{ftFirstName, u"Ada"}, {ftLastName, u"Lovelace"}, {ftTitle, u"Chief"}, {ftCity1, u"Rome"}});
        conflict.side1 = {translator1.get(), mbtest::fakeClass1, id1, {}, u"/srv/Contacts"};
        conflict.side2 = {translator2.get(), mbtest::fakeClass2, id2, {}, u"/media/phone/export.vcf"};
        conflict.ChangeMap1 = values({{ftTitle, u"Boss"}, {ftCity1, u""}});
        conflict.ChangeMap2 = values({{ftTitle, u"Chief"}, {ftCity1, u""}});
        conflict.FieldTypes = &types;
        conflict.ConflictIndex = 1;
        conflict.ConflictTotal = 3;
        changes.side1 = {translator1.get(), mbtest::fakeClass1, {}, u"/srv/Contacts"};
        changes.side2 = {translator2.get(), mbtest::fakeClass2, {}, u"/media/phone/export.vcf"};
        changes.FieldTypes = &types;
    }
    // Returns what the terminal shows while these lines are typed.
    template <class Work> std::string shownDuring(std::deque<std::u16string> typed, Work&& work)
    {
        screen = {std::move(typed), {}};
        mb::TerminalFrontEnd frontEnd([this] { return std::make_unique<mbtest::TypedConsole>(screen); });
        mb::DialogFrontEnd* const former = mb::SetFrontEnd(&frontEnd);
        work();
        mb::SetFrontEnd(former);
        return screen.text();
    }
    std::string show(mb::Dialog& dialog, std::deque<std::u16string> typed)
    {
        return shownDuring(std::move(typed), [&] { (void)mb::ShowDialog(dialog, nullptr); });
    }
    // Returns what the field mapping dialog shows; the dialog must be cancelled.
    std::string mapFields(std::deque<std::u16string> typed)
    {
        s.makeMap();
        return shownDuring(std::move(typed), [&] { EXPECT_EQ(s.maps()->ConfigureFieldMapping(nullptr, s.map(), VARIANT_TRUE), S_FALSE); });
    }
    std::string ask(std::deque<std::u16string> typed)
    {
        mb::CConflictDlg dialog(conflict);
        const std::string shown = show(dialog, std::move(typed));
        ending = dialog.ending().value_or(-1);
        return shown;
    }
    std::string askDeletion(mb::DeleteConflictQuestion& question, std::deque<std::u16string> typed)
    {
        mb::CDeleteConflictDlg dialog(question);
        const std::string shown = show(dialog, std::move(typed));
        ending = dialog.ending().value_or(-1);
        return shown;
    }
    // Plans a task of a record of the other side. A deletion is written to the record's own side.
    void plan(int side, mb::PlannedKind kind, const std::u16string& record, const std::u16string* mapped,
              const mb::FieldValueMap* fields = nullptr)
    {
        const bool toOne = (side == 1) != (kind == mb::PlannedDelete);
        (toOne ? tasks1_ : tasks2_).push_back({kind, &record, mapped, fields});
        (toOne ? changes.side1 : changes.side2).counts.add(kind);
        changes.side1.tasks = tasks1_;
        changes.side2.tasks = tasks2_;
    }
    std::string confirm(std::deque<std::u16string> typed)
    {
        mb::CConfirmationDlg dialog(changes);
        const std::string shown = show(dialog, std::move(typed));
        ending = dialog.ending().value_or(-1);
        return shown;
    }

    std::u16string id1, id2;
    mb::FieldTypeMap types{{ftFirstName, ftFirstName}, {ftLastName, ftLastName}, {ftTitle, ftTitle}, {ftCity1, ftCity1}};
    mb::ConflictQuestion conflict;
    mb::PlannedChanges changes;
    mbtest::Screen screen;
    int ending = -1;

private:
    std::vector<mb::PlannedTask> tasks1_, tasks2_;
};

} // namespace

TEST_F(QuestionWordsTest, AConflictShowsTheContactThePlacesOfTheStoresAndEachKeysEffect)
{
    EXPECT_EQ(ask({u"q"}), "\nAda Lovelace was changed in both stores (1 of 3)\n\n"
                           "         1: /srv/Contacts  2: /media/phone/export.vcf\n"
                           "  Title  Boss              Chief\n\n"
                           "Keep:\n"
                           "  [b] both              as two contacts in each store; nothing is lost (Enter)\n"
                           "  [1] /srv/Contacts     its values replace those in export.vcf\n"
                           "  [2] export.vcf        its values replace those in /srv/Contacts\n"
                           "  [a] the same for all  your answer also settles the 2 conflicts after this\n"
                           "  [q] stop              ends the run; no contact is written\n"
                           "[Type b, 1, 2, a or q and Enter; Enter alone: b; ?: help] \n");
    EXPECT_EQ(ending, mb::idCancel);
}

TEST_F(QuestionWordsTest, EachKeySettlesAConflict)
{
    for (const auto& [key, wanted] : {std::pair{u"", LONG{croAddAll}}, {u"b", croAddAll}, {u"1", croTrans1Wins}, {u"2", croTrans2Wins}}) {
        (void)ask({key});
        EXPECT_EQ(ending, mb::idOk);
        EXPECT_EQ(conflict.Resolution, wanted) << platform::utf8(key);
        EXPECT_FALSE(conflict.ApplyToAll);
    }
}

TEST_F(QuestionWordsTest, TheSameForAllAppliesToTheNextAnswer)
{
    const std::string shown = ask({u"a", u"2"});
    EXPECT_THAT(shown, HasSubstr("Keep, here and in the 2 conflicts after this:\n"));
    EXPECT_EQ(conflict.Resolution, croTrans2Wins);
    EXPECT_TRUE(conflict.ApplyToAll);
}

TEST_F(QuestionWordsTest, TheSameForAllCanBeUndone)
{
    EXPECT_THAT(ask({u"a", u"a", u"1"}), HasSubstr("[a] only this one  you are asked about each conflict again\n"));
    EXPECT_EQ(conflict.Resolution, croTrans1Wins);
    EXPECT_FALSE(conflict.ApplyToAll);
}

TEST_F(QuestionWordsTest, TheLastConflictOffersNoAnswerForAll)
{
    conflict.ConflictIndex = 3;
    EXPECT_THAT(ask({u"a", u"q"}), HasSubstr("That is no answer here."));
    conflict.ConflictIndex = 2;
    EXPECT_THAT(ask({u"q"}), HasSubstr("also settles the conflict after this\n"));
}

TEST_F(QuestionWordsTest, AMergeIsOfferedOnlyIfItIsAvailable)
{
    EXPECT_THAT(ask({u"m", u"q"}), HasSubstr("That is no answer here."));
    const mbtest::RegisteredMerge merge;
    mbtest::told.merged = u"Title\tQueen";
    const std::string shown = ask({u"m"});
    EXPECT_THAT(shown, HasSubstr("[m] field by field    you choose the value of each field\n"));
    EXPECT_EQ(ending, mb::idOk);
    EXPECT_EQ(conflict.Resolution, croMerge);
    EXPECT_EQ(conflict.ChangeMap1[ftTitle], u"Queen");
    conflict.side2.translator = nullptr; // its fields are unknown
    EXPECT_THAT(ask({u"q"}), Not(HasSubstr("[m]")));
}

TEST_F(QuestionWordsTest, AMergeNamesTheStoresLikeTheQuestion)
{
    const mbtest::RegisteredMerge merge;
    (void)ask({u"m"});
    EXPECT_EQ(mbtest::told.names, u"export.vcf\t/srv/Contacts");
}

TEST_F(QuestionWordsTest, AMergeIsNotOfferedForAllConflicts)
{
    const mbtest::RegisteredMerge merge;
    const std::string shown = ask({u"a", u"m", u"q"});
    EXPECT_THAT(shown, HasSubstr("That is no answer here."));
}

TEST_F(QuestionWordsTest, AFailedMergeIsReportedAndTheQuestionIsAskedAgain)
{
    const mbtest::RegisteredMerge merge;
    mbtest::told.shown = E_FAIL;
    const std::string shown = ask({u"m", u"1"});
    EXPECT_THAT(shown, HasSubstr("Error merging conflicts."));
    EXPECT_EQ(conflict.Resolution, croTrans1Wins);
}

TEST_F(QuestionWordsTest, BothNamesOfAContactAreShown)
{
    s.two().set(id2, ftFirstName, u"Augusta");
    EXPECT_THAT(ask({u"q"}), HasSubstr("Ada Lovelace in /srv/Contacts and Augusta Lovelace in export.vcf are one\n"
                                       "contact, changed in both stores (1 of 3)\n"));
    conflict.FirstMeeting = true;
    EXPECT_THAT(ask({u"q"}), HasSubstr("seem to be one\ncontact, with different values (1 of 3)\n"));
}

TEST_F(QuestionWordsTest, AContactThatIsNewOnBothSidesIsNotCalledChanged)
{
    conflict.FirstMeeting = true;
    EXPECT_THAT(ask({u"q"}), HasSubstr("Ada Lovelace is in both stores, with different values (1 of 3)\n"));
}

TEST_F(QuestionWordsTest, TheEndOfTheInputCancels)
{
    for (const auto& typed : std::vector<std::deque<std::u16string>>{{}, {u"a"}, {u"?"}, {u"x"}}) {
        (void)ask(typed);
        EXPECT_EQ(ending, mb::idCancel);
    }
}

TEST_F(QuestionWordsTest, AConflictOfFortyFieldsKeepsItsQuestionVisible)
{
    conflict.ChangeMap1.clear();
    conflict.ChangeMap2.clear();
    for (LONG type = 1; type <= 40; ++type) {
        conflict.ChangeMap1[type] = std::u16string(90, u'x');
        conflict.ChangeMap2[type] = std::u16string(90, u'y');
    }
    const std::string shown = ask({u"", u"+", u"q"});
    EXPECT_THAT(shown, HasSubstr("of 39; + and - turn the page."));
    for (std::size_t at = shown.find("\nAda"); at != std::string::npos;) {
        const std::size_t end = shown.find("help] ", at);
        EXPECT_LE(std::count(shown.begin() + static_cast<std::ptrdiff_t>(at), shown.begin() + static_cast<std::ptrdiff_t>(end), '\n'), 23)
            << shown.substr(at, end - at);
        at = shown.find("\nAda", end);
    }
    EXPECT_EQ(ending, mb::idCancel) << "Enter turned a page and chose no answer";
}

TEST_F(QuestionWordsTest, StoresWithEqualNamesHaveDifferentLabels)
{
    conflict.side1.database = u"/media/one/cards.vcf";
    conflict.side2.database = u"/media/two/cards.vcf";
    EXPECT_THAT(ask({u"q"}), HasSubstr("[1] one/cards.vcf     its values replace those in two/cards.vcf\n"));
    conflict.side1.database = conflict.side2.database = u"";
    EXPECT_THAT(ask({u"q"}), HasSubstr("1: First  2: Second\n"));
}

TEST_F(QuestionWordsTest, ADeletionShowsEachKeysEffectAndNoEmptyField)
{
    mb::DeleteConflictQuestion question;
    question.survivor = conflict.side1;
    question.deletedClsid = mbtest::fakeClass2;
    question.deletedDatabase = u"/media/phone/export.vcf";
    question.DeletedSide = idTrans2;
    question.ConflictIndex = question.ConflictTotal = 1;
    const std::string shown = askDeletion(question, {u""});
    EXPECT_THAT(shown, HasSubstr("\nAda Lovelace was changed in /srv/Contacts and deleted in export.vcf\n"));
    EXPECT_THAT(shown, HasSubstr("Boss\n"));
    EXPECT_THAT(shown, Not(HasSubstr("<Contact deleted>")));
    EXPECT_THAT(shown, HasSubstr("\nKeep or delete:\n"
                                 "  [k] keep    the contact is added to export.vcf again (Enter)\n"
                                 "  [d] delete  the contact is deleted in /srv/Contacts too\n"
                                 "  [q] stop    ends the run; no contact is written\n"));
    EXPECT_EQ(question.Resolution, croTrans1Wins);
    (void)askDeletion(question, {u"d"});
    EXPECT_EQ(question.Resolution, croTrans2Wins);
    question.ConflictTotal = 2;
    (void)askDeletion(question, {u"a", u"d"});
    EXPECT_TRUE(question.ApplyToAll);
    (void)askDeletion(question, {});
    EXPECT_EQ(ending, mb::idCancel);
}

TEST_F(QuestionWordsTest, TheConfirmationCountsBothStoresAndNamesTheDeletions)
{
    const std::u16string gone = s.two().add({{ftFirstName, u"Jo"}, {ftLastName, u"Doe"}}), fresh = u"n1", fresh2 = u"n2";
    plan(1, mb::PlannedChange, id2, &id1);
    plan(1, mb::PlannedNew, fresh, nullptr);
    plan(1, mb::PlannedNew, fresh2, nullptr);
    plan(1, mb::PlannedDelete, gone, nullptr); // deletes a record of side 2
    EXPECT_EQ(confirm({u""}), "\n/srv/Contacts: 1 changed, 2 new\n"
                              "/media/phone/export.vcf: 1 deleted (Jo Doe)\n\n"
                              "Write?\n"
                              "  [n] no       ends the run; no contact is written (Enter)\n"
                              "  [y] yes      writes this\n"
                              "  [d] details  shows each contact first\n"
                              "[Type n, y or d and Enter; Enter alone: n; ?: help] \n");
    EXPECT_EQ(ending, mb::idCancel) << "Enter alone writes nothing";
    (void)confirm({u"y"});
    EXPECT_EQ(ending, mb::idOk);
    EXPECT_THAT(confirm({u"r", u"n"}), HasSubstr("That is no answer here."));
    changes.AllowReSync = true;
    (void)confirm({u"r"});
    EXPECT_EQ(ending, mb::idReSync);
    (void)confirm({});
    EXPECT_EQ(ending, mb::idCancel);
}

TEST_F(QuestionWordsTest, ManyDeletionsAreNamedInPart)
{
    std::vector<std::u16string> ids;
    for (const char16_t* name : {u"A", u"B", u"", u"D", u"E"}) ids.push_back(s.two().add({{ftLastName, name}, {ftCompany, u"Firm"}}));
    for (const std::u16string& id : ids) plan(1, mb::PlannedDelete, id, nullptr);
    EXPECT_THAT(confirm({}), HasSubstr("5 deleted (A, B, Firm and 2 more)\n"));
}

TEST_F(QuestionWordsTest, TheDetailsListEachContactAndShowTheFieldsOfAChangedOne)
{
    const mb::FieldValueMap fields = values({{ftTitle, u"Chief"}});
    const std::u16string other = s.two().add({{ftFirstName, u"Jo"}, {ftLastName, u"Doe"}});
    plan(1, mb::PlannedChange, id2, &id1, &fields);
    plan(1, mb::PlannedDelete, other, nullptr);
    const std::string shown = confirm({u"d", u"2", u"1", u"b", u"s3", u"", u"n"});
    EXPECT_THAT(shown, HasSubstr("\nWhat would be written\n\n/srv/Contacts\n"
                                 "     Action  First Name  Last Name  Company\n"
                                 "  1  Change  Ada         Lovelace\n\n"
                                 "/media/phone/export.vcf\n"
                                 "     Action  First Name  Last Name  Company\n"
                                 "  2  Delete  Jo          Doe\n\n"
                                 "  [b] back  (Enter)\n"));
    EXPECT_THAT(shown, HasSubstr("Only a contact with the action \"Change\" has fields to compare.\n"));
    EXPECT_THAT(shown, HasSubstr("\nAda Lovelace in /srv/Contacts\n\n"
                                 "         Now   New\n"
                                 "  Title  Boss  Chief\n"));
    EXPECT_EQ(ending, mb::idCancel);
}

TEST_F(QuestionWordsTest, CategoriesAreCalledCategories)
{
    const std::u16string fresh = u"n1";
    plan(2, mb::PlannedNew, fresh, nullptr);
    changes.Categories = true;
    EXPECT_THAT(confirm({}), HasSubstr("\nCategories of /media/phone/export.vcf: 1 new\n"));
}

TEST_F(QuestionWordsTest, UnverifiedContactsAreCounted)
{
    const std::vector<std::u16string> unverified{u"x", u"y"};
    changes.UnverifiedRecords = &unverified;
    EXPECT_THAT(confirm({}), HasSubstr("\nLeft out, since not verified: 2 new\n"));
}

TEST_F(QuestionWordsTest, FieldsAreMappedByTheNumbersOfTheirRows)
{
    s.one().fields = {{ftFirstName, u"Given"}, {ftCity1, u"Town"}, {ftPhone, u"Phone"}, {ftBirthday, u"Born", 0, 0, dtDateTime}};
    s.two().fields = {{ftFirstName, u"First"}, {ftCity1, u"City"}, {ftFax, u"Fax"}};
    const std::string shown = mapFields({u"2", u"3", u"m4 3", u"q"});
    EXPECT_THAT(shown, HasSubstr("\nWhich field goes with which: [x] is copied, [ ] is not.\n"));
    EXPECT_THAT(shown, HasSubstr("  1  [x] Given"));
    EXPECT_THAT(shown, HasSubstr("  2  [ ] Town"));
    EXPECT_THAT(shown, HasSubstr("  3  [x] Phone"));
    EXPECT_THAT(shown, HasSubstr("Cannot map a field of type"));
    EXPECT_THAT(shown, HasSubstr("  [s] save     keeps the fields as they stand here (Enter)\n"
                                 "  [d] default  puts the fields that mean the same side by side\n"
                                 "  [q] cancel   leaves the map as it was\n"));
}

TEST_F(QuestionWordsTest, ARowWithoutAFieldOnOneSideCannotBeChecked)
{
    s.one().fields = {{ftFirstName, u"Given"}, {ftBirthday, u"Born", 0, 0, dtDateTime}};
    s.two().fields = {{ftFirstName, u"First"}};
    constexpr const char* refusal = "A row is mapped only if it has a field on each side, of the same type.\n";
    EXPECT_THAT(mapFields({u"2", u"q"}), HasSubstr(refusal));
    EXPECT_THAT(mapFields({u"1", u"q"}), Not(HasSubstr(refusal)));
}

TEST_F(QuestionWordsTest, EachQuestionHasItsOwnHelp)
{
    EXPECT_THAT(ask({u"?", u"", u"q"}), HasSubstr("The two stores hold different values"));
    mb::DeleteConflictQuestion deletion;
    deletion.survivor = conflict.side1;
    deletion.deletedClsid = mbtest::fakeClass2;
    deletion.DeletedSide = idTrans2;
    deletion.ConflictIndex = deletion.ConflictTotal = 1;
    EXPECT_THAT(askDeletion(deletion, {u"?", u"", u"q"}), HasSubstr("One store changed a contact that the other one deleted."));
    const std::u16string fresh = u"n1";
    plan(2, mb::PlannedNew, fresh, nullptr);
    EXPECT_THAT(confirm({u"?", u"", u"n"}), HasSubstr("This tells how many contacts of each store will be changed"));
    for (mbtest::FakeStore* store : {&s.one(), &s.two()}) store->fields = {{ftFirstName, u"Given"}}; // a list of one page
    EXPECT_THAT(mapFields({u"?", u"", u"q"}), HasSubstr("A row that is checked copies the field on its left"));
}
