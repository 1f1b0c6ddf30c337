// The dialogs in their windows: the controls show the model, and user actions reach the dialog.
#include "dialogs/CChangeDetailsDlg.h"
#include "dialogs/CConflictDlg.h"
#include "dialogs/CDeleteConflictDlg.h"
#include "dialogs/CDetailsDlg.h"
#include "WindowsFixture.h"

#include <algorithm>
#include <stdexcept>

namespace {

using mb::CChangeDetailsDlg;
using mb::CConfirmationDlg;
using mb::CConflictDlg;
using mb::CDeleteConflictDlg;
using mb::CDetailsDlg;
using mb::idCancel;
using mb::idOk;
using mb::idReSync;
using mbtest::eventually;
using mbtest::List;
using mbtest::Window;
using mbtest::WindowUser;
using testing::ElementsAre;

class DialogWindowTest : public mbtest::WindowsTest {
protected:
    // Expects that the window has each control of the model with the right kind and state.
    static void expectShown(const mb::Dialog& dialog, const Window& window)
    {
        EXPECT_EQ(window.caption(), dialog.model().caption);
        EXPECT_EQ(window.focus(), dialog.model().focus);
        for (const mb::Control& control : dialog.model().controls()) {
            SCOPED_TRACE(control.id);
            EXPECT_EQ(window.className(control.id), classOf(control.kind));
            EXPECT_EQ(window.isEnabled(control.id), control.enabled);
            EXPECT_EQ(window.isVisible(control.id), control.visible);
            if (control.kind == mb::ControlKind::List)
                expectListShown(control, window.list(control.id));
            else
                EXPECT_EQ(window.text(control.id), control.text);
            if (control.kind == mb::ControlKind::Radio || control.kind == mb::ControlKind::CheckBox) {
                EXPECT_EQ(window.isChecked(control.id), control.checked);
            }
        }
    }
    static void expectListShown(const mb::Control& control, const List& list)
    {
        std::vector<std::u16string> headers;
        for (const mb::ListColumn& column : control.columns) headers.push_back(column.header);
        EXPECT_EQ(list.headers(), headers);
        EXPECT_TRUE(list.extendedStyle() & LVS_EX_FULLROWSELECT);
        EXPECT_EQ((list.extendedStyle() & LVS_EX_CHECKBOXES) != 0, control.checkBoxes);
        expectColumnsInSight(list);
        ASSERT_EQ(static_cast<std::size_t>(list.rowCount()), control.rows.size());
        for (int i = 0; i < list.rowCount(); ++i) EXPECT_EQ(list.row(i), control.rows[static_cast<std::size_t>(i)].cells);
    }
    // Expects that texts are cut only if the list has no room for all columns, and then only in the widest columns.
    static void expectColumnsInSight(const List& list)
    {
        const std::vector<int> widths = list.widths();
        const int widest = *std::ranges::max_element(widths);
        int total = 0;
        bool cut = false;
        for (std::size_t i = 0; i < widths.size(); ++i) {
            total += widths[i];
            const bool whole = widths[i] >= list.widthWanted(static_cast<int>(i));
            EXPECT_TRUE(whole || widths[i] >= widest - 1) << "column " << i << " is cut although another column is wider";
            cut = cut || !whole;
        }
        EXPECT_LE(total, clientWidth(list));
        EXPECT_TRUE(!cut || total >= clientWidth(list) - GetSystemMetrics(SM_CXVSCROLL) - static_cast<int>(widths.size()))
            << "a text is cut although the list has room";
    }
    static int clientWidth(const List& list)
    {
        RECT client{};
        GetClientRect(list.window(), &client);
        return static_cast<int>(client.right);
    }
    static std::u16string classOf(mb::ControlKind kind)
    {
        switch (kind) {
        case mb::ControlKind::Text: return u"Static";
        case mb::ControlKind::Edit: return u"Edit";
        case mb::ControlKind::List: return u"SysListView32";
        default: return u"Button";
        }
    }
};

} // namespace

