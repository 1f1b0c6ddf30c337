#include "dialogs/CConflictDlg.h"

#include "dialogs/DialogTexts.h"
#include "dialogs/MergeConflict.h"
#include "foundation/Format.h"
#include "foundation/HelpTopic.h"
#include "foundation/ImageValue.h"
#include "foundation/Strings.h"
#include "host.h"
#include "text.h"
#include "translators/Cancelled.h"
#include "translators/ImageFields.h"

namespace mb {
namespace {

constexpr LONG noType = -1; // not 0: a translator may report 0 for a field that was not loaded

} // namespace

void CConflictDlg::prepare()
{
    const TranslatorFields fields1(question_.side1.translator), fields2(question_.side2.translator);
    contact1_ = ReadContactName(fields1, question_.side1.recordId, ftFirstName, ftLastName);
    contact2_ = nameOnSide2(fields2);
    mergeName1_ = name1_ = StoreNameOf(question_.side1.name, question_.side1.clsid);
    mergeName2_ = name2_ = StoreNameOf(question_.side2.name, question_.side2.clsid);
    addControls(message());
    preselect();
    fillList(fields1, fields2);
    fields1.throwIfCancelled();
    fields2.throwIfCancelled();
}

// A name whose field is not mapped stays empty.
ContactName CConflictDlg::nameOnSide2(const TranslatorFields& fields) const
{
    const auto mapped = [&](LONG type) {
        const auto at = question_.FieldTypes ? question_.FieldTypes->find(type) : FieldTypeMap::const_iterator();
        return question_.FieldTypes && at != question_.FieldTypes->end() ? at->second : noType;
    };
    return ReadContactName(fields, question_.side2.recordId, mapped(ftFirstName), mapped(ftLastName));
}

std::u16string CConflictDlg::message() const
{
    const std::u16string shown1 = contact1_.shortened(), shown2 = contact2_.shortened();
    const bool differ = !contact1_.sameAs(contact2_);
    if (question_.FieldMapChanged)
        return differ ? Format(LoadText(Text::FieldMapDuplicateMessage), shown1, name1_, shown2, name2_)
                      : Format(LoadText(Text::FieldMapConflictMessage), shown1, name1_, name2_);
    return differ ? Format(LoadText(Text::DuplicateConflictMessage), shown1, name1_, shown2, name2_, name2_)
                  : Format(LoadText(Text::ConflictMessage), shown1, name1_, name2_, name2_);
}

void CConflictDlg::addControls(std::u16string_view messageText)
{
    model_.layout = DialogLayout::Conflict;
    model_.caption = u"Resolve Conflicting Changes";
    model_.help = LoadText(Text::HelpConflict);
    model_.add(idCounter, ControlKind::Text, Format(LoadText(Text::ConflictCounter), question_.ConflictIndex, question_.ConflictTotal));
    model_.add(idMessage, ControlKind::Text, messageText);
    model_.add(idList, ControlKind::List);
    model_.add(idMerge, ControlKind::Radio, u"Let me resolve the conflicts &manually");
    model_.add(idDuplicate, ControlKind::Radio, u"Create a &duplicate contact");
    model_.add(idTrans1Wins, ControlKind::Radio, Format(LoadText(Text::FirstOverwritesSecond), name1_, name2_));
    model_.add(idTrans2Wins, ControlKind::Radio, Format(LoadText(Text::SecondOverwritesFirst), name2_, name1_));
    model_.add(idApplyToAll, ControlKind::CheckBox, u"&Apply the selected resolution to all conflicts");
    model_.addButton(idOk, u"OK", ButtonRole::Default);
    model_.addButton(idCancel, u"Cancel", ButtonRole::Cancel);
    model_.addButton(idHelp, u"&Help", ButtonRole::Help);
}

void CConflictDlg::preselect()
{
    const int radio = question_.Resolution == croTrans1Wins   ? idTrans1Wins
                      : question_.Resolution == croTrans2Wins ? idTrans2Wins
                      : question_.Resolution == croMerge      ? idMerge
                                                              : idDuplicate;
    model_.checkRadio(radio);
    model_.focus = radio;
    model_[idApplyToAll].checked = question_.ApplyToAll;
    onChoose(radio);
}

// A merge applies to one contact only.
void CConflictDlg::onChoose(int radio) { model_[idApplyToAll].enabled = radio != idMerge; }

void CConflictDlg::fillList(const TranslatorFields& fields1, const TranslatorFields& fields2)
{
    Control& list = model_[idList];
    list.columns = {{LoadText(Text::FieldNameColumn)}, {name1_}, {name2_}};
    question_.ConflictFields1.clear();
    question_.ConflictFields2.clear();
    for (const auto& [type, value1] : question_.ChangeMap1) {
        if (!question_.SyncImages && isImageType(type)) continue;
        const LONG mapped = mappedType(question_.FieldTypes, type);
        const auto on2 = question_.ChangeMap2.find(mapped);
        if (on2 == question_.ChangeMap2.end()) continue;
        question_.ConflictFields1.push_back(type);
        question_.ConflictFields2.push_back(mapped);
        if (isImageType(type) && value1 == on2->second) continue;
        const std::u16string label = mapped == type ? std::u16string() : u"[" + fields2.nameOfType(mapped) + u"] ";
        list.rows.push_back({{fields1.nameOfType(type), CellText(value1), label + CellText(on2->second)}});
    }
}

void CConflictDlg::onPress(int button)
{
    switch (button) {
    case idOk: return accept();
    case idCancel: return end(idCancel);
    case idHelp: (void)ShowHelpTopic(window, helpConflict); return;
    }
}

void CConflictDlg::accept()
{
    question_.Resolution = model_[idDuplicate].checked    ? croAddAll
                           : model_[idMerge].checked      ? croMerge
                           : model_[idTrans1Wins].checked ? croTrans1Wins
                                                          : croTrans2Wins;
    const Control& all = model_[idApplyToAll];
    question_.ApplyToAll = all.enabled && all.checked;
    if (question_.Resolution == croMerge) {
        bool cancelled = false;
        const HRESULT hr = com::guarded([&] {
            try {
                return MergeConflict(question_, window, {mergeName1_, mergeName2_}, ConvertImageValue);
            } catch (const Cancelled&) {
                cancelled = true;
                return E_ABORT;
            }
        });
        if (cancelled) throw Cancelled{};
        if (FAILED(hr))
            return ShowWarning(window, Format(LoadText(Text::MergeFailedWithCode), Format(u"%x", hr), platform::systemMessage(hr)));
        if (hr == S_FALSE) return; // the user cancelled the merge: the dialog stays open
    }
    end(idOk);
}

} // namespace mb
