// One window over one dialog: lays the controls out by the dialog's template, draws the model into them, and hands the user's acts in.
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
    // Modal, until the dialog has ended or the window cannot be had.
    void run(HINSTANCE templates, HWND parent);

private:
    static INT_PTR CALLBACK receive(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    INT_PTR take(UINT message, WPARAM wParam, LPARAM lParam);
    // No exception passes through the system's message loop: it ends the dialog and comes out of run().
    template <class F> void guard(F&& f) noexcept;
    // An act of the user: afterwards the window shows what became of it.
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
    bool drawing_ = false; // what controls report meanwhile is no act of the user
    std::exception_ptr failure_;
};

} // namespace mb
