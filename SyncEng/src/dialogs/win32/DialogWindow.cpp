#include "dialogs/win32/DialogWindow.h"

#include "console_text.h"
#include <algorithm>
#include <utility>
#include <windowsx.h>

namespace mb {
namespace {

void setText(HWND window, const std::u16string& text)
{
    const std::wstring wanted(text.begin(), text.end());
    std::wstring shown(static_cast<std::size_t>(GetWindowTextLengthW(window)) + 1, L'\0');
    shown.resize(static_cast<std::size_t>(GetWindowTextW(window, shown.data(), static_cast<int>(shown.size()))));
    if (shown != wanted) SetWindowTextW(window, wanted.c_str());
}

// Keeps line ends and leading tabs, which the dialog wrote. The rest of a line may come from a contact.
std::u16string harmlessLines(std::u16string_view text)
{
    std::u16string lines;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(u"\r\n"), text.size()), tabs = std::min(text.find_first_not_of(u'\t'), end);
        lines.append(tabs, u'\t') += platform::harmless(text.substr(tabs, end - tabs));
        if (end < text.size()) lines += u"\r\n";
        text.remove_prefix(std::min(end + 2, text.size()));
    }
    return lines;
}

bool isChecked(HWND dialog, int id) { return IsDlgButtonChecked(dialog, id) == BST_CHECKED; }

} // namespace

void DialogWindow::run(HINSTANCE templates, HWND parent)
{
    DialogBoxParamW(templates, MAKEINTRESOURCEW(static_cast<int>(dialog_.model().layout)), parent, receive, reinterpret_cast<LPARAM>(this));
    if (failure_) std::rethrow_exception(failure_);
}

INT_PTR CALLBACK DialogWindow::receive(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    if (message == WM_INITDIALOG) {
        SetWindowLongPtrW(window, DWLP_USER, lParam);
        reinterpret_cast<DialogWindow*>(lParam)->window_ = window;
    }
    auto* const self = reinterpret_cast<DialogWindow*>(GetWindowLongPtrW(window, DWLP_USER));
    return self ? self->take(message, wParam, lParam) : FALSE;
}

template <class F> void DialogWindow::guard(F&& f) noexcept
{
    try {
        f();
    } catch (...) {
        failure_ = std::current_exception();
    }
    if (failure_ || dialog_.ending()) EndDialog(window_, 0);
}

template <class F> void DialogWindow::act(F&& f) noexcept
{
    guard([&] {
        f();
        if (!dialog_.ending()) draw();
    });
}

INT_PTR DialogWindow::take(UINT message, WPARAM wParam, LPARAM lParam)
{
    switch (message) {
    case WM_INITDIALOG: guard([&] { open(); }); return FALSE; // open() has set the focus
    case WM_COMMAND: command(LOWORD(wParam), HIWORD(wParam)); return TRUE;
    case WM_SIZE: guard([&] { resize(); }); return TRUE;
    case WM_GETMINMAXINFO:
        if (layout_) layout_->limit(*reinterpret_cast<MINMAXINFO*>(lParam));
        return TRUE;
    case WM_CLOSE: act([&] { dialog_.close(); }); return TRUE;
    case WM_HELP: pressHelp(); return TRUE;
    case WM_NOTIFY: return notify(*reinterpret_cast<NMHDR*>(lParam));
    case WM_MOUSEMOVE:
    case WM_LBUTTONUP:
    case WM_CAPTURECHANGED: return drag_ ? takeMouse(message, wParam, lParam) : FALSE;
    case WM_DESTROY:
        drag_.reset();
        lists_.clear();
        return FALSE;
    default: return FALSE;
    }
}

void DialogWindow::open()
{
    dialog_.window = window_;
    drawing_ = true;
    std::vector<HWND> growing;
    for (const Control& control : dialog_.model().controls()) {
        HWND part = GetDlgItem(window_, control.id);
        if (part && control.kind == ControlKind::List) lists_.push_back(std::make_unique<ListControl>(part, control));
        if (part && (control.kind == ControlKind::List || control.kind == ControlKind::Edit)) growing.push_back(part);
    }
    layout_.emplace(window_, std::move(growing));
    for (const auto& list : lists_) list->open();
    draw();
    SetFocus(GetDlgItem(window_, dialog_.model().focus));
}

void DialogWindow::resize()
{
    if (!layout_) return; // the window is being created
    layout_->resize();
    for (const auto& list : lists_) list->resized();
}

void DialogWindow::draw()
{
    drawing_ = true;
    for (const Control& control : dialog_.model().controls()) drawControl(control);
    for (const auto& list : lists_) list->draw();
    drawing_ = false;
}

