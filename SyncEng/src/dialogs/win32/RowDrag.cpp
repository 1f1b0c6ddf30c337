#include "dialogs/win32/RowDrag.h"

#include <algorithm>

namespace mb {
namespace {

constexpr int margin = 3;

// Returns the window over which the picture is drawn. A right-to-left dialog would mirror the picture, so the desktop is used there.
HWND groundOf(HWND dialog)
{
    const bool mirrored = (GetWindowLongPtrW(dialog, GWL_EXSTYLE) & WS_EX_LAYOUTRTL) != 0;
    return mirrored ? GetDesktopWindow() : dialog;
}

} // namespace

RowDrag::RowDrag(HWND dialog, HWND list, int row, std::u16string_view text, POINT at)
    : dialog_(dialog), ground_(groundOf(dialog)), list_(list)
{
    RECT label = rectOf(row);
    picture_ = pictureOf(text, ListView_GetColumnWidth(list, 0));
    MapWindowPoints(list, nullptr, reinterpret_cast<POINT*>(&label), 2);
    const POINT point = onGround(at);
    ImageList_BeginDrag(picture_, 0, -margin, static_cast<int>(at.y - label.top));
    ImageList_DragEnter(ground_, point.x, point.y);
    SetCapture(dialog_);
}

RowDrag::~RowDrag()
{
    ImageList_DragLeave(ground_);
    ImageList_EndDrag();
    if (picture_) ImageList_Destroy(picture_);
    light(-1);
    if (GetCapture() == dialog_) ReleaseCapture();
}

// Draws the text in the list's font; the background is transparent.
HIMAGELIST RowDrag::pictureOf(std::u16string_view text, int width) const
{
    std::wstring shown(text.begin(), text.end());
    HDC screen = GetDC(nullptr), memory = CreateCompatibleDC(screen);
    HGDIOBJ font = SelectObject(memory, reinterpret_cast<HFONT>(SendMessageW(list_, WM_GETFONT, 0, 0)));
    RECT box{0, 0, 0, 0};
    constexpr UINT how = DT_SINGLELINE | DT_NOPREFIX;
    DrawTextW(memory, shown.c_str(), -1, &box, how | DT_CALCRECT);
    box.right = std::clamp<LONG>(box.right + 2 * margin, 1, std::max(width, 1));
    box.bottom = std::max<LONG>(box.bottom, 1);
    HBITMAP bitmap = CreateCompatibleBitmap(screen, box.right, box.bottom);
    HGDIOBJ former = SelectObject(memory, bitmap);
    const COLORREF ground = GetSysColor(COLOR_WINDOW);
    SetBkColor(memory, ground);
    SetTextColor(memory, GetSysColor(COLOR_WINDOWTEXT));
    ExtTextOutW(memory, 0, 0, ETO_OPAQUE, &box, nullptr, 0, nullptr);
    RECT inner{margin, 0, box.right, box.bottom};
    DrawTextW(memory, shown.c_str(), -1, &inner, how | DT_END_ELLIPSIS);
    SelectObject(memory, former);
    SelectObject(memory, font);
    DeleteDC(memory);
    ReleaseDC(nullptr, screen);

    HIMAGELIST picture = ImageList_Create(static_cast<int>(box.right), static_cast<int>(box.bottom), ILC_COLOR24 | ILC_MASK, 1, 0);
    ImageList_AddMasked(picture, bitmap, ground);
    DeleteObject(bitmap);
    return picture;
}

// Converts a point to coordinates of the whole window with its frame, which ImageList_DragEnter expects.
POINT RowDrag::onGround(POINT at) const
{
    RECT frame{};
    GetWindowRect(ground_, &frame);
    return {at.x - frame.left, at.y - frame.top};
}

RECT RowDrag::rectOf(int row) const
{
    RECT rect{};
    ListView_GetItemRect(list_, row, &rect, LVIR_BOUNDS);
    return rect;
}

void RowDrag::moveTo(POINT at)
{
    ImageList_DragLeave(ground_); // otherwise changes of the list would be drawn over the picture
    light(-1);
    scrollOrLight(at);
    UpdateWindow(list_);
    const POINT point = onGround(at);
    ImageList_DragEnter(ground_, point.x, point.y);
}

void RowDrag::scrollOrLight(POINT at)
{
    RECT client{};
    GetClientRect(list_, &client);
    const RECT first = rectOf(ListView_GetTopIndex(list_));
    POINT point = at;
    MapWindowPoints(nullptr, list_, &point, 1);
    const int rowHeight = static_cast<int>(first.bottom - first.top);
    if (point.y < first.top)
        ListView_Scroll(list_, 0, -rowHeight);
    else if (point.y >= client.bottom)
        ListView_Scroll(list_, 0, rowHeight);
    else
        light(rowAt(at));
}

int RowDrag::rowAt(POINT at) const
{
    LVHITTESTINFO hit{};
    hit.pt = at;
    MapWindowPoints(nullptr, list_, &hit.pt, 1);
    RECT client{};
    GetClientRect(list_, &client);
    if (!PtInRect(&client, hit.pt) || hit.pt.y < rectOf(ListView_GetTopIndex(list_)).top) return -1;
    return static_cast<int>(SendMessageW(list_, LVM_SUBITEMHITTEST, 0, reinterpret_cast<LPARAM>(&hit)));
}

void RowDrag::light(int row) const
{
    ListView_SetItemState(list_, -1, 0, LVIS_DROPHILITED);
    if (row >= 0) ListView_SetItemState(list_, row, LVIS_DROPHILITED, LVIS_DROPHILITED);
}

} // namespace mb