TEST_F(DialogWindowTest, AConflictIsShownAndAnsweredByARadio)
{
    mb::ConflictQuestion question = conflict();
    mb::CConflictDlg dialog(question);
    EXPECT_EQ(show(dialog,
                   [&](WindowUser& actor) {
                       const Window window = actor.window(u"Resolve Conflicting Changes");
                       expectShown(dialog, window);
                       EXPECT_THAT(window.tabOrder(),
                                   ElementsAre(CConflictDlg::idMerge, idOk, idCancel, CConflictDlg::idHelp, CConflictDlg::idList))
                           << "the box that applies the answer to all is disabled";
                       window.keepPicture("conflict");
                       window.choose(CConflictDlg::idTrans2Wins);
                       EXPECT_TRUE(window.isChecked(CConflictDlg::idTrans2Wins));
                       EXPECT_FALSE(window.isChecked(CConflictDlg::idMerge));
                       EXPECT_TRUE(window.isEnabled(CConflictDlg::idApplyToAll));
                       window.choose(CConflictDlg::idApplyToAll);
                       EXPECT_TRUE(window.isChecked(CConflictDlg::idApplyToAll));
                       window.press(idOk);
                   }),
              mb::idOk);
    EXPECT_EQ(question.Resolution, croTrans2Wins);
    EXPECT_TRUE(question.ApplyToAll);
}

TEST_F(DialogWindowTest, TheManualChoiceDisablesApplyToAll)
{
    mb::ConflictQuestion question = conflict();
    question.Resolution = croTrans1Wins;
    question.ApplyToAll = true;
    mb::CConflictDlg dialog(question);
    EXPECT_EQ(show(dialog,
                   [&](WindowUser& actor) {
                       const Window window = actor.window(u"Resolve Conflicting Changes");
                       expectShown(dialog, window);
                       window.choose(CConflictDlg::idMerge);
                       EXPECT_FALSE(window.isEnabled(CConflictDlg::idApplyToAll));
                       window.choose(CConflictDlg::idDuplicate);
                       EXPECT_TRUE(window.isEnabled(CConflictDlg::idApplyToAll));
                       EXPECT_TRUE(window.isChecked(CConflictDlg::idApplyToAll));
                       window.press(idCancel);
                   }),
              mb::idCancel);
}

TEST_F(DialogWindowTest, AFailedMergeIsReportedAndTheDialogStaysOpen)
{
    mb::ConflictQuestion question = conflict();
    mb::CConflictDlg dialog(question);
    EXPECT_EQ(show(dialog,
                   [&](WindowUser& actor) {
                       const Window window = actor.window(u"Resolve Conflicting Changes");
                       window.press(idOk);
                       EXPECT_THAT(actor.answerMessage(), mbtest::Begins(u"Error merging conflicts. Error code: 0x"));
                       eventually("the dialog again", [&] { return IsWindowEnabled(window.handle()) != FALSE; });
                       window.press(idCancel);
                   }),
              mb::idCancel);
}

TEST_F(DialogWindowTest, TheCloseButtonOfTheWindowCancels)
{
    mb::DeleteConflictQuestion question = deleteConflict();
    mb::CDeleteConflictDlg dialog(question);
    EXPECT_EQ(show(dialog, [](WindowUser& actor) { actor.window(u"Resolve Contact's Change and Deletion").close(); }), mb::idCancel);
}

