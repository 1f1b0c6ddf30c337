#include "dialogs/CDetailsDlg.h"

#include "dialogs/CChangeDetailsDlg.h"
#include "dialogs/DialogTexts.h"
#include "foundation/Format.h"
#include "foundation/Strings.h"
#include "text.h"
#include "translators/Cancelled.h"
#include <algorithm>

namespace mb {

void CDetailsDlg::prepare()
{
    if (changes_.FieldTypes) types12_ = *changes_.FieldTypes;
    for (const auto& [type1, type2] : types12_) types21_.emplace(type2, type1);

    model_.layout = DialogLayout::Details;
    model_.caption = u"Details";
    model_.help = LoadText(Text::HelpDetails);
    const auto addList = [&](int title, int list, const PlannedSide& side) {
        model_.add(title, ControlKind::Text, Format(LoadText(Text::ChangesAppliedTo), StoreNameOf(side.name, side.clsid)));
        Control& control = model_.add(list, ControlKind::List);
        control.columns = {{LoadText(Text::ActionColumn)},
                           {LoadText(Text::FirstNameColumn)},
                           {LoadText(Text::LastNameColumn)},
                           {LoadText(Text::CompanyColumn)}};
        control.selectable = control.sortable = true;
        control.sortColumn = 0;
    };
    addList(idTitle1, idList1, changes_.side1);
    addList(idTitle2, idList2, changes_.side2);
    model_.addButton(idViewChanges, u"&View Contact Changes").enabled = false;
    model_.addButton(idOk, u"OK", ButtonRole::Default);
    model_.addButton(idCancel, u"Cancel", ButtonRole::Cancel).visible = false;
    model_.focus = idList1;

    const TranslatorFields fields1(changes_.side1.translator), fields2(changes_.side2.translator);
    fillList(idList1, changes_.side1, fields1, fields2);
    fillList(idList2, changes_.side2, fields2, fields1);
    addUnverified(fields1, fields2);
    for (const int list : {idList1, idList2}) sort(model_[list]);
    fields1.throwIfCancelled();
    fields2.throwIfCancelled();
}

// Additions and changes show records of the other side, deletions show records of the list's own side.
void CDetailsDlg::fillList(int list, const PlannedSide& side, const TranslatorFields& ownFields, const TranslatorFields& otherFields)
{
    for (const PlannedTask& task : side.tasks) {
        if (task.isAddition()) addRow(list, otherFields, *task.recordId, Text::ActionAdd, &task);
        if (task.isChange()) addRow(list, otherFields, *task.recordId, Text::ActionChange, &task);
        if (task.isDeletion()) addRow(list, ownFields, *task.recordId, Text::ActionDelete, &task);
    }
}

void CDetailsDlg::addRow(int list, const TranslatorFields& source, const std::u16string& recordId, Text action, const PlannedTask* task)
{
    if (!source.usable()) return;
    const RecordReading record(source, recordId);
    ListRow row{{LoadText(action), {}, {}, {}}};
    if (record) {
        (void)source.read(record, ftFirstName, row.cells[1]);
        (void)source.read(record, ftLastName, row.cells[2]);
        (void)source.read(record, ftCompany, row.cells[3]);
    }
    row.tag = tasks_.size();
    tasks_.push_back(task);
    model_[list].rows.push_back(std::move(row));
}

// An unverified record belongs to side 1 if translator 1 finds it, else to side 2.
void CDetailsDlg::addUnverified(const TranslatorFields& fields1, const TranslatorFields& fields2)
{
    if (!changes_.UnverifiedRecords) return;
    for (const std::u16string& id : *changes_.UnverifiedRecords) {
        const bool on1 = SUCCEEDED(unlessCancelled(com::call(changes_.side1.translator, &ITranslator::FindRecord, com::Bstr(id).get())));
        addRow(idList1, on1 ? fields1 : fields2, id, Text::ActionNoneUnverified, nullptr);
    }
}

const PlannedTask* CDetailsDlg::taskOf(int list, std::size_t row) const
{
    const Control* control = model_.find(list);
    return control && row < control->rows.size() ? tasks_[control->rows[row].tag] : nullptr;
}

void CDetailsDlg::sort(Control& list) const
{
    const auto column = static_cast<std::size_t>(list.sortColumn);
    const auto before = [&](const ListRow& a, const ListRow& b) {
        const int folded = platform::compareNoCase(a.cells[column], b.cells[column]);
        return folded != 0 ? folded < 0 : a.cells[column] < b.cells[column];
    };
    if (list.sortAscending)
        std::ranges::stable_sort(list.rows, before);
    else
        std::ranges::stable_sort(list.rows, [&](const ListRow& a, const ListRow& b) { return before(b, a); });
}

void CDetailsDlg::onClickHeader(int list, int column)
{
    Control& control = model_[list];
    control.sortAscending = control.sortColumn != column || !control.sortAscending;
    control.sortColumn = column;
    const auto selected =
        control.selection < 0 ? std::optional<std::size_t>() : control.rows[static_cast<std::size_t>(control.selection)].tag;
    sort(control);
    if (!selected) return;
    const auto at = std::ranges::find(control.rows, *selected, &ListRow::tag); // the selection stays on its contact
    control.selection = static_cast<int>(at - control.rows.begin());
}

// Only one of the lists holds a selection.
void CDetailsDlg::onSelect(int list, int row)
{
    if (row >= 0) model_[list == idList1 ? idList2 : idList1].selection = -1;
    const PlannedTask* task = row < 0 ? nullptr : taskOf(list, static_cast<std::size_t>(row));
    model_[idViewChanges].enabled = task && task->isChange();
}

void CDetailsDlg::onPress(int button)
{
    if (button == idViewChanges) return viewChanges();
    if (button == idOk || button == idCancel) end(button);
}

void CDetailsDlg::viewChanges()
{
    const int list = model_[idList1].selection >= 0 ? idList1 : idList2;
    const PlannedTask* task = taskOf(list, static_cast<std::size_t>(model_[list].selection));
    CChangeDetailsDlg changes({targetOf(list).translator, targetOf(list).clsid, *task->MappedId, task->Changes, &typesFor(list),
                               changes_.SyncImages, targetOf(list).name, targetOf(list).database});
    (void)ShowDialog(changes, window);
}

} // namespace mb
