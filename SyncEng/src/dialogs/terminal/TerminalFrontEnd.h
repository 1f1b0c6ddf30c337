// Dialogs as questions: each is asked in words, and the key that the user types acts on the dialog. The end of the input closes the
// dialog as the cross of a window does: a cancel. No text of a contact can steer the terminal.
#pragma once
#include "console.h"
#include "dialogs/Dialog.h"
#include <functional>
#include <memory>

namespace mb {

class TerminalFrontEnd final : public DialogFrontEnd {
public:
    using OpenConsole = std::function<std::unique_ptr<platform::Console>()>;

    // Opened at the first dialog. None means that nobody answers: every dialog is then closed unanswered.
    explicit TerminalFrontEnd(OpenConsole open) : open_(std::move(open)) {}
    void run(Dialog& dialog, HWND parent) override;
    void tell(HWND parent, std::u16string_view text, std::u16string_view caption, platform::MessageKind kind) override;

private:
    OpenConsole open_;
    std::unique_ptr<platform::Console> console_; // while a dialog is shown
};

} // namespace mb