TEST_F(DialogWindowTest, AChangeAgainstADeletionIsShownAndAnswered)
{
    mb::DeleteConflictQuestion question = deleteConflict();
    mb::CDeleteConflictDlg dialog(question);
    EXPECT_EQ(show(dialog,
                   [&](WindowUser& actor) {
                       const Window window = actor.window(u"Resolve Contact's Change and Deletion");
                       expectShown(dialog, window);
                       EXPECT_EQ(window.focus(), CDeleteConflictDlg::idAdd);
                       EXPECT_FALSE(window.has(CConflictDlg::idMerge) || window.has(CConflictDlg::idDuplicate));
                       window.keepPicture("delete-conflict");
                       window.choose(CDeleteConflictDlg::idDelete);
                       window.press(idOk);
                   }),
              mb::idOk);
    EXPECT_EQ(question.Resolution, croTrans2Wins) << "the side that deleted the contact wins";
}

TEST_F(DialogWindowTest, TheSummaryIsShownAndConfirmed)
{
    const mb::PlannedChanges planned = changes();
    mb::CConfirmationDlg dialog(planned);
    EXPECT_EQ(show(dialog,
                   [&](WindowUser& actor) {
                       const Window window = actor.window(u"Confirm Changes");
                       expectShown(dialog, window);
                       EXPECT_THAT(window.tabOrder(), ElementsAre(idOk, idCancel, CConfirmationDlg::idHelp, CConfirmationDlg::idSummary,
                                                                  CConfirmationDlg::idViewDetails))
                           << "Re-Sync is disabled";
                       window.keepPicture("confirmation");
                       window.press(idReSync);
                       window.press(idOk);
                   }),
              mb::idOk);
}

TEST_F(DialogWindowTest, ReSyncEndsTheSummaryIfItIsAllowed)
{
    mb::PlannedChanges planned = changes();
    planned.AllowReSync = true;
    mb::CConfirmationDlg dialog(planned);
    EXPECT_EQ(show(dialog, [](WindowUser& actor) { actor.window(u"Confirm Changes").press(idReSync); }), mb::idReSync);
}

TEST_F(DialogWindowTest, DetailsAreSortedByHeaderAndOnlyOneListHasASelection)
{
    const mb::PlannedChanges planned = changes();
    mb::CDetailsDlg dialog(planned);
    EXPECT_EQ(show(dialog,
                   [&](WindowUser& actor) {
                       const Window window = actor.window(u"Details");
                       expectShown(dialog, window);
                       const List first = window.list(CDetailsDlg::idList1), second = window.list(CDetailsDlg::idList2);
                       EXPECT_EQ(first.arrows(), "^   ");
                       const auto widths = first.widths();
                       first.clickHeader(1);
                       EXPECT_EQ(first.arrows(), " ^  ");
                       EXPECT_THAT(first.column(1), ElementsAre(u"amy", u"Augusta", u"Gone", u"Zoe"));
                       first.clickHeader(1);
                       EXPECT_EQ(first.arrows(), " v  ");
                       EXPECT_THAT(first.column(1), ElementsAre(u"Zoe", u"Gone", u"Augusta", u"amy"));
                       EXPECT_EQ(first.widths(), widths);
                       EXPECT_EQ(second.arrows(), "^   ") << "each list is sorted separately";
                       second.clickRow(0);
                       first.clickRow(2);
                       EXPECT_EQ(first.selection(), 2);
                       EXPECT_EQ(second.selection(), -1);
                       EXPECT_TRUE(window.isEnabled(CDetailsDlg::idViewChanges)) << "a change";
                       first.clickHeader(2);
                       EXPECT_EQ(first.cell(first.selection(), 1), u"Augusta") << "the selection stays on its contact";
                       window.keepPicture("details");
                       second.clickRow(0);
                       EXPECT_EQ(first.selection(), -1);
                       EXPECT_FALSE(window.isEnabled(CDetailsDlg::idViewChanges)) << "a deletion";
                       window.press(idOk);
                   }),
              mb::idOk);
}

