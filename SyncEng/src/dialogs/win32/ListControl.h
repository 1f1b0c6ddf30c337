// Shows a list of a dialog in a list view. The list view holds no texts but asks for those that it shows.
#pragma once
#include "com.h"
#include "dialogs/DialogModel.h"
#include <commctrl.h>

namespace mb {

class ListControl {
public:
    // Requires: `list` outlives this object.
    ListControl(HWND window, const Control& list);
    ListControl(const ListControl&) = delete;
    ListControl& operator=(const ListControl&) = delete;
    ~ListControl();

    // Shows the list for the first time. From then on the owner must answer the list view's LVN_GETDISPINFO with giveText().
    void open();
    // Shows the present state of the list.
    void draw();
    // Fits the columns to a new size of the list view, unless the user has changed a width.
    void resized();
    // Answers LVN_GETDISPINFO.
    void giveText(NMLVDISPINFOW& wanted) const;
    [[nodiscard]] int selectedRow() const;

    [[nodiscard]] HWND window() const noexcept { return window_; }
    [[nodiscard]] int id() const noexcept { return list_.id; }
    [[nodiscard]] std::u16string text(int row, int column) const;

private:
    LRESULT send(UINT message, WPARAM wParam = 0, const void* lParam = nullptr) const;
    void addColumns();
    void sizeColumns();
    [[nodiscard]] std::vector<int> columnWidths() const;
    void drawRows();
    void drawSelection();
    void drawSortArrow();
    void setState(int row, UINT state, UINT mask) const;

    HWND window_;
    const Control& list_;
    HIMAGELIST arrows_ = nullptr;
    std::vector<int> sized_; // the widths that sizeColumns set
};

} // namespace mb
