// Help in the dialogs' windows: the help button and F1 open the dialog's topic in the help viewer, which is replaced by a fake.
#include "dialogs/CChangeDetailsDlg.h"
#include "dialogs/CConflictDlg.h"
#include "dialogs/CDeleteConflictDlg.h"
#include "dialogs/CDetailsDlg.h"
#include "dialogs/CFieldMappingDlg.h"
#include "HelpViewer.h"
#include "RegistryValues.h"
#include "WindowsFixture.h"

#include <optional>

namespace {

using mb::CConfirmationDlg;
using mb::CConflictDlg;
using mb::CDeleteConflictDlg;
using mb::CDetailsDlg;
using mb::CFieldMappingDlg;
using mb::idOk;
using mbtest::eventually;
using mbtest::HelpCall;
using mbtest::HelpViewer;
using mbtest::Window;
using mbtest::WindowUser;
using testing::IsEmpty;

constexpr UINT helpContext = 15; // HH_HELP_CONTEXT

class HelpTest : public mbtest::WindowsTest {
protected:
    static void setHelpFolder()
    {
        mbtest::setText(platform::Root::CurrentUser, u"Software\\Zorel\\Mirabook\\Main", u"Path", u"C:\\Mirabook\\mb.exe");
    }
    static std::vector<HelpCall> calls() { return HelpViewer::calls(); }
    static void pressF1(const Window& window)
    {
        SetForegroundWindow(window.handle());
        mbtest::typeKey(VK_F1);
    }
    // Asks for help by the button and by F1. Expects that both show the topic and that the dialog stays open.
    static void expectHelp(const Window& window, int button, unsigned topic)
    {
        window.press(button);
        eventually("help upon the button", [] { return calls().size() == 1; });
        pressF1(window);
        eventually("help upon F1", [] { return calls().size() == 2; });
        for (const HelpCall& call : calls()) {
            EXPECT_EQ(call.window, window.handle());
            EXPECT_EQ(call.file, L"C:\\Mirabook\\Locale\\en\\Mirabook.chm");
            EXPECT_EQ(call.command, helpContext);
            EXPECT_EQ(call.topic, topic);
        }
        EXPECT_TRUE(IsWindow(window.handle()) && IsWindowEnabled(window.handle()));
    }
    // Shows the dialog, calls expectHelp, chooses the radio if there is one, and presses OK.
    int showWithHelp(mb::Dialog& dialog, std::u16string_view caption, int button, unsigned topic, std::optional<int> radio = {})
    {
        return show(dialog, [=](WindowUser& actor) {
            const Window window = actor.window(caption);
            expectHelp(window, button, topic);
            if (radio) window.choose(*radio);
            window.press(idOk);
        });
    }
    HelpViewer viewer;
};

constexpr char16_t conflictCaption[] = u"Resolve Conflicting Changes";

} // namespace

TEST_F(HelpTest, IsShownForAConflict)
{
    setHelpFolder();
    mb::ConflictQuestion question = conflict();
    mb::CConflictDlg dialog(question);
    EXPECT_EQ(showWithHelp(dialog, conflictCaption, CConflictDlg::idHelp, 7006, CConflictDlg::idTrans2Wins), mb::idOk);
    EXPECT_EQ(question.Resolution, croTrans2Wins);
}

TEST_F(HelpTest, IsShownForAChangeAgainstADeletion)
{
    setHelpFolder();
    mb::DeleteConflictQuestion question = deleteConflict();
    mb::CDeleteConflictDlg dialog(question);
    EXPECT_EQ(
        showWithHelp(dialog, u"Resolve Contact's Change and Deletion", CDeleteConflictDlg::idHelp, 7007, CDeleteConflictDlg::idDelete),
        mb::idOk);
    EXPECT_EQ(question.Resolution, croTrans2Wins);
}

TEST_F(HelpTest, IsShownForTheSummary)
{
    setHelpFolder();
    const mb::PlannedChanges planned = changes();
    mb::CConfirmationDlg dialog(planned);
    EXPECT_EQ(showWithHelp(dialog, u"Confirm Changes", CConfirmationDlg::idHelp, 7005), mb::idOk);
}

TEST_F(HelpTest, IsShownForTheFieldMapping)
{
    setHelpFolder();
    s.makeMap();
    const WindowUser atTheWindow([](WindowUser& actor) {
        const Window window = actor.window(u"Edit Field Mapping");
        expectHelp(window, CFieldMappingDlg::idHelp, 7003);
        window.press(idOk);
    });
    EXPECT_EQ(s.maps()->ConfigureFieldMapping(nullptr, s.map(), VARIANT_TRUE), S_OK);
}

// Keys are processed in order: once the dialog has reacted to Return, it has also processed F1.
TEST_F(HelpTest, IsNotShownForDialogsWithoutTheButton)
{
    setHelpFolder();
    const mb::PlannedChanges planned = changes();
    mb::CDetailsDlg details(planned);
    EXPECT_EQ(show(details,
                   [&](WindowUser& actor) {
                       const Window window = actor.window(u"Details");
                       window.list(CDetailsDlg::idList1).clickRow(2);
                       pressF1(window);
                       window.press(CDetailsDlg::idViewChanges);
                       const Window contact = actor.window(u"Contact Changes");
                       pressF1(contact);
                       mbtest::typeKey(VK_RETURN);
                       eventually("the end of the inner window", [&] { return !IsWindow(contact.handle()); });
                       (void)actor.window(u"Details");
                       SetForegroundWindow(window.handle());
                       mbtest::typeKey(VK_ESCAPE);
                   }),
              mb::idCancel);
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(HelpTest, WithoutAHelpFolderNothingIsShownAndTheDialogStaysOpen)
{
    mb::ConflictQuestion question = conflict();
    mb::CConflictDlg dialog(question);
    EXPECT_EQ(show(dialog,
                   [&](WindowUser& actor) {
                       const Window window = actor.window(conflictCaption);
                       window.press(CConflictDlg::idHelp);
                       pressF1(window);
                       window.choose(CConflictDlg::idTrans2Wins);
                       mbtest::typeKey(VK_RETURN);
                   }),
              mb::idOk);
    EXPECT_EQ(question.Resolution, croTrans2Wins);
    EXPECT_THAT(calls(), IsEmpty());
}
