// What a dialog's window does when the user enlarges it.
#pragma once
#include "com.h"
#include <vector>

namespace platform {

// Places the parts of a dialog anew when its size changes, from where its template put them: wide parts grow in width, the growing ones
// also share what is added in height, what stands below them moves down, and push buttons that are not at the left edge move right.
class WindowLayout {
public:
    // Requires: the dialog has the size of its template. `growing` names parts from top to bottom.
    WindowLayout(HWND dialog, std::vector<HWND> growing);
    void resize() const;
    // For WM_GETMINMAXINFO: the window is never smaller than its template.
    void limit(MINMAXINFO& info) const noexcept { info.ptMinTrackSize = smallest_; }

private:
    struct Part {
        HWND window;
        RECT rect;
        std::size_t growingAbove; // growing parts above this one
        bool growsRight, movesRight, growsDown;
    };
    HWND dialog_;
    SIZE size_{}; // of the template's client area
    POINT smallest_{};
    std::vector<Part> parts_;
    std::size_t growing_;
};

// Sizes each column of a list to its texts and its header, but lets no column push another one out of sight. `extra` is added to what a
// header needs.
void fitListColumns(HWND list, int extra);

} // namespace platform
