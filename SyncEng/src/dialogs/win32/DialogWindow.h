// The window of a dialog: lays the controls out by the dialog's template, draws the model into them, and passes user actions to the dialog.
#pragma once
#include "dialogs/Dialog.h"
#include "dialogs/win32/ListControl.h"
#include "dialogs/win32/RowDrag.h"
#include "win32/window_layout.h"
#include <exception>
#include <memory>
#include <optional>
#include <vector>

namespace mb {

class DialogWindow {
public:
    explicit DialogWindow(Dialog& dialog) noexcept : dialog_(dialog) {}
    // Shows the window until the dialog has ended. If the window cannot be created, the dialog has not ended on return.
    void run(HINSTANCE templates, HWND parent);

private:
    static INT_PTR CALLBACK receive(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    INT_PTR take(UINT message, WPARAM wParam, LPARAM lParam);
    // No exception may pass through the system's message loop: an exception ends the dialog, and run() throws it again.
    template <class F> void guard(F&& f) noexcept;
    // Performs a user action and redraws the window.
    template <class F> void act(F&& f) noexcept;

    void open();
    void resize();
    void draw();
    void drawControl(const Control& control);
    void command(int id, int notification);
    INT_PTR notify(NMHDR& header);
    void itemChanged(const ListControl& list, const NMLISTVIEW& change);
    void beginDrag(const ListControl& list, const NMLISTVIEW& start);
    void endDrag(bool dropped, POINT at);
    INT_PTR takeMouse(UINT message, WPARAM wParam, LPARAM lParam);
    void pressHelp();

    Dialog& dialog_;
    HWND window_ = nullptr;
    std::vector<std::unique_ptr<ListControl>> lists_;
    std::unique_ptr<RowDrag> drag_;
    std::optional<platform::WindowLayout> layout_;
    bool drawing_ = false; // while true, notifications of the controls are not user actions
    std::exception_ptr failure_;
};

} // namespace mb
