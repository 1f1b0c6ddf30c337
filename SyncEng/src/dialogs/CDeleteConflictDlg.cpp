#include "dialogs/CDeleteConflictDlg.h"

#include "dialogs/DialogTexts.h"
#include "foundation/Format.h"
#include "foundation/HelpTopic.h"
#include "foundation/Strings.h"
#include "translators/ImageFields.h"

namespace mb {

void CDeleteConflictDlg::prepare()
{
    const ConflictSide& survivor = question_.survivor;
    const TranslatorFields fields(survivor.translator);
    changedName_ = StoreNameOf(survivor.name, survivor.clsid);
    deletedName_ = StoreNameOf(question_.deletedName, question_.deletedClsid);
    contact_ = ReadContactName(fields, survivor.recordId, ftFirstName, ftLastName);

    model_.layout = DialogLayout::DeleteConflict;
    model_.caption = u"Resolve Contact's Change and Deletion";
    model_.help = LoadText(Text::HelpDeleteConflict);
    model_.add(idCounter, ControlKind::Text, Format(LoadText(Text::ConflictCounter), question_.ConflictIndex, question_.ConflictTotal));
    model_.add(idMessage, ControlKind::Text,
               Format(LoadText(Text::DeleteConflictMessage), contact_.shortened(), changedName_, deletedName_));
    model_.add(idList, ControlKind::List);
    model_.add(idAdd, ControlKind::Radio, Format(LoadText(Text::AddContactTo), deletedName_));
    model_.add(idDelete, ControlKind::Radio, Format(LoadText(Text::DeleteContactFrom), changedName_));
    model_.add(idApplyToAll, ControlKind::CheckBox, u"A&pply the selected resolution to all conflicts").checked = question_.ApplyToAll;
    model_.addButton(idOk, u"OK", ButtonRole::Default);
    model_.addButton(idCancel, u"Cancel", ButtonRole::Cancel);
    model_.addButton(idHelp, u"&Help", ButtonRole::Help);
    model_.checkRadio(idAdd);
    model_.focus = idAdd;
    fillList(fields);
    fields.throwIfCancelled();
}

void CDeleteConflictDlg::fillList(const TranslatorFields& fields)
{
    Control& list = model_[idList];
    list.columns = {{LoadText(Text::FieldNameColumn)}, {changedName_}, {deletedName_}};
    const std::u16string gone = LoadText(Text::ContactDeleted);
    const RecordReading record(fields, question_.survivor.recordId);
    if (!record) return;
    for (const TranslatorFields::Item& item : fields.items()) {
        std::u16string value;
        if (isImageType(item.type) || FAILED(fields.read(record, item.guid, value))) continue;
        list.rows.push_back({{fields.nameOf(item.guid), CellText(value), gone}});
    }
}

void CDeleteConflictDlg::onPress(int button)
{
    switch (button) {
    case idOk: takeAnswer(); return end(idOk);
    case idCancel: return end(idCancel);
    case idHelp: (void)ShowHelpTopic(window, helpDeleteConflict); return;
    }
}

// "Add" means that the side that changed the contact wins, "Delete" that the side that deleted it wins.
void CDeleteConflictDlg::takeAnswer()
{
    const bool add = model_[idAdd].checked, goneOnOne = question_.DeletedSide == idTrans1;
    question_.Resolution = add == goneOnOne ? croTrans2Wins : croTrans1Wins;
    question_.ApplyToAll = model_[idApplyToAll].checked;
}

} // namespace mb
