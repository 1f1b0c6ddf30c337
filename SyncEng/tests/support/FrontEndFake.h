// A front end that plays the user: runs the next step of a script on each dialog that is shown, and records captions and messages.
#pragma once
#include "dialogs/Dialog.h"
#include <deque>
#include <functional>
#include <string>
#include <vector>

namespace mbtest {

class FrontEndFake final : public mb::DialogFrontEnd {
public:
    FrontEndFake() : former_(mb::SetFrontEnd(this)) {}
    FrontEndFake(const FrontEndFake&) = delete;
    FrontEndFake& operator=(const FrontEndFake&) = delete;
    ~FrontEndFake() override { mb::SetFrontEnd(former_); }

    // `script` has one step for each dialog. Without a step, the button `byDefault` is pressed. A dialog that is still open is then closed.
    int byDefault = mb::idCancel;
    bool nobody = false; // if true, every dialog is closed unanswered
    std::deque<std::function<void(mb::Dialog&)>> script;
    std::vector<std::u16string> captions, messages;

    void press(int button)
    {
        script.emplace_back([button](mb::Dialog& dialog) { dialog.press(button); });
    }
    void run(mb::Dialog& dialog, HWND) override
    {
        captions.push_back(dialog.model().caption);
        if (nobody) return dialog.closeUnanswered();
        if (!script.empty()) {
            const auto act = script.front();
            script.pop_front();
            act(dialog);
        } else {
            dialog.press(byDefault);
        }
        dialog.close();
    }
    void tell(HWND, std::u16string_view text, std::u16string_view caption, platform::MessageKind) override
    {
        messages.emplace_back(text);
        messageCaption = caption;
    }
    std::u16string messageCaption;

private:
    mb::DialogFrontEnd* former_;
};

} // namespace mbtest
