// The layout of a dialog that the user can resize.
#pragma once
#include "com.h"
#include <vector>

namespace platform {

// Rearranges the parts of a dialog when its size changes, relative to the template: parts wider than half of the dialog grow in width,
// `growing` parts share the added height, the parts below them move down, and push buttons move right unless they are at the left edge.
class WindowLayout {
public:
    // Requires: the dialog has the size of its template; `growing` lists its parts from top to bottom.
    WindowLayout(HWND dialog, std::vector<HWND> growing);
    void resize() const;
    // For WM_GETMINMAXINFO: keeps the window at least as large as its template.
    void limit(MINMAXINFO& info) const noexcept { info.ptMinTrackSize = smallest_; }

private:
    struct Part {
        HWND window;
        RECT rect;
        std::size_t growingAbove; // number of growing parts above this part
        bool growsRight, movesRight, growsDown;
    };
    HWND dialog_;
    SIZE size_{}; // of the template's client area
    POINT smallest_{};
    std::vector<Part> parts_;
    std::size_t growing_;
};

// Fits each column of a list to its texts and its header, and narrows the widest columns if the list has no room for all. `extra` is added
// to the width that a header needs.
void fitListColumns(HWND list, int extra);

} // namespace platform
