// Part of CTrManager: keeps maps and their options.
#include "foundation/ClassTable.h"
#include "foundation/Log.h"
#include "store/ConfigStore.h"
#include "store/CSyncHistory.h"
#include "translators/CTrManager.h"
#include "translators/FieldMappingEditor.h"
#include "translators/SideSettings.h"
#include "translators/TrMapKeys.h"
#include "translators/UnmappedPairs.h"

namespace mb {
namespace {

enum class OptionKind { Boolean, Number };

struct OptionRow {
    const char16_t* key;
    OptionKind kind;
};

// In the order of _SyncOptions, which begins at 1.
constexpr OptionRow optionRows[] = {
    {u"ConfirmAdds", OptionKind::Boolean},    {u"ConfirmUpdates", OptionKind::Boolean},       {u"ConfirmDeletes", OptionKind::Boolean},
    {u"ConflictOptions", OptionKind::Number}, {u"DeleteConflictOptions", OptionKind::Number}, {u"SyncType", OptionKind::Number},
    {u"SyncVerified", OptionKind::Boolean},   {u"SyncImages", OptionKind::Boolean},           {u"SyncImageChanged", OptionKind::Boolean},
};

// The percentage of a side's linked records that a run may delete; 0 means no limit.
constexpr OptionRow deletionLimitRow{u"DeletionLimit", OptionKind::Number};
constexpr OptionRow cardVersionRow{u"CardVersion", OptionKind::Number};

const OptionRow* rowOf(LONG option)
{
    if (option == soDeletionLimit) return &deletionLimitRow;
    if (option == soCardVersion) return &cardVersionRow;
    return option >= soConfirmAdds && option <= soSyncImageOptionChanged ? &optionRows[option - 1] : nullptr;
}

HRESULT writePair(const std::u16string& section, REFGUID id1, REFGUID id2)
{
    const HRESULT hr = ConfigStore().WriteGuid(trMapType, section, trMapTrans1Key, id1, false, true);
    return SUCCEEDED(hr) ? ConfigStore().WriteGuid(trMapType, section, trMapTrans2Key, id2, false, true) : hr;
}

// Creates a field map with the default entries and assigns it to the map.
HRESULT giveDefaultFieldMap(const std::u16string& section, const com::Ptr<IFieldMap>& fieldMap, REFGUID id1, REFGUID id2)
{
    GUID fieldMapId{};
    HRESULT hr = com::call(fieldMap, &IFieldMap::Create, id1, id2, &fieldMapId);
    if (SUCCEEDED(hr)) hr = com::call(fieldMap, &IFieldMap::CreateDefaultMap, fieldMapId);
    return SUCCEEDED(hr) ? ConfigStore().WriteGuid(trMapType, section, trMapFieldMapKey, fieldMapId, false, true) : hr;
}

// The last step of creating a map; `hr` is the result of the others. After a failure the part that was written stays in the store.
HRESULT finishPair(const GUID& map, REFGUID id1, REFGUID id2, HRESULT hr)
{
    if (SUCCEEDED(hr))
        (void)CSyncHistory::DeleteHistoryFile(map); // a stale history must not be used for the new map
    else
        WriteLogResource(logFailures, Text::ModuleMapFailed, hr, com::guidText(id1), com::guidText(id2));
    return hr;
}

// Tells the next run of every map to compare its images.
void announceImageOption()
{
    std::vector<std::u16string> sections;
    if (FAILED(ConfigStore().ListSections(trMapType, sections))) return;
    const com::Bstr key(imageOptionKey), value(u"1");
    SaveScope scope(ConfigStore()); // one save for all maps
    for (const std::u16string& section : sections) {
        GUID map{};
        com::Ptr<IDataStream> settings1, settings2;
        if (FAILED(com::parseGuid(section, &map)) || FAILED(MakeSettings(map, idTrans1, settings1)) ||
            FAILED(MakeSettings(map, idTrans2, settings2)))
            continue;
        (void)com::call(settings2, &IDataStream::SetString, key.get(), value.get());
    }
}

} // namespace

HRESULT STDMETHODCALLTYPE CTrManager::Create(REFGUID clsId1, REFGUID clsID2, GUID* pGuid)
{
    if (!pGuid) return E_POINTER;
    *pGuid = GUID_NULL;
    return com::guarded([&] {
        const GUID map = com::newGuid();
        const std::u16string section = com::guidText(map);
        com::Ptr<IFieldMap> fieldMap;
        HRESULT hr = createClass(__uuidof(FieldMap), fieldMap);
        if (SUCCEEDED(hr)) hr = writePair(section, clsId1, clsID2);
        if (SUCCEEDED(hr)) hr = giveDefaultFieldMap(section, fieldMap, clsId1, clsID2);
        if (SUCCEEDED(hr)) *pGuid = map;
        return finishPair(map, clsId1, clsID2, hr);
    });
}

HRESULT STDMETHODCALLTYPE CTrManager::CreateEx(REFGUID gTrMap, REFGUID clsId1, REFGUID clsID2)
{
    return com::guarded([&] {
        const std::u16string section = com::guidText(gTrMap);
        com::Ptr<IFieldMap> fieldMap;
        HRESULT hr = writePair(section, clsId1, clsID2); // first: the map exists even if no field map can be created
        if (SUCCEEDED(hr)) hr = createClass(__uuidof(FieldMap), fieldMap);
        if (SUCCEEDED(hr)) hr = giveDefaultFieldMap(section, fieldMap, clsId1, clsID2);
        return finishPair(gTrMap, clsId1, clsID2, hr);
    });
}

HRESULT STDMETHODCALLTYPE CTrManager::GetTranslators(REFGUID guid, GUID* pTrans1, GUID* pTrans2)
{
    if (!pTrans1 || !pTrans2) return E_POINTER;
    *pTrans1 = *pTrans2 = GUID_NULL;
    return com::guarded([&] {
        const std::u16string section = com::guidText(guid);
        const HRESULT hr = ConfigStore().ReadGuid(trMapType, section, trMapTrans1Key, *pTrans1);
        return SUCCEEDED(hr) ? ConfigStore().ReadGuid(trMapType, section, trMapTrans2Key, *pTrans2) : hr;
    });
}

HRESULT STDMETHODCALLTYPE CTrManager::GetFieldMap(REFGUID guid, GUID* pFieldMap)
{
    if (!pFieldMap) return E_POINTER;
    *pFieldMap = GUID_NULL;
    return com::guarded([&] { return ConfigStore().ReadGuid(trMapType, com::guidText(guid), trMapFieldMapKey, *pFieldMap); });
}

HRESULT STDMETHODCALLTYPE CTrManager::SetFieldMap(REFGUID guid, REFGUID guidMap)
{
    return com::guarded([&] {
        const std::u16string section = com::guidText(guid);
        SaveScope scope(ConfigStore()); // one save for all
        GUID former{};
        HRESULT hr = S_OK;
        if (SUCCEEDED(ConfigStore().ReadGuid(trMapType, section, trMapFieldMapKey, former))) hr = CarryUnmappedPairs(former, guidMap);
        if (SUCCEEDED(hr)) hr = ConfigStore().WriteGuid(trMapType, section, trMapFieldMapKey, guidMap, false, true);
        const HRESULT saved = scope.finish();
        return FAILED(hr) ? hr : saved;
    });
}

HRESULT STDMETHODCALLTYPE CTrManager::GetOption(REFGUID guid, LONG optId, VARIANT* pvarValue)
{
    if (!pvarValue) return E_POINTER;
    VariantInit(pvarValue);
    const OptionRow* row = rowOf(optId);
    if (!row) return E_INVALIDARG;
    return com::guarded([&] {
        LONG value = 0;
        const HRESULT hr = ConfigStore().ReadInt(trMapType, com::guidText(guid), row->key, value);
        if (row->kind == OptionKind::Number) {
            pvarValue->vt = VT_I4;
            pvarValue->lVal = value;
        } else {
            pvarValue->vt = VT_BOOL;
            pvarValue->boolVal = value == 1 ? VARIANT_TRUE : VARIANT_FALSE;
        }
        return hr;
    });
}

// Ignores the variant's type: CSyncTransfer passes a value without one.
HRESULT STDMETHODCALLTYPE CTrManager::SetOption(REFGUID guid, LONG optId, VARIANT varValue)
{
    const OptionRow* row = rowOf(optId);
    if (!row) return E_INVALIDARG;
    return com::guarded([&] {
        const bool isTrue = varValue.boolVal == VARIANT_TRUE;
        const LONG value = row->kind == OptionKind::Number ? varValue.lVal : isTrue;
        const HRESULT hr = ConfigStore().WriteInt(trMapType, com::guidText(guid), row->key, value, false, true);
        if (SUCCEEDED(hr) && optId == soSyncImageOptionChanged && isTrue) announceImageOption();
        return hr;
    });
}

HRESULT STDMETHODCALLTYPE CTrManager::GetCategoryGuid(REFGUID guid, GUID* pCatGuid)
{
    if (!pCatGuid) return E_POINTER;
    *pCatGuid = GUID_NULL;
    return com::guarded([&] { return ConfigStore().ReadGuid(trMapType, com::guidText(guid), trMapCategoryKey, *pCatGuid); });
}

HRESULT STDMETHODCALLTYPE CTrManager::SetCategoryGuid(REFGUID guid, REFGUID catGuid)
{
    return com::guarded([&] { return ConfigStore().WriteGuid(trMapType, com::guidText(guid), trMapCategoryKey, catGuid, false, true); });
}

HRESULT STDMETHODCALLTYPE CTrManager::ConfigureFieldMapping(HWND hwndParent, REFGUID gTrMap, VARIANT_BOOL bSetFlagForHistory)
{
    return com::guarded([&] { return RunFieldMappingEditor(hwndParent, gTrMap, bSetFlagForHistory != VARIANT_FALSE); });
}

} // namespace mb