void DialogWindow::drawControl(const Control& control)
{
    HWND part = control.id < 0 ? nullptr : GetDlgItem(window_, control.id);
    if (!part) return; // a control without an id stays as it is in the template
    switch (control.kind) {
    case ControlKind::Text: setText(part, platform::harmless(control.text)); break;
    case ControlKind::Edit: setText(part, harmlessLines(control.text)); break;
    case ControlKind::Radio:
    case ControlKind::CheckBox: CheckDlgButton(window_, control.id, control.checked ? BST_CHECKED : BST_UNCHECKED); [[fallthrough]];
    case ControlKind::Button:
        // A caption from the template is kept: it may be translated.
        if (GetWindowTextLengthW(part) == 0) setText(part, platform::harmless(control.text));
        break;
    case ControlKind::List: break;
    }
    const bool losesFocus = (!control.enabled || !control.visible) && GetFocus() == part;
    if (losesFocus) SendMessageW(window_, WM_NEXTDLGCTL, 0, FALSE); // otherwise the keyboard would reach no control
    if ((IsWindowEnabled(part) != FALSE) != control.enabled) EnableWindow(part, control.enabled);
    const bool shown = (GetWindowLongPtrW(part, GWL_STYLE) & WS_VISIBLE) != 0;
    if (shown != control.visible) ShowWindow(part, control.visible ? SW_SHOW : SW_HIDE);
}

void DialogWindow::command(int id, int notification)
{
    if (notification != BN_CLICKED) return;
    if (drag_ && id == idCancel) return endDrag(false, {}); // Esc cancels the drag, not the dialog
    const Control* control = dialog_.model().find(id);
    if (control && control->kind == ControlKind::Radio) return act([&] { dialog_.choose(id); });
    if (control && control->kind == ControlKind::CheckBox) return act([&] { dialog_.check(id, isChecked(window_, id)); });
    act([&] { dialog_.press(id); });
}

void DialogWindow::pressHelp()
{
    const auto& controls = dialog_.model().controls();
    const auto help = std::ranges::find(controls, ButtonRole::Help, &Control::role);
    if (help != controls.end()) act([&] { dialog_.press(help->id); });
}

INT_PTR DialogWindow::notify(NMHDR& header)
{
    const auto at = std::ranges::find(lists_, header.hwndFrom, [](const auto& list) { return list->window(); });
    if (at == lists_.end()) return FALSE;
    ListControl& list = **at;
    switch (header.code) {
    case LVN_GETDISPINFOW: list.giveText(reinterpret_cast<NMLVDISPINFOW&>(header)); return TRUE;
    case LVN_ITEMCHANGED: itemChanged(list, reinterpret_cast<NMLISTVIEW&>(header)); return TRUE;
    case LVN_COLUMNCLICK: act([&] { dialog_.clickHeader(list.id(), reinterpret_cast<NMLISTVIEW&>(header).iSubItem); }); return TRUE;
    case LVN_BEGINDRAG: beginDrag(list, reinterpret_cast<NMLISTVIEW&>(header)); return TRUE;
    default: return FALSE;
    }
}

void DialogWindow::itemChanged(const ListControl& list, const NMLISTVIEW& change)
{
    if (drawing_ || !(change.uChanged & LVIF_STATE)) return;
    const UINT turned = change.uOldState ^ change.uNewState;
    if ((turned & LVIS_STATEIMAGEMASK) && (change.uOldState & LVIS_STATEIMAGEMASK)) {
        constexpr UINT checkedImage = 2;
        const bool on = (change.uNewState & LVIS_STATEIMAGEMASK) == INDEXTOSTATEIMAGEMASK(checkedImage);
        act([&] { dialog_.checkRow(list.id(), change.iItem, on); });
    }
    if (turned & LVIS_SELECTED) act([&] { dialog_.select(list.id(), list.selectedRow()); });
}

void DialogWindow::beginDrag(const ListControl& list, const NMLISTVIEW& start)
{
    guard([&] {
        if (!dialog_.beginDrag(list.id(), start.iItem)) return;
        POINT at = start.ptAction;
        MapWindowPoints(list.window(), nullptr, &at, 1);
        drag_ = std::make_unique<RowDrag>(window_, list.window(), start.iItem, list.text(start.iItem, 0), at);
    });
}

// The mouse is captured here, so a point may lie outside of the window.
INT_PTR DialogWindow::takeMouse(UINT message, WPARAM wParam, LPARAM lParam)
{
    POINT at{GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)};
    MapWindowPoints(window_, nullptr, &at, 1);
    if (message == WM_LBUTTONUP)
        endDrag(true, at);
    else if (message == WM_CAPTURECHANGED || !(wParam & MK_LBUTTON))
        endDrag(false, at);
    else
        drag_->moveTo(at);
    return TRUE;
}

void DialogWindow::endDrag(bool dropped, POINT at)
{
    auto drag = std::exchange(drag_, nullptr); // first: its destructor releases the mouse, which sends this window WM_CAPTURECHANGED
    const int row = dropped ? drag->rowAt(at) : -1;
    drag.reset();
    act([&] { dialog_.drop(row); });
}

} // namespace mb
