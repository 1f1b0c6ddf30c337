// Drags a row of a list: a picture of its text follows the mouse, the row below the mouse is highlighted, and the list scrolls when the
// mouse is above or below it. The destructor removes the picture and the highlight, and releases the mouse.
#pragma once
#include "com.h"
#include <commctrl.h>
#include <string_view>

namespace mb {

class RowDrag {
public:
    // Captures the mouse for `dialog`, over which the picture moves. All points are in screen coordinates.
    RowDrag(HWND dialog, HWND list, int row, std::u16string_view text, POINT at);
    RowDrag(const RowDrag&) = delete;
    RowDrag& operator=(const RowDrag&) = delete;
    ~RowDrag();

    void moveTo(POINT at);
    // Returns the row at the point; -1 for none.
    [[nodiscard]] int rowAt(POINT at) const;

private:
    [[nodiscard]] HIMAGELIST pictureOf(std::u16string_view text, int width) const;
    [[nodiscard]] POINT onGround(POINT at) const;
    [[nodiscard]] RECT rectOf(int row) const;
    void scrollOrLight(POINT at);
    void light(int row) const; // highlights only this row; -1 for none

    HWND dialog_, ground_, list_;
    HIMAGELIST picture_ = nullptr;
};

} // namespace mb
