// The logic of a dialog, without a window: it fills a model, reacts to user actions and ends with a number. A front end draws the model and
// passes the actions on. An action on a missing, hidden or disabled control is ignored.
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

    // Fills the model. A dialog that has nothing to ask ends here and is not shown.
    virtual void prepare() = 0;
    // Returns the dialog's present state as a question for the terminal; out of date after a user action. Its answers act on this dialog,
    // which must outlive it. Requires: prepare() was called.
    virtual Question question() = 0;

    // User actions.
    void press(int button);
    void close() { press(idCancel); } // the window's close button, or the end of the input
    // Called by the front end in place of user actions if nobody can be asked. Ends the dialog like close().
    void closeUnanswered()
    {
        unanswered_ = true;
        close();
    }
    void choose(int radio);
    void check(int box, bool on);
    void select(int list, int row); // -1 clears the selection
    void clickHeader(int list, int column);
    void checkRow(int list, int row, bool on);
    // Returns false if the row cannot be dragged.
    bool beginDrag(int list, int row);
    void drop(int row); // -1 ends the drag without a move

    [[nodiscard]] const DialogModel& model() const noexcept { return model_; }
    [[nodiscard]] std::optional<int> ending() const noexcept { return ending_; }
    // Whether a translator reported the user's cancel while the dialog was shown.
    [[nodiscard]] bool cancelledByTranslator() const noexcept { return cancelledByTranslator_; }
    // Whether nobody could be asked.
    [[nodiscard]] bool unanswered() const noexcept { return unanswered_; }
    HWND window = nullptr; // the parent of messages and inner dialogs; set by the front end while it shows the dialog

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
    // Shows a prepared dialog and passes user actions to it until it has ended.
    virtual void run(Dialog& dialog, HWND parent) = 0;
    virtual void tell(HWND parent, std::u16string_view text, std::u16string_view caption, platform::MessageKind kind)
    {
        platform::showMessage(parent, text, caption, kind);
    }
};

// Replaces the platform's front end; null restores it. Returns the former replacement. Requires: `frontEnd` lives until it is replaced.
DialogFrontEnd* SetFrontEnd(DialogFrontEnd* frontEnd) noexcept;
DialogFrontEnd& FrontEnd();

// Prepares and shows a dialog. Returns its ending, or idCancel if nobody can be asked. Throws Cancelled if a translator reported the user's
// cancel; this also ends each dialog that opened this one.
int ShowDialog(Dialog& dialog, HWND parent);
// Shows a warning under the caption of the engine's messages.
void ShowWarning(HWND parent, std::u16string_view text);

} // namespace mb
