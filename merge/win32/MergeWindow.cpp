// Merges in a window with a row for each field that differs: both values and the merged value.
#include "AskForMerge.h"
#include "console_text.h"
#include "ui.h"
#include "win32/resource.h"
#include "win32/window_layout.h"
#include <algorithm>
#include <commctrl.h>
#include <exception>
#include <optional>

extern "C" IMAGE_DOS_HEADER __ImageBase; // the linker places it at the start of the module

namespace mb::merge {
namespace {

enum Column : int { columnField, columnValue1, columnValue2, columnMerged };

constexpr std::size_t longestCell = 259; // characters of a text that a list view shows
constexpr std::size_t longestName = 30;  // characters of a store's name on a button

LPWSTR wide(std::u16string& text) noexcept { return reinterpret_cast<LPWSTR>(text.data()); }

// A list view shows a text on one line.
std::u16string cellText(const std::u16string& text)
{
    std::u16string line = platform::harmless(text);
    if (line.size() > longestCell) line.resize((line[longestCell - 1] & 0xFC00) == 0xD800 ? longestCell - 1 : longestCell);
    return line;
}

// An edit control breaks lines at "\r\n" only.
std::u16string editText(const std::u16string& text)
{
    std::u16string lines;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool alone = text[i] == u'\n' && (i == 0 || text[i - 1] != u'\r');
        if (alone) lines += u'\r';
        lines += text[i];
    }
    return lines;
}

// In a button's text '&' marks its key, so a literal '&' is doubled.
std::u16string buttonText(std::u16string_view verb, const std::u16string& name)
{
    std::u16string text(verb);
    for (const char16_t c : platform::fitted(platform::harmless(name), longestName)) text += c == u'&' ? u"&&" : std::u16string(1, c);
    return text;
}

class MergeWindow {
public:
    explicit MergeWindow(MergeQuestion& question) : question_(question)
    {
        for (MergeField& field : question.fields) {
            field.merged = field.value1;
            if (field.value1 != field.value2) rows_.push_back(&field);
        }
    }