TEST_F(DialogWindowTest, TheChangesOfAContactOpenFromTheSummary)
{
    const mb::PlannedChanges planned = changes();
    mb::CConfirmationDlg dialog(planned);
    EXPECT_EQ(show(dialog,
                   [&](WindowUser& actor) {
                       const Window summary = actor.window(u"Confirm Changes");
                       summary.press(CConfirmationDlg::idViewDetails);
                       const Window details = actor.window(u"Details");
                       EXPECT_FALSE(IsWindowEnabled(summary.handle())) << "disabled while the inner window is open";
                       details.list(CDetailsDlg::idList1).clickRow(2);
                       details.press(CDetailsDlg::idViewChanges);
                       const Window contact = actor.window(u"Contact Changes");
                       EXPECT_THAT(contact.text(CChangeDetailsDlg::idMessage), mbtest::Holds(u"\"Ada Lovelace\" in First"));
                       EXPECT_THAT(contact.list(CChangeDetailsDlg::idList).headers(),
                                   ElementsAre(u"Field Name", u"Current Value", u"New Value"));
                       EXPECT_THAT(contact.list(CChangeDetailsDlg::idList).column(2), ElementsAre(u"Augusta", u"Rome"));
                       EXPECT_FALSE(contact.isVisible(2));
                       contact.keepPicture("change-details");
                       contact.press(idOk);
                       (void)actor.window(u"Details");
                       details.close();
                       (void)actor.window(u"Confirm Changes");
                       summary.press(idOk);
                   }),
              mb::idOk);
}

TEST_F(DialogWindowTest, KeysChooseAndPress)
{
    mb::ConflictQuestion question = conflict();
    mb::CConflictDlg dialog(question);
    EXPECT_EQ(show(dialog,
                   [&](WindowUser& actor) {
                       const Window window = actor.window(u"Resolve Conflicting Changes");
                       SetForegroundWindow(window.handle());
                       mbtest::typeKey('D', true); // Create a &duplicate contact
                       eventually("the duplicate chosen", [&] { return window.isChecked(CConflictDlg::idDuplicate); });
                       mbtest::typeKey(VK_DOWN);
                       eventually("the next radio chosen", [&] { return window.isChecked(CConflictDlg::idTrans1Wins); });
                       mbtest::typeKey(VK_TAB);
                       eventually("the focus on the box", [&] { return window.focus() == CConflictDlg::idApplyToAll; });
                       mbtest::typeKey(VK_SPACE);
                       eventually("the box checked", [&] { return window.isChecked(CConflictDlg::idApplyToAll); });
                       mbtest::typeKey(VK_RETURN);
                   }),
              mb::idOk);
    EXPECT_EQ(question.Resolution, croTrans1Wins);
    EXPECT_TRUE(question.ApplyToAll);
}

TEST_F(DialogWindowTest, EscapeCancels)
{
    const mb::PlannedChanges planned = changes();
    mb::CDetailsDlg dialog(planned);
    EXPECT_EQ(show(dialog,
                   [&](WindowUser& actor) {
                       SetForegroundWindow(actor.window(u"Details").handle());
                       mbtest::typeKey(VK_ESCAPE);
                   }),
              mb::idCancel);
}

TEST_F(DialogWindowTest, NoValueDisturbsTheWindow)
{
    mb::ConflictQuestion question = conflict();
    question.ChangeMap1 = values({{ftCity1, u"a\u202Eb\tc\x1b[2J"}, {ftCompany, std::u16string(10000, u'\u6f22')}});
    question.ChangeMap2 = values({{ftCity1, u"\u05e9\u05dc\u05d5\u05dd (world)"}, {ftCompany, u"A & B"}});
    s.one().set(id1, ftLastName, u"R&D \u202Eevil");
    mb::CConflictDlg dialog(question);
    (void)show(dialog, [&](WindowUser& actor) {
        const Window window = actor.window(u"Resolve Conflicting Changes");
        EXPECT_THAT(window.text(CConflictDlg::idMessage), mbtest::Holds(u"\"Ada R&D \uFFFDevil\""));
        EXPECT_TRUE(GetWindowLongPtrW(window.part(CConflictDlg::idMessage), GWL_STYLE) & SS_NOPREFIX) << "an & is shown as it is";
        EXPECT_THAT(window.list(CConflictDlg::idList).column(1),
                    ElementsAre(std::u16string(100, u'\u6f22') + u"...", u"a\uFFFDb c\uFFFD[2J"));
        EXPECT_THAT(window.list(CConflictDlg::idList).column(2), ElementsAre(u"A & B", u"\u05e9\u05dc\u05d5\u05dd (world)"));
        window.keepPicture("conflict-odd-texts");
        window.press(idCancel);
    });
}

