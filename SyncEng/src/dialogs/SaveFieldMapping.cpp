// Part of CFieldMappingDlg: writes the new field map on OK, and restores the former entries on Cancel after Reset.
#include "dialogs/CFieldMappingDlg.h"
#include "foundation/ClassTable.h"
#include "foundation/FieldValue.h"
#include "foundation/StartUp.h"
#include "foundation/StoreNames.h"
#include "host.h"
#include "store/ConfigStore.h"
#include "translators/Cancelled.h"
#include "translators/UnmappedPairs.h"
#include "ui.h"
#include <algorithm>

namespace mb {
namespace {

bool wasUpdated(IFieldMap* fieldMaps, const GUID& fieldMap)
{
    LONG updated = 0;
    return SUCCEEDED(com::call(fieldMaps, &IFieldMap::GetFieldMapUpdated, fieldMap, &updated)) && updated == 1;
}

} // namespace

std::vector<std::u16string> SectionsToMark(const TrMapRecord& map, const std::filesystem::path& host)
{
    if (hostIsContactProgram(host)) return {LowerJoin(u"Trans1", map.database1, map.database2)};
    return {u"Trans1", u"Trans2"};
}

HRESULT CFieldMappingDlg::save()
{
    const platform::WaitCursor wait;
    if (!loaded_) return E_FAIL;
    SaveScope scope(ConfigStore()); // one save for all entries
    GUID fresh{};
    HRESULT hr = com::call(fieldMaps_, &IFieldMap::Create, map_.Translator1Clsid, map_.Translator2Clsid, &fresh);
    bool changed = wasUpdated(fieldMaps_.get(), FieldMapGuid);
    if (SUCCEEDED(hr)) hr = writeRows(fresh, changed);
    if (FAILED(hr)) {
        (void)com::call(fieldMaps_, &IFieldMap::DeleteMap, fresh);
        return hr;
    }
    if (changed) (void)com::call(fieldMaps_, &IFieldMap::SetFieldMapUpdated, fresh, 1);
    hr = com::call(maps_, &ITrMap::SetFieldMap, map_.guid, fresh);
    if (SUCCEEDED(hr) && changed && SetFlagForHistory) hr = markHistory();
    const HRESULT saved = scope.finish();
    return FAILED(hr) ? hr : saved;
}

HRESULT CFieldMappingDlg::writeRows(const GUID& fresh, bool& changed)
{
    std::size_t walked = 0, written = 0;
    const Control& list = model_[idList];
    for (std::size_t i = 0; i < rows_.size(); ++i) {
        if (!list.rows[i].checked) continue;
        ++walked;
        const GUID &guid1 = Fields1[static_cast<std::size_t>(rows_[i].left)].guid,
                   &guid2 = Fields2[static_cast<std::size_t>(rows_[i].right)].guid;
        if (guid1 == GUID_NULL || guid2 == GUID_NULL) continue;
        const HRESULT hr = com::call(fieldMaps_, &IFieldMap::AddMapEntry, fresh, guid1, guid2);
        if (FAILED(hr)) return hr;
        VARIANT_BOOL known = VARIANT_FALSE;
        if (!changed) {
            (void)com::call(fieldMaps_, &IFieldMap::MapEntryExist, FieldMapGuid, guid1, guid2, &known);
            changed = known == VARIANT_FALSE;
        }
        ++written;
        const auto opened = std::ranges::find(OpeningPairs, Pair(guid1, guid2));
        if (opened != OpeningPairs.end()) OpeningPairs.erase(opened);
    }
    changed = changed || !OpeningPairs.empty() || written != walked;
    return S_OK;
}

// Makes the next run compare all records in the map's history again.
HRESULT CFieldMappingDlg::markHistory() const
{
    HRESULT hr = S_OK;
    for (const std::u16string& section : SectionsToMark(map_, platform::executablePath())) {
        const HRESULT marked = com::call(maps_, &ITrMap::SetFieldMapStatusForHistRecs, map_.guid, com::Bstr(section).get(), VARIANT_TRUE);
        if (SUCCEEDED(hr)) hr = marked;
    }
    return hr;
}

HRESULT CFieldMappingDlg::restore() const
{
    SaveScope scope(ConfigStore());
    GUID current{}, id1{}, id2{}, fresh{};
    HRESULT hr = com::call(maps_, &ITrMap::GetFieldMap, map_.guid, &current);
    if (SUCCEEDED(hr)) hr = com::call(fieldMaps_, &IFieldMap::GetTranslators, current, &id1, &id2);
    if (FAILED(hr)) return hr;
    const bool updated = wasUpdated(fieldMaps_.get(), current);
    const std::vector<std::u16string> unmapped = UnmappedPairs(current);
    (void)com::call(fieldMaps_, &IFieldMap::DeleteMap, current);
    hr = com::call(fieldMaps_, &IFieldMap::Create, id1, id2, &fresh);
    if (SUCCEEDED(hr)) hr = StoreUnmappedPairs(fresh, unmapped);
    for (const auto& [guid1, guid2] : OpeningPairs)
        if (SUCCEEDED(hr)) hr = com::call(fieldMaps_, &IFieldMap::AddMapEntry, fresh, guid1, guid2);
    if (SUCCEEDED(hr) && updated) hr = com::call(fieldMaps_, &IFieldMap::SetFieldMapUpdated, fresh, 1);
    if (SUCCEEDED(hr)) hr = com::call(maps_, &ITrMap::SetFieldMap, map_.guid, fresh);
    const HRESULT saved = scope.finish();
    return FAILED(hr) ? hr : saved;
}

HRESULT EditFieldMapping(HWND parent, REFGUID map, bool setFlagForHistory)
{
    com::Ptr<ITrMap> maps;
    TrMapRecord record;
    record.guid = map;
    HRESULT hr = createClass(__uuidof(TrManager), maps);
    if (SUCCEEDED(hr)) hr = com::call(maps, &ITrMap::GetTranslators, map, &record.Translator1Clsid, &record.Translator2Clsid);
    if (FAILED(hr)) return hr;
    com::Bstr name1, name2, database1, database2;
    (void)com::call(maps, &ITrMap::GetName, record.Translator1Clsid, VARIANT_FALSE, name1.put());
    (void)com::call(maps, &ITrMap::GetName, record.Translator2Clsid, VARIANT_FALSE, name2.put());
    (void)com::call(maps, &ITrMap::GetCurrentDatabase, map, database1.put(), database2.put());
    record.name1 = name1.text();
    record.name2 = name2.text();
    record.database1 = database1.text();
    record.database2 = database2.text();
    TellStoresApart(record.name1, record.database1, record.name2, record.database2);
    CFieldMappingDlg dialog(std::move(record), setFlagForHistory);
    try {
        const int ending = ShowDialog(dialog, parent);
        if (FAILED(dialog.result())) return dialog.result();
        return ending == idOk ? S_OK : S_FALSE;
    } catch (const Cancelled&) {
        return E_ABORT;
    }
}

} // namespace mb