    // Returns true if the user accepted.
    bool run()
    {
        if (rows_.empty()) return true;
        platform::prepareListViews();
        const auto module = reinterpret_cast<HINSTANCE>(&__ImageBase);
        HWND parent = IsWindow(question_.parent) ? question_.parent : nullptr;
        const INT_PTR end = DialogBoxParamW(module, MAKEINTRESOURCEW(MERGE_DIALOG), parent, receive, reinterpret_cast<LPARAM>(this));
        if (failure_) std::rethrow_exception(failure_);
        return end == IDOK;
    }

private:
    static INT_PTR CALLBACK receive(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
    {
        if (message == WM_INITDIALOG) {
            SetWindowLongPtrW(window, DWLP_USER, lParam);
            reinterpret_cast<MergeWindow*>(lParam)->window_ = window;
        }
        auto* const self = reinterpret_cast<MergeWindow*>(GetWindowLongPtrW(window, DWLP_USER));
        if (!self) return FALSE;
        try {
            return self->take(message, wParam, lParam);
        } catch (...) { // an exception must not leave a callback of the system
            self->failure_ = std::current_exception();
            EndDialog(window, IDCANCEL);
            return TRUE;
        }
    }

    INT_PTR take(UINT message, WPARAM wParam, LPARAM lParam)
    {
        switch (message) {
        case WM_INITDIALOG: open(); return FALSE; // the focus is set
        case WM_SIZE:
            if (layout_) layout_->resize();
            if (layout_) platform::fitListColumns(list_, 0);
            return TRUE;
        case WM_GETMINMAXINFO:
            if (layout_) layout_->limit(*reinterpret_cast<MINMAXINFO*>(lParam));
            return TRUE;
        case WM_CLOSE: EndDialog(window_, IDCANCEL); return TRUE;
        case WM_COMMAND: command(LOWORD(wParam), HIWORD(wParam)); return TRUE;
        case WM_NOTIFY: return notify(*reinterpret_cast<NMHDR*>(lParam));
        default: return FALSE;
        }
    }

    void open()
    {
        list_ = GetDlgItem(window_, MERGE_LIST);
        setText(window_, platform::harmless(question_.title));
        setText(GetDlgItem(window_, MERGE_TAKE_1), buttonText(u"&1: take ", question_.name1));
        setText(GetDlgItem(window_, MERGE_TAKE_2), buttonText(u"&2: take ", question_.name2));
        setText(GetDlgItem(window_, MERGE_ALL_1), buttonText(u"All from ", question_.name1));
        setText(GetDlgItem(window_, MERGE_ALL_2), buttonText(u"All from ", question_.name2));
        const DWORD style = LVS_EX_FULLROWSELECT | LVS_EX_LABELTIP;
        SendMessageW(list_, LVM_SETEXTENDEDLISTVIEWSTYLE, style, static_cast<LPARAM>(style));
        const std::u16string headers[] = {u"Field Name", cellText(question_.name1), cellText(question_.name2), u"Merged Value"};
        for (int column = columnField; column <= columnMerged; ++column) addColumn(column, headers[column]);
        for (int row = 0; row < static_cast<int>(rows_.size()); ++row) addRow(row);
        layout_.emplace(window_, std::vector<HWND>{list_});
        platform::fitListColumns(list_, 0);
        select(0);
        SetFocus(list_);
    }

    static void setText(HWND window, std::u16string text) { SetWindowTextW(window, wide(text)); }

    void addColumn(int number, std::u16string header) const
    {
        LVCOLUMNW column{};
        column.mask = LVCF_TEXT | LVCF_FMT | LVCF_SUBITEM;
        column.fmt = LVCFMT_LEFT;
        column.pszText = wide(header);
        column.iSubItem = number;
        SendMessageW(list_, LVM_INSERTCOLUMNW, static_cast<WPARAM>(number), reinterpret_cast<LPARAM>(&column));
    }

    void addRow(int row) const
    {
        LVITEMW item{};
        item.iItem = row;
        SendMessageW(list_, LVM_INSERTITEMW, 0, reinterpret_cast<LPARAM>(&item));
        const MergeField& field = *rows_[static_cast<std::size_t>(row)];
        setCell(row, columnField, field.label);
        setCell(row, columnValue1, field.value1);
        setCell(row, columnValue2, field.value2);
        setCell(row, columnMerged, field.merged);
    }

    void setCell(int row, int column, const std::u16string& text) const
    {
        std::u16string shown = cellText(text);
        LVITEMW item{};
        item.iSubItem = column;
        item.pszText = wide(shown);
        SendMessageW(list_, LVM_SETITEMTEXTW, static_cast<WPARAM>(row), reinterpret_cast<LPARAM>(&item));
    }

    void select(int row) const
    {
        ListView_SetItemState(list_, row, LVIS_SELECTED | LVIS_FOCUSED, LVIS_SELECTED | LVIS_FOCUSED);
        ListView_EnsureVisible(list_, row, FALSE);
    }

    // Shows the merged value of the selected row in the edit control.
    void showSelected()
    {
        row_ = ListView_GetNextItem(list_, -1, LVNI_SELECTED);
        const MergeField* field = selected();
        filling_ = true;
        setText(GetDlgItem(window_, MERGE_LABEL), field ? platform::harmless(field->label) + u":" : std::u16string());
        setText(GetDlgItem(window_, MERGE_VALUE), field ? editText(field->merged) : std::u16string());
        filling_ = false;
        for (const int id : {MERGE_VALUE, MERGE_TAKE_1, MERGE_TAKE_2}) EnableWindow(GetDlgItem(window_, id), field != nullptr);
    }

    [[nodiscard]] MergeField* selected() const { return row_ < 0 ? nullptr : rows_[static_cast<std::size_t>(row_)]; }

    void put(int row, const std::u16string& value)
    {
        rows_[static_cast<std::size_t>(row)]->merged = value;
        setCell(row, columnMerged, value);
        if (row == row_) showSelected();
    }

    [[nodiscard]] const std::u16string& valueOf(int row, int side) const
    {
        const MergeField& field = *rows_[static_cast<std::size_t>(row)];
        return side == 1 ? field.value1 : field.value2;
    }

    void takeAll(int side)
    {
        for (int row = 0; row < static_cast<int>(rows_.size()); ++row) put(row, valueOf(row, side));
    }

    void takeTyped()
    {
        MergeField* field = selected();
        if (filling_ || !field) return;
        HWND edit = GetDlgItem(window_, MERGE_VALUE);
        std::u16string typed(static_cast<std::size_t>(GetWindowTextLengthW(edit)) + 1, u'\0');
        typed.resize(static_cast<std::size_t>(GetWindowTextW(edit, wide(typed), static_cast<int>(typed.size()))));
        if (typed == editText(field->merged)) return; // only the edit control changed the line ends
        field->merged = std::move(typed);
        setCell(row_, columnMerged, field->merged);
    }

    void command(int id, int notification)
    {
        if (id == MERGE_VALUE && notification == EN_CHANGE) return takeTyped();
        if (notification != BN_CLICKED) return;
        switch (id) {
        case MERGE_TAKE_1:
        case MERGE_TAKE_2:
            if (selected()) put(row_, valueOf(row_, id == MERGE_TAKE_1 ? 1 : 2));
            return;
        case MERGE_ALL_1: return takeAll(1);
        case MERGE_ALL_2: return takeAll(2);
        case IDOK:
        case IDCANCEL: EndDialog(window_, id); return;
        }
    }

    INT_PTR notify(const NMHDR& header)
    {
        if (header.idFrom != MERGE_LIST) return FALSE;
        if (header.code == LVN_ITEMCHANGED) showSelected();
        if (header.code == NM_DBLCLK) {
            const auto& click = reinterpret_cast<const NMITEMACTIVATE&>(header);
            if (click.iItem >= 0 && (click.iSubItem == columnValue1 || click.iSubItem == columnValue2))
                put(click.iItem, valueOf(click.iItem, click.iSubItem == columnValue1 ? 1 : 2));
        }
        return TRUE;
    }

    MergeQuestion& question_;
    std::vector<MergeField*> rows_;
    HWND window_ = nullptr, list_ = nullptr;
    std::optional<platform::WindowLayout> layout_;
    int row_ = -1;         // the selected row, -1 for none
    bool filling_ = false; // the program fills the edit control: its notifications are not input
    std::exception_ptr failure_;
};

} // namespace

bool AskForMerge(MergeQuestion& question) { return MergeWindow(question).run(); }

} // namespace mb::merge
