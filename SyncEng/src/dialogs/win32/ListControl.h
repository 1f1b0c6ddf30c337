// A list of a dialog in a list view. The list view holds no texts: it asks for those that it shows, so sorting moves nothing.
#pragma once
#include "com.h"
#include "dialogs/DialogModel.h"
#include <commctrl.h>

namespace mb {

class ListControl {
public:
    // The list is read whenever the list view asks, so it must outlive this.
    ListControl(HWND window, const Control& list);
    ListControl(const ListControl&) = delete;
    ListControl& operator=(const ListControl&) = delete;
    ~ListControl();

    // Shows the list for the first time. From here on the list view must be given the texts that it asks for.
    void open();
    // Shows the list as it is now.
    void draw();
    // The list view has a new size. Columns whose widths the user set keep them.
    void resized();
    // What the list view asks for.
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
