// A dialog without its window: it fills a model, takes the user's acts, and ends with a number. A front end draws the model and hands
// in the acts; an act on a control that is absent, hidden or disabled is no act.
#pragma once
#include "com.h"
#include "dialogs/DialogModel.h"
#include "dialogs/Question.h"
#include "ui.h"
#include <optional>

namespace mb {

inline constexpr int idOk = 1, idCancel = 2;

class Dialog {
public:
    Dialog() = default;
    Dialog(const Dialog&) = delete;
    Dialog& operator=(const Dialog&) = delete;
    virtual ~Dialog() = default;

    // Fills the model. A dialog that has nothing to ask ends here and is never shown.
    virtual void prepare() = 0;
    // The dialog in words, as it stands now; made anew after each act. Requires: prepare() was called. The answers act on this dialog.
    virtual Question question() = 0;

    // The user's acts.
    void press(int button);
    void close() { press(idCancel); } // the cross of the window, or the end of the input
    // In place of the user's acts: the dialog could not be shown to anybody. It ends as a closed one does.
    void closeUnanswered()
    {
        unanswered_ = true;
        close();
    }
    void choose(int radio);
    void check(int box, bool on);
    void select(int list, int row); // -1 takes the selection away
    void clickHeader(int list, int column);
    void checkRow(int list, int row, bool on);
    // False if the row cannot be dragged.
    bool beginDrag(int list, int row);
    void drop(int row); // -1 for no row: the drag ends and nothing moves

    [[nodiscard]] const DialogModel& model() const noexcept { return model_; }
    [[nodiscard]] std::optional<int> ending() const noexcept { return ending_; }
    // Whether a translator reported the user's cancel while the dialog was shown.
    [[nodiscard]] bool cancelledByTranslator() const noexcept { return cancelledByTranslator_; }
    // Whether there was nobody to show the dialog to.
    [[nodiscard]] bool unanswered() const noexcept { return unanswered_; }
    HWND window = nullptr; // set by the front end while it shows the dialog; owns messages and inner dialogs

protected:
    virtual void onPress(int button) = 0;
    virtual void onChoose(int) {}
    virtual void onSelect(int, int) {}
    virtual void onClickHeader(int, int) {}
    virtual void onCheckRow(int, int, bool) {}
    virtual bool onBeginDrag(int, int) { return false; }
    virtual void onDrop(int) {}
    void end(int value) { ending_ = value; }

    DialogModel model_;

private:
    void act(int button);
    Control* active(int id, ControlKind kind) noexcept;
    Control* activeList(int id, int row) noexcept;
    std::optional<int> ending_;
    bool cancelledByTranslator_ = false, unanswered_ = false;
};

// How dialogs reach the user.
class DialogFrontEnd {
public:
    virtual ~DialogFrontEnd() = default;
    // Shows a prepared dialog and hands in acts until it has ended.
    virtual void run(Dialog& dialog, HWND parent) = 0;
    virtual void tell(HWND parent, std::u16string_view text, std::u16string_view caption, platform::MessageKind kind)
    {
        platform::showMessage(parent, text, caption, kind);
    }
};

// Takes the place of the platform's own front end until it is taken away with null; the caller keeps it alive, and gets the former.
DialogFrontEnd* SetFrontEnd(DialogFrontEnd* frontEnd) noexcept;
DialogFrontEnd& FrontEnd();

// Prepares and shows, and gives the ending: cancel where there is nobody to ask. Throws Cancelled if a translator that the dialog read
// reported the user's cancel; the dialog, and each dialog that opened it, has ended then.
int ShowDialog(Dialog& dialog, HWND parent);
// A message under the caption that all of the system's messages have.
void ShowWarning(HWND parent, std::u16string_view text);

} // namespace mb