TEST_F(DialogWindowTest, NamesOf10000CharactersAreShownAsFarAsTheyFit)
{
    s.one().set(id1, ftFirstName, std::u16string(258, u'x') + u"\U0001F600" + std::u16string(9740, u'x'));
    const mb::PlannedChanges planned = changes();
    mb::CDetailsDlg dialog(planned);
    s.two().set(id2, ftFirstName, std::u16string(258, u'x') + u"\U0001F600" + std::u16string(9740, u'x'));
    EXPECT_EQ(show(dialog,
                   [&](WindowUser& actor) {
                       const Window window = actor.window(u"Details");
                       EXPECT_EQ(window.list(CDetailsDlg::idList1).cell(2, 1), std::u16string(258, u'x'))
                           << "a surrogate pair is not split";
                       window.list(CDetailsDlg::idList1).clickRow(2);
                       window.press(CDetailsDlg::idViewChanges);
                       actor.window(u"Contact Changes").press(idOk);
                       (void)actor.window(u"Details");
                       window.press(idOk);
                   }),
              mb::idOk);
}

TEST_F(DialogWindowTest, AListOf10000RowsOpensAtOnce)
{
    const mb::PlannedChanges base = changes();
    mb::PlannedChanges planned = base;
    std::vector<mb::PlannedTask> many(10000, base.side1.tasks[0]);
    many.push_back(base.side1.tasks.back()); // the deletion
    planned.side1.tasks = many;
    mb::CDetailsDlg dialog(planned);
    EXPECT_EQ(show(dialog,
                   [&](WindowUser& actor) {
                       const Window window = actor.window(u"Details");
                       EXPECT_EQ(window.list(CDetailsDlg::idList1).rowCount(), 10001);
                       window.list(CDetailsDlg::idList1).clickHeader(2);
                       EXPECT_EQ(window.list(CDetailsDlg::idList1).cell(0, 2), u"Adams");
                       window.press(idOk);
                   }),
              mb::idOk);
}

TEST_F(DialogWindowTest, ALargerWindowShowsMoreOfItsLists)
{
    mb::ConflictQuestion question = conflict();
    mb::CConflictDlg dialog(question);
    EXPECT_EQ(show(dialog,
                   [&](WindowUser& actor) {
                       const Window window = actor.window(u"Resolve Conflicting Changes");
                       const List list = window.list(CConflictDlg::idList);
                       const auto placeOf = [&](int id) {
                           RECT rect{};
                           GetWindowRect(window.part(id), &rect);
                           MapWindowPoints(nullptr, window.handle(), reinterpret_cast<POINT*>(&rect), 2);
                           return rect;
                       };
                       RECT frame{};
                       GetWindowRect(window.handle(), &frame);
                       const RECT listBefore = placeOf(CConflictDlg::idList), radioBefore = placeOf(CConflictDlg::idMerge),
                                  okBefore = placeOf(idOk);
                       const int cutBefore = list.widths()[2];
                       SetWindowPos(window.handle(), nullptr, 0, 0, static_cast<int>(frame.right - frame.left) + 300,
                                    static_cast<int>(frame.bottom - frame.top) + 90, SWP_NOZORDER | SWP_NOMOVE);
                       EXPECT_EQ(placeOf(CConflictDlg::idList).right, listBefore.right + 300);
                       EXPECT_EQ(placeOf(CConflictDlg::idList).bottom, listBefore.bottom + 90);
                       EXPECT_EQ(placeOf(CConflictDlg::idMerge).top, radioBefore.top + 90);
                       EXPECT_EQ(placeOf(CConflictDlg::idMerge).left, radioBefore.left);
                       EXPECT_EQ(placeOf(idOk).left, okBefore.left + 300);
                       EXPECT_EQ(placeOf(idOk).top, okBefore.top + 90);
                       EXPECT_GT(list.widths()[2], cutBefore);
                       expectColumnsInSight(list);
                       window.keepPicture("conflict-enlarged");
                       ListView_SetColumnWidth(list.window(), 1, 50);
                       SetWindowPos(window.handle(), nullptr, 0, 0, 10, 10, SWP_NOZORDER | SWP_NOMOVE);
                       EXPECT_EQ(placeOf(CConflictDlg::idList).right, listBefore.right) << "the window is never smaller than its template";
                       EXPECT_EQ(list.widths()[1], 50) << "a column keeps the width that the user set";
                       window.close();
                   }),
              mb::idCancel);
}

