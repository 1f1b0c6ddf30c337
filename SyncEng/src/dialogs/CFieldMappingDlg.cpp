#include "dialogs/CFieldMappingDlg.h"

#include "dialogs/DialogTexts.h"
#include "foundation/ClassTable.h"
#include "foundation/Format.h"
#include "foundation/GuidLess.h"
#include "foundation/HelpTopic.h"
#include "foundation/Strings.h"
#include "translators/SideSettings.h"
#include "ui.h"
#include <map>

namespace mb {
namespace {

// Loads the translator's dynamic fields, if it has any. They get field types from the field map's next free number on.
void loadDynamicFields(IFieldMap* fieldMaps, REFGUID fieldMap, ITranslator* translator, ITrServices* services)
{
    const auto loader = com::Ptr<ITranslator>(translator).tryAs<IDynamicFieldLoader>();
    LONG next = 0;
    if (!loader || FAILED(com::call(fieldMaps, &IFieldMap::GetNextAvailableFieldType, fieldMap, &next))) return;
    LONG after = next;
    if (SUCCEEDED(com::call(loader, &IDynamicFieldLoader::LoadDynamicFields, services, next, &after)) && after != next)
        (void)com::call(fieldMaps, &IFieldMap::SetNextAvailableFieldType, fieldMap, after);
}

} // namespace

std::u16string DataTypeText(LONG dataType)
{
    switch (dataType) {
    case dtInteger: return LoadText(Text::TypeInteger);
    case dtString: return LoadText(Text::TypeString);
    case dtDouble: return LoadText(Text::TypeDouble);
    case dtDateTime: return LoadText(Text::TypeDateTime);
    case dtBinary: return LoadText(Text::TypeBinary);
    case dtImage: return LoadText(Text::TypeImage);
    default: return Format(u"%d", dataType);
    }
}

void CFieldMappingDlg::prepare()
{
    NoFieldText = LoadText(Text::NoField);
    model_.layout = DialogLayout::FieldMapping;
    model_.caption = u"Edit Field Mapping";
    model_.help = LoadText(Text::HelpFieldMapping);
    model_.add(idInstructions, ControlKind::Text,
               u"Drag the fields in the left column up or down to align them with matching fields in the right column. Toggle the "
               u"checkboxes to map or unmap fields. Click \"Reset\" to restore the default field mapping.");
    Control& list = model_.add(idList, ControlKind::List);
    list.columns = {{map_.name1, false}, {map_.name2, false}};
    list.checkBoxes = list.draggable = list.selectable = true;
    model_.addButton(idOk, u"OK", ButtonRole::Default);
    model_.addButton(idReset, u"&Reset");
    model_.addButton(idCancel, u"Cancel", ButtonRole::Cancel);
    model_.addButton(idHelp, u"&Help", ButtonRole::Help);
    model_.focus = idList;
    fill(true);
}

// After a failure the list stays partly filled.
void CFieldMappingDlg::fill(bool initial)
{
    model_[idList].rows.clear();
    model_[idList].selection = -1;
    loaded_ = false;
    rows_.clear();
    Fields1.clear();
    Fields2.clear();
    com::Ptr<ITrMapEntry> loader;
    com::Ptr<ITranslator> translator1, translator2;
    if (FAILED(createClass(__uuidof(TrManager), maps_)) || FAILED(createClass(__uuidof(FieldMap), fieldMaps_))) return;
    if (FAILED(com::call(maps_, &ITrMap::GetFieldMap, map_.guid, &FieldMapGuid))) return;
    loader = maps_.tryAs<ITrMapEntry>();
    if (!loader || FAILED(com::call(loader, &ITrMapEntry::Load, map_.Translator1Clsid, translator1.put()))) return;
    if (FAILED(com::call(loader, &ITrMapEntry::Load, map_.Translator2Clsid, translator2.put()))) return;
    (void)com::call(fieldMaps_, &IFieldMap::SetNextAvailableFieldType, FieldMapGuid, static_cast<LONG>(ftDynamicStart));
    loaded_ = loadFields(translator1.get(), idTrans1, Fields1) && loadFields(translator2.get(), idTrans2, Fields2);
    if (!loaded_) return;
    const std::vector<Pair> pairs = readPairs(translator1.get(), translator2.get());
    if (initial) OpeningPairs = pairs;
    placeFields(pairs);
}

bool CFieldMappingDlg::loadFields(ITranslator* translator, _TransIds side, std::vector<Field>& fields) const
{
    com::Ptr<ITrServices> services;
    if (SUCCEEDED(MakeServices(map_.guid, side, services))) loadDynamicFields(fieldMaps_.get(), FieldMapGuid, translator, services.get());
    const auto field = com::Ptr<ITranslator>(translator).tryAs<IField>();
    const TranslatorFields known(translator);
    for (const TranslatorFields::Item& item : known.items()) {
        Field found{item.guid, known.nameOf(item.guid)};
        (void)com::call(field, &IField::GetDataType, item.guid, &found.dataType);
        fields.push_back(std::move(found));
    }
    return known.usable();
}

std::vector<CFieldMappingDlg::Pair> CFieldMappingDlg::readPairs(ITranslator* translator1, ITranslator* translator2) const
{
    com::TaskArray<GUID> guids1, guids2;
    std::vector<Pair> pairs;
    if (FAILED(com::call(fieldMaps_, &IFieldMap::EnumerateEntriesExValidate, map_.guid, FieldMapGuid, translator1, translator2,
                         guids1.putCount(), guids1.put(), guids2.put())))
        return pairs;
    for (LONG i = 0; i < guids1.size(); ++i) pairs.emplace_back(guids1.data()[i], guids2.data()[i]);
    return pairs;
}

// Each mapped pair gets a row. The unmapped fields follow, those of side 2 beside those of side 1.
void CFieldMappingDlg::placeFields(const std::vector<Pair>& pairs)
{
    const auto numbersOf = [](const std::vector<Field>& fields) {
        std::map<GUID, int, GuidLess> numbers;
        for (std::size_t i = 0; i < fields.size(); ++i) numbers.emplace(fields[i].guid, static_cast<int>(i));
        return numbers;
    };
    const auto numbers1 = numbersOf(Fields1), numbers2 = numbersOf(Fields2);
    std::vector<bool> placed1(Fields1.size()), placed2(Fields2.size());
    for (const auto& [guid1, guid2] : pairs) {
        const auto at1 = numbers1.find(guid1), at2 = numbers2.find(guid2);
        if (at1 == numbers1.end() || at2 == numbers2.end()) continue; // a translator no longer lists the field
        rows_.push_back({at1->second, at2->second});
        placed1[static_cast<std::size_t>(at1->second)] = placed2[static_cast<std::size_t>(at2->second)] = true;
    }
    const std::size_t mapped = rows_.size();
    for (std::size_t i = 0; i < placed1.size(); ++i)
        if (!placed1[i]) rows_.push_back({static_cast<int>(i), -1});
    std::size_t next = mapped;
    for (std::size_t i = 0; i < placed2.size(); ++i) {
        if (placed2[i]) continue;
        if (next == rows_.size()) rows_.emplace_back();
        rows_[next++].right = static_cast<int>(i);
    }
    model_[idList].rows.resize(rows_.size());
    for (std::size_t i = 0; i < rows_.size(); ++i) showRow(i, i < mapped);
}

void CFieldMappingDlg::showRow(std::size_t row, bool checked)
{
    const auto textOf = [&](const std::vector<Field>& fields, int number) {
        return number < 0 ? NoFieldText : fields[static_cast<std::size_t>(number)].name;
    };
    ListRow& shown = model_[idList].rows[row];
    shown.cells = {textOf(Fields1, rows_[row].left), textOf(Fields2, rows_[row].right)};
    shown.checked = checked;
}

void CFieldMappingDlg::refuse(const Field& one, const Field& other)
{
    ShowWarning(window,
                Format(LoadText(Text::FieldTypesDiffer), one.name, DataTypeText(one.dataType), other.name, DataTypeText(other.dataType)));
}

bool CFieldMappingDlg::canMap(const Row& row) const
{
    return row.left >= 0 && row.right >= 0 &&
           Fields1[static_cast<std::size_t>(row.left)].dataType == Fields2[static_cast<std::size_t>(row.right)].dataType;
}

void CFieldMappingDlg::onCheckRow(int, int number, bool on)
{
    const Row& row = rows_[static_cast<std::size_t>(number)];
    const bool lacksField = row.left < 0 || row.right < 0;
    Control& list = model_[idList];
    if (lacksField && list.selection == number) list.selection = -1;
    if (!on || canMap(row)) return;
    list.rows[static_cast<std::size_t>(number)].checked = false;
    if (!lacksField) refuse(Fields1[static_cast<std::size_t>(row.left)], Fields2[static_cast<std::size_t>(row.right)]);
}

bool CFieldMappingDlg::onBeginDrag(int, int row)
{
    DragRow = rows_[static_cast<std::size_t>(row)].left >= 0 ? row : -1;
    return DragRow >= 0;
}

void CFieldMappingDlg::onDrop(int target)
{
    const int dragged = std::exchange(DragRow, -1);
    if (dragged < 0 || target == dragged || target < 0 || static_cast<std::size_t>(target) >= rows_.size()) return;
    const auto from = static_cast<std::size_t>(dragged), to = static_cast<std::size_t>(target);
    if (rows_[to].left >= 0) {
        const Field &moved = Fields1[static_cast<std::size_t>(rows_[from].left)], &met = Fields1[static_cast<std::size_t>(rows_[to].left)];
        if (moved.dataType != met.dataType) return refuse(moved, met);
    }
    std::swap(rows_[from].left, rows_[to].left);
    for (const std::size_t row : {from, to}) showRow(row, canMap(rows_[row]));
}

void CFieldMappingDlg::onPress(int button)
{
    switch (button) {
    case idReset: return reset();
    case idHelp: (void)ShowHelpTopic(window, helpFieldMapping); return;
    case idOk: result_ = com::guarded([&] { return save(); }); return end(idOk);
    case idCancel:
        if (ResetDone) result_ = com::guarded([&] { return restore(); });
        return end(idCancel);
    }
}

void CFieldMappingDlg::reset()
{
    const platform::WaitCursor wait;
    if (!maps_ || !fieldMaps_ || FAILED(com::call(maps_, &ITrMap::GetFieldMap, map_.guid, &FieldMapGuid))) return;
    (void)com::call(fieldMaps_, &IFieldMap::CreateDefaultMap, FieldMapGuid);
    ResetDone = true;
    fill(false);
}

} // namespace mb
