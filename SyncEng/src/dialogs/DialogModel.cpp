#include "dialogs/DialogModel.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace mb {

Control& DialogModel::add(int id, ControlKind kind, std::u16string_view text)
{
    Control control;
    control.id = id;
    control.kind = kind;
    control.text = text;
    return controls_.emplace_back(std::move(control));
}

Control& DialogModel::addButton(int id, std::u16string_view text, ButtonRole role)
{
    Control& button = add(id, ControlKind::Button, text);
    button.role = role;
    return button;
}

const Control* DialogModel::find(int id) const noexcept
{
    const auto at = std::ranges::find(controls_, id, &Control::id);
    return at == controls_.end() ? nullptr : &*at;
}

Control* DialogModel::find(int id) noexcept { return const_cast<Control*>(std::as_const(*this).find(id)); }

Control& DialogModel::operator[](int id)
{
    Control* control = find(id);
    if (!control) throw std::out_of_range("no such control");
    return *control;
}

void DialogModel::checkRadio(int id)
{
    for (Control& control : controls_)
        if (control.kind == ControlKind::Radio) control.checked = control.id == id;
}

} // namespace mb
