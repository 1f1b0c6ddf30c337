// Shows dialogs as questions in the terminal; the key that the user types chooses an answer. The end of the input cancels the dialog, like
// a window's close button. Texts of contacts cannot control the terminal.
#pragma once
#include "console.h"
#include "dialogs/Dialog.h"
#include <functional>
#include <memory>

namespace mb {

class TerminalFrontEnd final : public DialogFrontEnd {
public:
    using OpenConsole = std::function<std::unique_ptr<platform::Console>()>;

    // `open` is called for each outermost dialog. If it returns null, the dialog is closed unanswered.
    explicit TerminalFrontEnd(OpenConsole open) : open_(std::move(open)) {}
    void run(Dialog& dialog, HWND parent) override;
    void tell(HWND parent, std::u16string_view text, std::u16string_view caption, platform::MessageKind kind) override;

private:
    OpenConsole open_;
    std::unique_ptr<platform::Console> console_; // while a dialog is shown
};

} // namespace mb
