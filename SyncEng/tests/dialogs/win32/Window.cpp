#include "Window.h"

#include "Picture.h"
#include <algorithm>
#include <chrono>
#include <stdexcept>
#include <thread>

namespace mbtest {
namespace {

std::u16string textOf(HWND window)
{
    std::wstring text(static_cast<std::size_t>(SendMessageW(window, WM_GETTEXTLENGTH, 0, 0)) + 1, L'\0');
    text.resize(static_cast<std::size_t>(SendMessageW(window, WM_GETTEXT, text.size(), reinterpret_cast<LPARAM>(text.data()))));
    return {text.begin(), text.end()};
}

LRESULT send(HWND window, UINT message, WPARAM wParam = 0, const void* lParam = nullptr)
{
    return SendMessageW(window, message, wParam, reinterpret_cast<LPARAM>(lParam));
}

constexpr std::size_t longest = 1024;

} // namespace

void eventually(const std::string& what, const std::function<bool()>& isSo)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!isSo()) {
        if (std::chrono::steady_clock::now() > end) throw std::runtime_error("timed out waiting for: " + what);
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
}

int List::rowCount() const { return ListView_GetItemCount(window_); }

std::u16string List::cell(int row, int column) const
{
    std::wstring text(longest, L'\0');
    LVITEMW item{};
    item.iSubItem = column;
    item.pszText = text.data();
    item.cchTextMax = static_cast<int>(longest);
    text.resize(static_cast<std::size_t>(send(window_, LVM_GETITEMTEXTW, static_cast<WPARAM>(row), &item)));
    return {text.begin(), text.end()};
}

std::vector<std::u16string> List::row(int number) const
{
    std::vector<std::u16string> cells;
    for (int i = 0; i < Header_GetItemCount(header()); ++i) cells.push_back(cell(number, i));
    if (isChecked(number)) cells.front().insert(0, u"*");
    return cells;
}

std::vector<std::u16string> List::column(int number) const
{
    std::vector<std::u16string> cells;
    for (int i = 0; i < rowCount(); ++i) cells.push_back(cell(i, number));
    return cells;
}

std::vector<std::u16string> List::headers() const
{
    std::vector<std::u16string> texts;
    for (int i = 0; i < Header_GetItemCount(header()); ++i) {
        std::wstring text(longest, L'\0');
        HDITEMW item{};
        item.mask = HDI_TEXT;
        item.pszText = text.data();
        item.cchTextMax = static_cast<int>(longest);
        send(header(), HDM_GETITEMW, static_cast<WPARAM>(i), &item);
        text.resize(wcslen(text.c_str()));
        texts.emplace_back(text.begin(), text.end());
    }
    return texts;
}

std::vector<int> List::widths() const
{
    std::vector<int> all;
    for (int i = 0; i < Header_GetItemCount(header()); ++i) all.push_back(ListView_GetColumnWidth(window_, i));
    return all;
}

int List::widthWanted(int number) const
{
    std::vector<std::u16string> all = column(number);
    all.push_back(headers().at(static_cast<std::size_t>(number)));
    int widest = 0;
    for (const std::u16string& text : all) widest = std::max(widest, static_cast<int>(send(window_, LVM_GETSTRINGWIDTHW, 0, text.c_str())));
    return widest;
}

std::string List::arrows() const
{
    std::string found;
    for (int i = 0; i < Header_GetItemCount(header()); ++i) {
        HDITEMW item{};
        item.mask = HDI_FORMAT | HDI_IMAGE;
        send(header(), HDM_GETITEMW, static_cast<WPARAM>(i), &item);
        found += !(item.fmt & HDF_IMAGE) ? ' ' : item.iImage == 0 ? '^' : 'v';
    }
    return found;
}

bool List::isChecked(int row) const { return ListView_GetItemState(window_, row, LVIS_STATEIMAGEMASK) == INDEXTOSTATEIMAGEMASK(2); }
int List::selection() const { return ListView_GetNextItem(window_, -1, LVNI_SELECTED); }
int List::litRow() const { return ListView_GetNextItem(window_, -1, LVNI_DROPHILITED); }
int List::topRow() const { return ListView_GetTopIndex(window_); }
DWORD List::extendedStyle() const { return ListView_GetExtendedListViewStyle(window_); }

RECT List::partOf(int row, int part) const
{
    RECT rect{};
    rect.left = part;
    if (!send(window_, LVM_GETITEMRECT, static_cast<WPARAM>(row), &rect)) throw std::runtime_error("no such row");
    return rect;
}

