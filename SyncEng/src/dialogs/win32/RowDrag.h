// A row of a list on its way to another: its text follows the mouse, the row that would take it is lit, and beyond the upper or lower
// edge the list scrolls. Everything of it goes when this does.
#pragma once
#include "com.h"
#include <commctrl.h>
#include <string_view>

namespace mb {

class RowDrag {
public:
    // Points are of the screen. `dialog` is the window that the picture may move over; it takes the mouse.
    RowDrag(HWND dialog, HWND list, int row, std::u16string_view text, POINT at);
    RowDrag(const RowDrag&) = delete;
    RowDrag& operator=(const RowDrag&) = delete;
    ~RowDrag();

    void moveTo(POINT at);
    // The row under the point; -1 for none.
    [[nodiscard]] int rowAt(POINT at) const;

private:
    [[nodiscard]] HIMAGELIST pictureOf(std::u16string_view text, int width) const;
    [[nodiscard]] POINT onGround(POINT at) const;
    [[nodiscard]] RECT rectOf(int row) const;
    void scrollOrLight(POINT at);
    void light(int row) const; // and no other; -1 for none

    HWND dialog_, ground_, list_;
    HIMAGELIST picture_ = nullptr;
};

} // namespace mb