TEST_F(DialogWindowTest, TwoListsShareTheHeightThatIsAdded)
{
    const mb::PlannedChanges planned = changes();
    mb::CDetailsDlg dialog(planned);
    EXPECT_EQ(show(dialog,
                   [&](WindowUser& actor) {
                       const Window window = actor.window(u"Details");
                       const auto heightOf = [&](int id) {
                           RECT rect{};
                           GetWindowRect(window.part(id), &rect);
                           return static_cast<int>(rect.bottom - rect.top);
                       };
                       const int first = heightOf(CDetailsDlg::idList1), second = heightOf(CDetailsDlg::idList2);
                       RECT frame{};
                       GetWindowRect(window.handle(), &frame);
                       SetWindowPos(window.handle(), nullptr, 0, 0, static_cast<int>(frame.right - frame.left),
                                    static_cast<int>(frame.bottom - frame.top) + 100, SWP_NOZORDER | SWP_NOMOVE);
                       EXPECT_EQ(heightOf(CDetailsDlg::idList1), first + 50);
                       EXPECT_EQ(heightOf(CDetailsDlg::idList2), second + 50);
                       window.press(idOk);
                   }),
              mb::idOk);
}

namespace {

class FailingDialog final : public mb::Dialog {
public:
    explicit FailingDialog(mb::DialogLayout layout) : layout_(layout) {}
    void prepare() override
    {
        model_.layout = layout_;
        model_.addButton(mb::idOk, u"OK", mb::ButtonRole::Default);
    }
    mb::Question question() override { return {}; }

private:
    void onPress(int button) override
    {
        if (button == mb::idOk) throw std::runtime_error("a failing act");
        end(button);
    }
    mb::DialogLayout layout_;
};

} // namespace

TEST_F(DialogWindowTest, AnExceptionInAnActionClosesTheWindowAndReachesTheCaller)
{
    FailingDialog dialog(mb::DialogLayout::Confirmation);
    EXPECT_THROW(show(dialog, [](WindowUser& actor) { actor.window(u"Confirm Changes").press(idOk); }), std::runtime_error);
}

TEST_F(DialogWindowTest, ADialogWhoseWindowCannotBeCreatedIsCancelled)
{
    FailingDialog dialog(mb::DialogLayout::None);
    EXPECT_EQ(mb::ShowDialog(dialog, nullptr), mb::idCancel);
}

TEST_F(DialogWindowTest, ADestroyedParentIsIgnored)
{
    const mb::PlannedChanges planned = changes();
    mb::CDetailsDlg dialog(planned);
    const WindowUser atTheWindow([](WindowUser& actor) { actor.window(u"Details").press(idOk); });
    EXPECT_EQ(mb::ShowDialog(dialog, reinterpret_cast<HWND>(0x12345678)), mb::idOk);
}