void List::click(HWND window, POINT at) const
{
    SendMessageW(window, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(at.x, at.y));
    SendMessageW(window, WM_LBUTTONUP, 0, MAKELPARAM(at.x, at.y));
}

void List::clickRow(int row) const
{
    const RECT label = partOf(row, LVIR_LABEL);
    click(window_, {label.left + 5, (label.top + label.bottom) / 2});
}

// Does not wait for the click to end: the dialog may open a message meanwhile.
void List::clickBox(int row) const
{
    const RECT label = partOf(row, LVIR_LABEL);
    const LPARAM at = MAKELPARAM(label.left - 8, (label.top + label.bottom) / 2);
    PostMessageW(window_, WM_LBUTTONDOWN, MK_LBUTTON, at);
    PostMessageW(window_, WM_LBUTTONUP, 0, at);
}

void List::clickHeader(int column) const
{
    RECT rect{};
    send(header(), HDM_GETITEMRECT, static_cast<WPARAM>(column), &rect);
    click(header(), {(rect.left + rect.right) / 2, (rect.top + rect.bottom) / 2});
}

POINT List::middleOf(int row) const
{
    const RECT label = partOf(row, LVIR_LABEL);
    POINT at{label.left + 20, (label.top + label.bottom) / 2};
    MapWindowPoints(window_, nullptr, &at, 1);
    return at;
}

RECT List::onScreen() const
{
    RECT rect{};
    GetWindowRect(window_, &rect);
    return rect;
}

HWND Window::part(int id) const
{
    HWND found = GetDlgItem(window_, id);
    if (!found) throw std::runtime_error("no control " + std::to_string(id));
    return found;
}

std::u16string Window::caption() const { return textOf(window_); }
std::u16string Window::text(int id) const { return textOf(part(id)); }

std::u16string Window::className(int id) const
{
    wchar_t name[64] = {};
    const int length = GetClassNameW(part(id), name, 64);
    return {name, name + length};
}

bool Window::isChecked(int id) const { return send(part(id), BM_GETCHECK) == BST_CHECKED; }

int Window::focus() const
{
    GUITHREADINFO info{};
    info.cbSize = sizeof info;
    GetGUIThreadInfo(GetWindowThreadProcessId(window_, nullptr), &info);
    return info.hwndFocus ? GetDlgCtrlID(info.hwndFocus) : 0;
}

std::vector<int> Window::tabOrder() const
{
    std::vector<int> ids;
    HWND first = part(focus());
    HWND at = first;
    do {
        ids.push_back(GetDlgCtrlID(at));
        at = GetNextDlgTabItem(window_, at, FALSE);
    } while (at && at != first && ids.size() < 100);
    return ids;
}

std::vector<std::u16string> Window::texts() const
{
    std::vector<std::u16string> all;
    for (HWND at = GetWindow(window_, GW_CHILD); at; at = GetWindow(at, GW_HWNDNEXT)) all.push_back(textOf(at));
    return all;
}

void Window::press(int id) const { PostMessageW(part(id), BM_CLICK, 0, 0); }
void Window::choose(int id) const { send(part(id), BM_CLICK); }
void Window::close() const { PostMessageW(window_, WM_SYSCOMMAND, SC_CLOSE, 0); }
void Window::keepPicture(const std::string& name) const { savePicture(window_, name); }

void moveMouse(POINT at)
{
    SetCursorPos(at.x, at.y);
    std::this_thread::sleep_for(std::chrono::milliseconds(60));
}

namespace {

void sendMouse(DWORD what)
{
    INPUT input{};
    input.type = INPUT_MOUSE;
    input.mi.dwFlags = what;
    SendInput(1, &input, sizeof input);
    std::this_thread::sleep_for(std::chrono::milliseconds(60));
}

void sendKey(WORD key, DWORD what)
{
    INPUT input{};
    input.type = INPUT_KEYBOARD;
    input.ki.wVk = key;
    input.ki.wScan = static_cast<WORD>(MapVirtualKeyW(key, MAPVK_VK_TO_VSC));
    input.ki.dwFlags = what;
    SendInput(1, &input, sizeof input);
}

} // namespace

void holdButton() { sendMouse(MOUSEEVENTF_LEFTDOWN); }
void releaseButton() { sendMouse(MOUSEEVENTF_LEFTUP); }

void typeKey(WORD key, bool withAlt)
{
    if (withAlt) sendKey(VK_MENU, 0);
    sendKey(key, 0);
    sendKey(key, KEYEVENTF_KEYUP);
    if (withAlt) sendKey(VK_MENU, KEYEVENTF_KEYUP);
    std::this_thread::sleep_for(std::chrono::milliseconds(60));
}

} // namespace mbtest
