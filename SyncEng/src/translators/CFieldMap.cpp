#include "translators/CFieldMap.h"

#include "foundation/ClassTable.h"
#include "store/ConfigStore.h"
#include "translators/FieldMapKeys.h"
#include "translators/SideSettings.h"
#include <map>

namespace mb {
namespace {

constexpr char16_t trans1Key[] = u"Trans1", trans2Key[] = u"Trans2", nextTypeKey[] = u"NextTypeId", updatedKey[] = u"FieldMapUpdated";

std::u16string entryText(REFGUID field1, REFGUID field2) { return com::guidText(field1) + u":" + com::guidText(field2); }

struct EntryTokens {
    std::u16string first, second; // empty if the value has no such token
};

// Returns the first two tokens of `value`. Tokens are separated by one or more ':'.
EntryTokens tokensOf(std::u16string_view value)
{
    const auto next = [&]() -> std::u16string {
        const std::size_t start = value.find_first_not_of(u':');
        if (start == std::u16string_view::npos) return {};
        const std::size_t end = std::min(value.find(u':', start), value.size());
        std::u16string token(value.substr(start, end - start));
        value.remove_prefix(end);
        return token;
    };
    EntryTokens tokens;
    tokens.first = next();
    tokens.second = next();
    return tokens;
}

GUID parsed(const std::u16string& text)
{
    GUID guid{};
    if (FAILED(com::parseGuid(text, &guid))) guid = {};
    return guid;
}

struct FieldPairs {
    std::vector<GUID> first, second;
};

HRESULT givePairs(const FieldPairs& pairs, LONG* count, GUID** guids1, GUID** guids2)
{
    HRESULT hr = com::giveArray<GUID>(pairs.first, count, guids1);
    if (SUCCEEDED(hr)) hr = com::giveArray<GUID>(pairs.second, count, guids2);
    if (FAILED(hr)) {
        CoTaskMemFree(std::exchange(*guids1, nullptr));
        *guids2 = nullptr;
        *count = 0;
    }
    return hr;
}

HRESULT listValues(REFGUID map, std::vector<std::u16string>& values)
{
    return ConfigStore().ListValues(fieldMapType, com::guidText(map), fieldMapEntryKey, values);
}

// Quirk kept on purpose: EnumerateEntries reports as many entries as there are values. A value without a field is skipped but counted, so
// a null GUID remains at the end.
FieldPairs allPairs(const std::vector<std::u16string>& values)
{
    FieldPairs pairs{std::vector<GUID>(values.size()), std::vector<GUID>(values.size())};
    std::size_t at = 0;
    for (const std::u16string& value : values) {
        const EntryTokens tokens = tokensOf(value);
        if (tokens.first.empty()) continue;
        pairs.first[at] = parsed(tokens.first);
        pairs.second[at] = parsed(tokens.second);
        ++at;
    }
    return pairs;
}

// Calls `ask` again if it fails, because a field that is left out of a run loses its values in new records. Throws on a cancel.
HRESULT askTwice(auto&& ask)
{
    HRESULT hr = ask();
    if (FAILED(hr) && hr != E_ABORT) hr = ask();
    if (hr == E_ABORT) throw com::Error(hr);
    return hr;
}

HRESULT typeOfField(const com::Ptr<IField>& field, const GUID& guid, LONG& type)
{
    return askTwice([&] { return com::call(field, &IField::GetFieldType, guid, &type); });
}

bool isKnown(const com::Ptr<IField>& field, const std::u16string& token, GUID& guid)
{
    LONG type = 0;
    return SUCCEEDED(com::parseGuid(token, &guid)) && SUCCEEDED(typeOfField(field, guid, type));
}

// Returns the entries whose fields both translators know. The other entries stay in the field map.
FieldPairs knownPairs(const std::vector<std::u16string>& values, const com::Ptr<IField>& field1, const com::Ptr<IField>& field2)
{
    FieldPairs pairs;
    for (const std::u16string& value : values) {
        const EntryTokens tokens = tokensOf(value);
        GUID guid1{}, guid2{};
        if (!isKnown(field1, tokens.first, guid1) || !isKnown(field2, tokens.second, guid2)) continue;
        pairs.first.push_back(guid1);
        pairs.second.push_back(guid2);
    }
    return pairs;
}

com::Ptr<IField> fieldOf(ITranslator* translator) { return com::Ptr<ITranslator>(translator).tryAs<IField>(); }

// Lets a translator refresh its list of fields from its settings, before entries are compared with the list.
void validateFields(ITranslator* translator, _TransIds side, REFGUID map)
{
    const auto validator = com::Ptr<ITranslator>(translator).tryAs<IFieldValidator>();
    if (!validator) return;
    com::Ptr<ITrServices> services;
    if (SUCCEEDED(MakeServices(map, side, services))) (void)com::call(validator, &IFieldValidator::ValidateFieldList, services.get());
}

// The fields of one translator of a map. The translator is loaded but not initialised.
struct FieldSource {
    com::Ptr<ITranslator> translator;
    com::Ptr<IFieldList> list;
    com::Ptr<IField> field;
    LONG count = 0;

