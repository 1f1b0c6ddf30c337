// What a dialog shows, by control id: the one thing that its logic fills and that a front end draws. It knows no window and no terminal.
#pragma once
#include <string>
#include <vector>

namespace mb {

enum class ControlKind { Text, Edit, Radio, CheckBox, Button, List };
enum class ButtonRole { Plain, Default, Cancel, Help };

struct ListColumn {
    std::u16string header;
    bool fitsContent = true; // as wide as its widest text; else all columns of the list share its width
};

struct ListRow {
    std::vector<std::u16string> cells;
    bool checked = false;
    std::size_t tag = 0; // whatever the logic knows the row by
};

struct Control {
    int id = 0;
    ControlKind kind = ControlKind::Text;
    std::u16string text; // of radios, boxes and buttons with '&' in front of the access key
    ButtonRole role = ButtonRole::Plain;
    bool checked = false, enabled = true, visible = true;

    // Of a list.
    std::vector<ListColumn> columns;
    std::vector<ListRow> rows;
    bool checkBoxes = false; // each row has one
    bool selectable = false; // a row can be selected
    bool sortable = false;   // by a click on a header
    bool draggable = false;  // a row can be dragged onto another
    int sortColumn = -1;     // that carries the arrow
    bool sortAscending = true;
    int selection = -1;
};

// The numbers of the templates by which windows lay the dialogs out.
enum class DialogLayout { None, Conflict = 301, DeleteConflict, Confirmation, Details, ChangeDetails, FieldMapping };

class DialogModel {
public:
    DialogLayout layout = DialogLayout::None;
    std::u16string caption;
    std::u16string help; // what is asked, in short, where there is no help file to open
    int focus = 0;

    Control& add(int id, ControlKind kind, std::u16string_view text = {});
    Control& addButton(int id, std::u16string_view text, ButtonRole role = ButtonRole::Plain);
    // The control must be there.
    [[nodiscard]] Control& operator[](int id);
    [[nodiscard]] const Control* find(int id) const noexcept;
    [[nodiscard]] Control* find(int id) noexcept;
    // In the order of the tab key.
    [[nodiscard]] const std::vector<Control>& controls() const noexcept { return controls_; }
    // Checks the radio and no other: a dialog has one group of them.
    void checkRadio(int id);

private:
    std::vector<Control> controls_;
};

} // namespace mb
