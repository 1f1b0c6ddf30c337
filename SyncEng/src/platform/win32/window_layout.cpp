#include "window_layout.h"

#include "column_widths.h"
#include <algorithm>
#include <commctrl.h>

namespace platform {
namespace {

constexpr int headerPadding = 14; // free space around a header's text

RECT rectIn(HWND dialog, HWND part) noexcept
{
    RECT rect{};
    GetWindowRect(part, &rect);
    MapWindowPoints(nullptr, dialog, reinterpret_cast<POINT*>(&rect), 2);
    return rect;
}

bool isPushButton(HWND part) noexcept
{
    wchar_t name[16]{};
    GetClassNameW(part, name, 16);
    const LONG_PTR kind = GetWindowLongPtrW(part, GWL_STYLE) & BS_TYPEMASK;
    return CompareStringOrdinal(name, -1, L"Button", -1, TRUE) == CSTR_EQUAL && (kind == BS_PUSHBUTTON || kind == BS_DEFPUSHBUTTON);
}

int headerWidth(HWND list, int column, int extra)
{
    wchar_t text[260]{};
    HDITEMW item{};
    item.mask = HDI_TEXT;
    item.pszText = text;
    item.cchTextMax = 260;
    SendMessageW(ListView_GetHeader(list), HDM_GETITEMW, static_cast<WPARAM>(column), reinterpret_cast<LPARAM>(&item));
    return static_cast<int>(SendMessageW(list, LVM_GETSTRINGWIDTHW, 0, reinterpret_cast<LPARAM>(text))) + headerPadding + extra;
}

// Returns the width for columns, less a scroll bar that the rows will need.
int columnRoom(HWND list)
{
    RECT client{};
    GetClientRect(list, &client);
    const bool hasBar = (GetWindowLongPtrW(list, GWL_STYLE) & WS_VSCROLL) != 0;
    const bool needsBar = ListView_GetItemCount(list) > ListView_GetCountPerPage(list);
    return client.right - (needsBar && !hasBar ? GetSystemMetrics(SM_CXVSCROLL) : 0);
}

} // namespace

WindowLayout::WindowLayout(HWND dialog, std::vector<HWND> growing) : dialog_(dialog), growing_(growing.size())
{
    RECT client{}, frame{};
    GetClientRect(dialog, &client);
    GetWindowRect(dialog, &frame);
    size_ = {client.right, client.bottom};
    smallest_ = {frame.right - frame.left, frame.bottom - frame.top};
    LONG leftEdge = size_.cx;
    for (HWND part = GetWindow(dialog, GW_CHILD); part; part = GetWindow(part, GW_HWNDNEXT))
        leftEdge = std::min(leftEdge, rectIn(dialog, part).left);
    for (HWND part = GetWindow(dialog, GW_CHILD); part; part = GetWindow(part, GW_HWNDNEXT)) {
        const RECT rect = rectIn(dialog, part);
        const auto above =
            std::ranges::count_if(growing, [&](HWND other) { return other != part && rectIn(dialog, other).bottom <= rect.top; });
        const bool button = isPushButton(part);
        parts_.push_back({part, rect, static_cast<std::size_t>(above), !button && (rect.right - rect.left) * 2 > size_.cx,
                          button && rect.left > leftEdge + 2, std::ranges::find(growing, part) != growing.end()});
    }
}

void WindowLayout::resize() const
{
    RECT client{};
    GetClientRect(dialog_, &client);
    const LONG wider = std::max(client.right - size_.cx, 0L), higher = std::max(client.bottom - size_.cy, 0L);
    const LONG share = growing_ == 0 ? 0 : higher / static_cast<LONG>(growing_);
    HDWP moves = BeginDeferWindowPos(static_cast<int>(parts_.size()));
    for (const Part& part : parts_) {
        const LONG right = part.movesRight ? wider : 0, down = share * static_cast<LONG>(part.growingAbove);
        const LONG width = part.rect.right - part.rect.left + (part.growsRight ? wider : 0);
        const LONG height = part.rect.bottom - part.rect.top + (part.growsDown ? share : 0);
        if (moves)
            moves = DeferWindowPos(moves, part.window, nullptr, static_cast<int>(part.rect.left + right),
                                   static_cast<int>(part.rect.top + down), static_cast<int>(width), static_cast<int>(height),
                                   SWP_NOZORDER | SWP_NOACTIVATE);
    }
    if (moves) EndDeferWindowPos(moves);
    InvalidateRect(dialog_, nullptr, TRUE);
}

void fitListColumns(HWND list, int extra)
{
    const int count = Header_GetItemCount(ListView_GetHeader(list));
    std::vector<std::size_t> widths;
    for (int column = 0; column < count; ++column) {
        ListView_SetColumnWidth(list, column, LVSCW_AUTOSIZE);
        widths.push_back(static_cast<std::size_t>(std::max(ListView_GetColumnWidth(list, column), headerWidth(list, column, extra))));
    }
    widths = narrowed(std::move(widths), static_cast<std::size_t>(std::max(columnRoom(list), 1)));
    for (int column = 0; column < count; ++column)
        ListView_SetColumnWidth(list, column, static_cast<int>(widths[static_cast<std::size_t>(column)]));
}

} // namespace platform
