// A dialog's window as a user sees it. Reads its controls, and acts on them through messages and the mouse.
#pragma once
#include "com.h"
#include <commctrl.h>
#include <functional>
#include <string>
#include <vector>

namespace mbtest {

// Waits until isSo() returns true. Throws an exception that names `what` after 20 seconds.
void eventually(const std::string& what, const std::function<bool()>& isSo);

class List {
public:
    explicit List(HWND window) : window_(window) {}
    [[nodiscard]] int rowCount() const;
    [[nodiscard]] std::u16string cell(int row, int column) const;
    // Returns the cells of a row, with a star in front of the first if the row is checked.
    [[nodiscard]] std::vector<std::u16string> row(int number) const;
    [[nodiscard]] std::vector<std::u16string> column(int number) const;
    [[nodiscard]] std::vector<std::u16string> headers() const;
    [[nodiscard]] std::vector<int> widths() const;
    // Returns the width that the widest text of the column needs, including its header.
    [[nodiscard]] int widthWanted(int column) const;
    // Returns one character for each column: "^" or "v" for a sort arrow, else a blank.
    [[nodiscard]] std::string arrows() const;
    [[nodiscard]] bool isChecked(int row) const;
    [[nodiscard]] int selection() const;
    [[nodiscard]] int litRow() const; // the row that is highlighted as the target of a drag
    [[nodiscard]] int topRow() const;
    [[nodiscard]] DWORD extendedStyle() const;

    void clickRow(int row) const;
    void clickBox(int row) const;
    void clickHeader(int column) const;
    // Returns the middle of the row's left cell, in screen coordinates.
    [[nodiscard]] POINT middleOf(int row) const;
    [[nodiscard]] RECT onScreen() const;
    [[nodiscard]] HWND window() const noexcept { return window_; }

private:
    [[nodiscard]] HWND header() const { return ListView_GetHeader(window_); }
    [[nodiscard]] RECT partOf(int row, int part) const;
    void click(HWND window, POINT at) const;
    HWND window_;
};

class Window {
public:
    explicit Window(HWND window) : window_(window) {}
    [[nodiscard]] HWND handle() const noexcept { return window_; }
    [[nodiscard]] HWND part(int id) const;
    [[nodiscard]] bool has(int id) const { return GetDlgItem(window_, id) != nullptr; }
    [[nodiscard]] List list(int id) const { return List(part(id)); }

    [[nodiscard]] std::u16string caption() const;
    [[nodiscard]] std::u16string text(int id) const;
    [[nodiscard]] std::u16string className(int id) const;
    [[nodiscard]] bool isChecked(int id) const;
    [[nodiscard]] bool isEnabled(int id) const { return IsWindowEnabled(part(id)) != FALSE; }
    [[nodiscard]] bool isVisible(int id) const { return IsWindowVisible(part(id)) != FALSE; }
    [[nodiscard]] int focus() const;
    // Returns the controls in tab order, from the focus on.
    [[nodiscard]] std::vector<int> tabOrder() const;
    // Returns the texts of all child windows, in their order.
    [[nodiscard]] std::vector<std::u16string> texts() const;

    void press(int id) const;  // does not wait: another window may open
    void choose(int id) const; // a radio or a check box
    void close() const;        // by the close button
    void keepPicture(const std::string& name) const;

private:
    HWND window_;
};

// Moves the real mouse. Points are in screen coordinates.
void moveMouse(POINT at);
void holdButton();
void releaseButton();
// The real keyboard.
void typeKey(WORD key, bool withAlt = false);

} // namespace mbtest
