#include "dialogs/Dialog.h"

#include "dialogs/DefaultFrontEnd.h"
#include "foundation/Strings.h"
#include "translators/Cancelled.h"
#include <utility>

namespace mb {
namespace {

DialogFrontEnd* installed = nullptr;

} // namespace

Control* Dialog::active(int id, ControlKind kind) noexcept
{
    Control* control = ending_ ? nullptr : model_.find(id);
    return control && control->kind == kind && control->enabled && control->visible ? control : nullptr;
}

Control* Dialog::activeList(int id, int row) noexcept
{
    Control* list = active(id, ControlKind::List);
    return list && row >= 0 && static_cast<std::size_t>(row) < list->rows.size() ? list : nullptr;
}

void Dialog::press(int button)
{
    // A window can be closed even if it has no button for that.
    if (button == idCancel && !ending_) return act(button);
    if (active(button, ControlKind::Button)) act(button);
}

// No exception may pass through the front end's window. A cancel is remembered here, and thrown by ShowDialog after the window has closed.
void Dialog::act(int button)
{
    try {
        onPress(button);
    } catch (const Cancelled&) {
        cancelledByTranslator_ = true;
        end(idCancel);
    }
}

void Dialog::choose(int radio)
{
    if (!active(radio, ControlKind::Radio)) return;
    model_.checkRadio(radio);
    model_.focus = radio;
    onChoose(radio);
}

void Dialog::check(int box, bool on)
{
    if (Control* control = active(box, ControlKind::CheckBox)) control->checked = on;
}

void Dialog::select(int list, int row)
{
    Control* control = row == -1 ? active(list, ControlKind::List) : activeList(list, row);
    if (!control || !control->selectable) return;
    control->selection = row;
    onSelect(list, row);
}

void Dialog::clickHeader(int list, int column)
{
    const Control* control = active(list, ControlKind::List);
    if (control && control->sortable && column >= 0 && static_cast<std::size_t>(column) < control->columns.size())
        onClickHeader(list, column);
}

void Dialog::checkRow(int list, int row, bool on)
{
    Control* control = activeList(list, row);
    if (!control || !control->checkBoxes) return;
    ListRow& item = control->rows[static_cast<std::size_t>(row)];
    if (item.checked == on) return;
    item.checked = on;
    onCheckRow(list, row, on);
}

bool Dialog::beginDrag(int list, int row)
{
    const Control* control = activeList(list, row);
    return control && control->draggable && onBeginDrag(list, row);
}

void Dialog::drop(int row)
{
    if (!ending_) onDrop(row);
}

DialogFrontEnd* SetFrontEnd(DialogFrontEnd* frontEnd) noexcept { return std::exchange(installed, frontEnd); }
DialogFrontEnd& FrontEnd() { return installed ? *installed : DefaultFrontEnd(); }

int ShowDialog(Dialog& dialog, HWND parent)
{
    dialog.window = parent;
    dialog.prepare();
    if (!dialog.ending()) FrontEnd().run(dialog, parent);
    if (dialog.cancelledByTranslator()) throw Cancelled{};
    return dialog.ending().value_or(idCancel);
}

void ShowWarning(HWND parent, std::u16string_view text)
{
    FrontEnd().tell(parent, text, LoadText(Text::ProductCaption), platform::MessageKind::Warning);
}

} // namespace mb