    HRESULT load(const com::Ptr<ITrMapEntry>& loader, const GUID& clsid)
    {
        const HRESULT hr = com::call(loader, &ITrMapEntry::Load, clsid, translator.put());
        return SUCCEEDED(hr) && !translator ? E_FAIL : hr;
    }
    HRESULT askForFields()
    {
        list = translator.tryAs<IFieldList>();
        field = translator.tryAs<IField>();
        return list && field ? S_OK : E_NOINTERFACE;
    }
    HRESULT askForCount()
    {
        return askTwice([&] { return com::call(list, &IFieldList::GetCount, &count); });
    }

    // Returns the fields by type. The last field of a type wins; a field whose type cannot be read is left out.
    [[nodiscard]] std::map<LONG, GUID> fieldsByType() const
    {
        std::map<LONG, GUID> fields;
        for (LONG i = 0; i < count; ++i) {
            GUID guid{};
            LONG type = 0;
            if (FAILED(askTwice([&] { return com::call(list, &IFieldList::GetFieldByIndex, i, &guid); }))) continue;
            if (SUCCEEDED(typeOfField(field, guid, type))) fields[type] = guid;
        }
        return fields;
    }
};

// Does each step for both translators before the next step.
HRESULT loadSources(const com::Ptr<ITrMapEntry>& loader, const GUID& id1, const GUID& id2, FieldSource& source1, FieldSource& source2)
{
    HRESULT hr = source1.load(loader, id1);
    if (SUCCEEDED(hr)) hr = source2.load(loader, id2);
    if (SUCCEEDED(hr)) hr = source1.askForFields();
    if (SUCCEEDED(hr)) hr = source2.askForFields();
    if (SUCCEEDED(hr)) hr = source1.askForCount();
    if (SUCCEEDED(hr)) hr = source2.askForCount();
    return hr;
}

} // namespace

HRESULT STDMETHODCALLTYPE CFieldMap::Create(REFGUID clsId1, REFGUID clsID2, GUID* pGuid)
{
    if (!pGuid) return E_POINTER;
    *pGuid = GUID_NULL;
    return com::guarded([&] {
        const GUID made = com::newGuid();
        const std::u16string section = com::guidText(made);
        HRESULT hr = ConfigStore().WriteGuid(fieldMapType, section, trans1Key, clsId1, false, true);
        if (SUCCEEDED(hr)) hr = ConfigStore().WriteGuid(fieldMapType, section, trans2Key, clsID2, false, true);
        if (SUCCEEDED(hr)) hr = SetNextAvailableFieldType(made, ftDynamicStart);
        if (SUCCEEDED(hr)) *pGuid = made;
        return hr;
    });
}

HRESULT STDMETHODCALLTYPE CFieldMap::CreateDefaultMap(REFGUID guid)
{
    return com::guarded([&]() -> HRESULT {
        com::Ptr<ITrMapEntry> loader;
        HRESULT hr = createClass(__uuidof(TrManager), loader);
        GUID id1{}, id2{};
        if (SUCCEEDED(hr)) hr = GetTranslators(guid, &id1, &id2);
        FieldSource source1, source2;
        if (SUCCEEDED(hr)) hr = loadSources(loader, id1, id2, source1, source2);
        if (FAILED(hr)) return hr;
        const auto fields1 = source1.fieldsByType(), fields2 = source2.fieldsByType();
        if (source1.count <= 0 || source2.count <= 0) return hr; // keeps the existing entries

        SaveScope scope(ConfigStore()); // one save for all entries
        hr = ConfigStore().RemoveKey(fieldMapType, com::guidText(guid), fieldMapEntryKey);
        for (const auto& [type, field1] : fields1) {
            const auto field2 = fields2.find(type);
            if (SUCCEEDED(hr) && field2 != fields2.end()) hr = AddMapEntry(guid, field1, field2->second);
        }
        const HRESULT saved = scope.finish();
        return FAILED(hr) ? hr : saved;
    });
}

HRESULT STDMETHODCALLTYPE CFieldMap::GetTranslators(REFGUID guid, GUID* pTrans1, GUID* pTrans2)
{
    if (!pTrans1 || !pTrans2) return E_POINTER;
    *pTrans1 = *pTrans2 = GUID_NULL;
    return com::guarded([&] {
        const std::u16string section = com::guidText(guid);
        const HRESULT hr = ConfigStore().ReadGuid(fieldMapType, section, trans1Key, *pTrans1);
        return SUCCEEDED(hr) ? ConfigStore().ReadGuid(fieldMapType, section, trans2Key, *pTrans2) : hr;
    });
}

HRESULT STDMETHODCALLTYPE CFieldMap::AddMapEntry(REFGUID guid, REFGUID gField1, REFGUID gField2)
{
    return com::guarded([&] {
        return ConfigStore().WriteValue(fieldMapType, com::guidText(guid), fieldMapEntryKey, entryText(gField1, gField2), true, true);
    });
}

HRESULT STDMETHODCALLTYPE CFieldMap::EnumerateEntries(REFGUID guid, LONG* pCount, GUID** ppGuids1, GUID** ppGuids2)
{
    if (!pCount || !ppGuids1 || !ppGuids2) return E_POINTER;
    *pCount = 0;
    *ppGuids1 = *ppGuids2 = nullptr;
    return com::guarded([&] {
        std::vector<std::u16string> values;
        const HRESULT hr = listValues(guid, values);
        return SUCCEEDED(hr) ? givePairs(allPairs(values), pCount, ppGuids1, ppGuids2) : hr;
    });
}

HRESULT STDMETHODCALLTYPE CFieldMap::DeleteMap(REFGUID guid)
{
    return com::guarded([&] { return ConfigStore().RemoveSection(fieldMapType, com::guidText(guid), true); });
}

HRESULT STDMETHODCALLTYPE CFieldMap::SetNextAvailableFieldType(REFGUID guid, LONG nextAvailableType)
{
    return com::guarded(
        [&] { return ConfigStore().WriteInt(fieldMapType, com::guidText(guid), nextTypeKey, nextAvailableType, false, true); });
}

namespace {

// Sets `out` only if the stored number is not negative.
HRESULT readNumber(REFGUID map, const char16_t* key, LONG* out)
{
    if (!out) return E_POINTER;
    return com::guarded([&] {
        LONG value = -1;
        const HRESULT hr = ConfigStore().ReadInt(fieldMapType, com::guidText(map), key, value);
        if (SUCCEEDED(hr) && value >= 0) *out = value;
        return hr;
    });
}

} // namespace

HRESULT STDMETHODCALLTYPE CFieldMap::GetNextAvailableFieldType(REFGUID guid, LONG* nextAvailableType)
{
    return readNumber(guid, nextTypeKey, nextAvailableType);
}

HRESULT STDMETHODCALLTYPE CFieldMap::MapEntryExist(REFGUID guid, REFGUID gField1, REFGUID gField2, VARIANT_BOOL* entryExist)
{
    if (!entryExist) return E_POINTER;
    return com::guarded([&] {
        return ConfigStore().KeyHasValue(fieldMapType, com::guidText(guid), fieldMapEntryKey, entryText(gField1, gField2), *entryExist);
    });
}

HRESULT STDMETHODCALLTYPE CFieldMap::SetFieldMapUpdated(REFGUID guid, LONG fieldMapUpdated)
{
    return com::guarded(
        [&] { return ConfigStore().WriteInt(fieldMapType, com::guidText(guid), updatedKey, fieldMapUpdated, false, true); });
}

HRESULT STDMETHODCALLTYPE CFieldMap::GetFieldMapUpdated(REFGUID guid, LONG* fieldMapUpdated)
{
    return readNumber(guid, updatedKey, fieldMapUpdated);
}

HRESULT STDMETHODCALLTYPE CFieldMap::EnumerateEntriesEx(REFGUID guid, ITranslator* pTrans1, ITranslator* pTrans2, LONG* pCount,
                                                        GUID** ppGuids1, GUID** ppGuids2)
{
    if (!pCount || !ppGuids1 || !ppGuids2) return E_POINTER;
    *pCount = 0;
    *ppGuids1 = *ppGuids2 = nullptr;
    return com::guarded([&] {
        const auto field1 = fieldOf(pTrans1), field2 = fieldOf(pTrans2);
        if (!field1 || !field2) return EnumerateEntries(guid, pCount, ppGuids1, ppGuids2);
        std::vector<std::u16string> values;
        const HRESULT hr = listValues(guid, values);
        return SUCCEEDED(hr) ? givePairs(knownPairs(values, field1, field2), pCount, ppGuids1, ppGuids2) : hr;
    });
}

HRESULT STDMETHODCALLTYPE CFieldMap::EnumerateEntriesExSafeArray(REFGUID guid, ITranslator* pTrans1, ITranslator* pTrans2, LONG* pCount,
                                                                 SAFEARRAY** ppsaGuids1, SAFEARRAY** ppsaGuids2)
{
    if (!pCount || !ppsaGuids1 || !ppsaGuids2) return E_POINTER;
    *pCount = 0;
    *ppsaGuids1 = *ppsaGuids2 = nullptr;
    return com::guarded([&] {
        com::TaskArray<GUID> guids1, guids2;
        const HRESULT hr = EnumerateEntriesEx(guid, pTrans1, pTrans2, pCount, guids1.put(), guids2.put());
        if (FAILED(hr) || *pCount == 0) return hr;
        const auto textsOf = [&](const GUID* guids) {
            std::vector<std::u16string> texts;
            for (LONG i = 0; i < *pCount; ++i) texts.push_back(com::guidText(guids[i]));
            return texts;
        };
        *ppsaGuids1 = com::makeTextArray(textsOf(guids1.data()));
        *ppsaGuids2 = com::makeTextArray(textsOf(guids2.data()));
        return hr;
    });
}

HRESULT STDMETHODCALLTYPE CFieldMap::EnumerateEntriesExValidate(REFGUID trMapGuid, REFGUID guid, ITranslator* pTrans1, ITranslator* pTrans2,
                                                                LONG* pCount, GUID** ppGuids1, GUID** ppGuids2)
{
    if (!pCount || !ppGuids1 || !ppGuids2) return E_POINTER;
    return com::guarded([&] {
        if (fieldOf(pTrans1) && fieldOf(pTrans2)) {
            validateFields(pTrans1, idTrans1, trMapGuid);
            validateFields(pTrans2, idTrans2, trMapGuid);
        }
        return EnumerateEntriesEx(guid, pTrans1, pTrans2, pCount, ppGuids1, ppGuids2);
    });
}

} // namespace mb
