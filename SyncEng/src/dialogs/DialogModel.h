// The controls of a dialog, by id. The dialog's logic fills them and a front end draws them. The model knows neither windows nor terminals.
#pragma once
#include <string>
#include <vector>

namespace mb {

enum class ControlKind { Text, Edit, Radio, CheckBox, Button, List };
enum class ButtonRole { Plain, Default, Cancel, Help };

struct ListColumn {
    std::u16string header;
    bool fitsContent = true; // as wide as its widest text; otherwise all columns have the same width
};

struct ListRow {
    std::vector<std::u16string> cells;
    bool checked = false;
    std::size_t tag = 0; // identifies the row for the dialog's logic
};

struct Control {
    int id = 0;
    ControlKind kind = ControlKind::Text;
    std::u16string text; // in radios, check boxes and buttons '&' marks the access key
    ButtonRole role = ButtonRole::Plain;
    bool checked = false, enabled = true, visible = true;

    // Lists only.
    std::vector<ListColumn> columns;
    std::vector<ListRow> rows;
    bool checkBoxes = false; // each row has one
    bool selectable = false; // a row can be selected
    bool sortable = false;   // by a click on a header
    bool draggable = false;  // a row can be dragged onto another
    int sortColumn = -1;     // the column with the sort arrow; -1 for none
    bool sortAscending = true;
    int selection = -1;
};

// The resource numbers of the dialog templates.
enum class DialogLayout { None, Conflict = 301, DeleteConflict, Confirmation, Details, ChangeDetails, FieldMapping };

class DialogModel {
public:
    DialogLayout layout = DialogLayout::None;
    std::u16string caption;
    std::u16string help; // a short explanation, shown where there is no help file
    int focus = 0;

    Control& add(int id, ControlKind kind, std::u16string_view text = {});
    Control& addButton(int id, std::u16string_view text, ButtonRole role = ButtonRole::Plain);
    // Requires: the control exists.
    [[nodiscard]] Control& operator[](int id);
    [[nodiscard]] const Control* find(int id) const noexcept;
    [[nodiscard]] Control* find(int id) noexcept;
    // In tab order.
    [[nodiscard]] const std::vector<Control>& controls() const noexcept { return controls_; }
    // Checks the radio and unchecks all others: a dialog has only one group.
    void checkRadio(int id);

private:
    std::vector<Control> controls_;
};

} // namespace mb
