#include "dialogs/win32/ListControl.h"

#include "console_text.h"
#include "dialogs/win32/OwnModule.h"
#include "win32/window_layout.h"
#include <algorithm>

namespace mb {
namespace {

constexpr int arrowsBitmap = 204, arrowWidth = 11;
constexpr int arrowGap = 14;      // between a header's text and its arrow
constexpr int columnGap = 10;     // subtracted from each of several columns of equal width
constexpr std::size_t most = 259; // a list view shows no more characters of a text

LPWSTR textOnDemand() noexcept { return LPSTR_TEXTCALLBACKW; }

// Returns the length of `text`, but at most `units`, or one less if that would split a surrogate pair.
std::size_t wholeCharacters(std::u16string_view text, std::size_t units) noexcept
{
    if (text.size() <= units) return text.size();
    return units > 0 && (text[units - 1] & 0xFC00) == 0xD800 ? units - 1 : units;
}

} // namespace

ListControl::ListControl(HWND window, const Control& list) : window_(window), list_(list)
{
    const DWORD style = LVS_EX_FULLROWSELECT | LVS_EX_LABELTIP | (list.checkBoxes ? LVS_EX_CHECKBOXES : 0);
    SendMessageW(window_, LVM_SETEXTENDEDLISTVIEWSTYLE, style, static_cast<LPARAM>(style));
    if (list.sortable) {
        // The colour of the first pixel becomes transparent.
        arrows_ = ImageList_LoadImageW(ownModule(), MAKEINTRESOURCEW(arrowsBitmap), arrowWidth, 0, CLR_DEFAULT, IMAGE_BITMAP, 0);
        SendMessageW(ListView_GetHeader(window_), HDM_SETIMAGELIST, 0, reinterpret_cast<LPARAM>(arrows_));
    }
    addColumns();
}

void ListControl::open()
{
    draw();
    sizeColumns();
    if (!list_.rows.empty()) setState(std::max(list_.selection, 0), LVIS_FOCUSED, LVIS_FOCUSED); // where the arrow keys begin
}

ListControl::~ListControl()
{
    if (arrows_) ImageList_Destroy(arrows_);
}

LRESULT ListControl::send(UINT message, WPARAM wParam, const void* lParam) const
{
    return SendMessageW(window_, message, wParam, reinterpret_cast<LPARAM>(lParam));
}

void ListControl::setState(int row, UINT state, UINT mask) const
{
    LVITEMW item{};
    item.state = state;
    item.stateMask = mask;
    send(LVM_SETITEMSTATE, static_cast<WPARAM>(row), &item);
}

std::u16string ListControl::text(int row, int column) const
{
    if (row < 0 || static_cast<std::size_t>(row) >= list_.rows.size()) return {};
    const auto& cells = list_.rows[static_cast<std::size_t>(row)].cells;
    return static_cast<std::size_t>(column) < cells.size() ? platform::harmless(cells[static_cast<std::size_t>(column)]) : std::u16string();
}

void ListControl::giveText(NMLVDISPINFOW& wanted) const
{
    if (!(wanted.item.mask & LVIF_TEXT) || !wanted.item.pszText || wanted.item.cchTextMax < 1) return;
    const std::u16string shown = text(wanted.item.iItem, wanted.item.iSubItem);
    const std::size_t length = wholeCharacters(shown, std::min(most, static_cast<std::size_t>(wanted.item.cchTextMax) - 1));
    std::copy_n(shown.data(), length, wanted.item.pszText);
    wanted.item.pszText[length] = 0;
}

int ListControl::selectedRow() const { return ListView_GetNextItem(window_, -1, LVNI_SELECTED); }

void ListControl::addColumns()
{
    for (std::size_t i = 0; i < list_.columns.size(); ++i) {
        std::u16string header = platform::harmless(list_.columns[i].header);
        header.resize(wholeCharacters(header, most));
        LVCOLUMNW column{};
        column.mask = LVCF_TEXT | LVCF_FMT | LVCF_SUBITEM;
        column.fmt = LVCFMT_LEFT;
        column.pszText = reinterpret_cast<LPWSTR>(header.data());
        column.iSubItem = static_cast<int>(i);
        send(LVM_INSERTCOLUMNW, i, &column);
    }
}

std::vector<int> ListControl::columnWidths() const
{
    std::vector<int> widths;
    for (std::size_t i = 0; i < list_.columns.size(); ++i) widths.push_back(ListView_GetColumnWidth(window_, static_cast<int>(i)));
    return widths;
}

// Makes each column as wide as its header and texts need, if the list has room; or gives all columns the same width.
void ListControl::sizeColumns()
{
    RECT client{};
    GetClientRect(window_, &client);
    if (std::ranges::all_of(list_.columns, &ListColumn::fitsContent))
        platform::fitListColumns(window_, list_.sortable ? arrowWidth + arrowGap : 0);
    else
        for (int column = 0; column < static_cast<int>(list_.columns.size()); ++column)
            ListView_SetColumnWidth(window_, column, client.right / static_cast<int>(list_.columns.size()) - columnGap);
    sized_ = columnWidths();
}

void ListControl::resized()
{
    if (columnWidths() == sized_) sizeColumns();
}

void ListControl::draw()
{
    send(WM_SETREDRAW, FALSE);
    drawRows();
    drawSelection();
    send(WM_SETREDRAW, TRUE);
    if (list_.sortable) drawSortArrow();
    InvalidateRect(window_, nullptr, TRUE);
}

void ListControl::drawRows()
{
    const int wanted = static_cast<int>(list_.rows.size());
    int count = ListView_GetItemCount(window_);
    if (count > wanted) {
        ListView_DeleteAllItems(window_);
        count = 0;
    }
    if (count < wanted) send(LVM_SETITEMCOUNT, static_cast<WPARAM>(wanted));
    LVITEMW item{};
    item.mask = LVIF_TEXT;
    item.pszText = textOnDemand();
    for (item.iItem = count; item.iItem < wanted; ++item.iItem) {
        item.iSubItem = 0;
        send(LVM_INSERTITEMW, 0, &item);
        for (item.iSubItem = 1; static_cast<std::size_t>(item.iSubItem) < list_.columns.size(); ++item.iSubItem)
            send(LVM_SETITEMTEXTW, static_cast<WPARAM>(item.iItem), &item);
    }
    if (!list_.checkBoxes) return;
    for (int row = 0; row < wanted; ++row) {
        const bool checked = list_.rows[static_cast<std::size_t>(row)].checked;
        if ((ListView_GetCheckState(window_, row) != 0) != checked) ListView_SetCheckState(window_, row, checked);
    }
}

// In a list that is not selectable, the list view's own selection is left alone.
void ListControl::drawSelection()
{
    if (!list_.selectable) return;
    const int shown = selectedRow();
    if (shown == list_.selection) return;
    if (shown >= 0) setState(shown, 0, LVIS_SELECTED);
    if (list_.selection < 0) return;
    setState(list_.selection, LVIS_SELECTED | LVIS_FOCUSED, LVIS_SELECTED | LVIS_FOCUSED);
    ListView_EnsureVisible(window_, list_.selection, FALSE);
}

// Changes only the arrow of a column, so that its width stays.
void ListControl::drawSortArrow()
{
    HWND header = ListView_GetHeader(window_);
    for (int column = 0; static_cast<std::size_t>(column) < list_.columns.size(); ++column) {
        HDITEMW item{};
        item.mask = HDI_FORMAT;
        SendMessageW(header, HDM_GETITEMW, static_cast<WPARAM>(column), reinterpret_cast<LPARAM>(&item));
        item.fmt &= ~(HDF_IMAGE | HDF_BITMAP_ON_RIGHT);
        if (column == list_.sortColumn) {
            item.mask |= HDI_IMAGE;
            item.fmt |= HDF_IMAGE | HDF_BITMAP_ON_RIGHT;
            item.iImage = list_.sortAscending ? 0 : 1;
        }
        SendMessageW(header, HDM_SETITEMW, static_cast<WPARAM>(column), reinterpret_cast<LPARAM>(&item));
    }
}

} // namespace mb
