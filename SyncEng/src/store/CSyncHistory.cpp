#include "store/CSyncHistory.h"

#include "files.h"
#include "foundation/Paths.h"
#include "foundation/Strings.h"
#include "store/CBase64.h"
#include "store/FileResult.h"
#include "text.h"
#include <algorithm>
#include <array>

namespace mb {
namespace {

constexpr char16_t syncInfo[] = u"SyncInfo", databaseKey[] = u"Database", timeKey[] = u"LastSyncTime", statusKey[] = u"LastSyncStatus",
                   mappedKey[] = u"MappedID", modifiedKey[] = u"ModifiedTime", changedKey[] = u"FieldMapChanged",
                   fieldStatusKey[] = u"FMStatus", fieldDataKey[] = u"FieldData";
constexpr std::size_t sideNameLength = 6;

// The keys that every record has, as they stand in the document.
struct EncodedKeys {
    std::string mapped = encodeBase64(mappedKey), modified = encodeBase64(modifiedKey), status = encodeBase64(fieldStatusKey),
                data = encodeBase64(fieldDataKey);
};

const EncodedKeys& encodedKeys()
{
    static const EncodedKeys keys;
    return keys;
}

bool isSideOne(std::u16string_view side) { return platform::equalNoCase(side.substr(0, sideNameLength), u"Trans1"); }

std::filesystem::path fileIn(const std::filesystem::path& folder, const GUID& map)
{
    return folder / platform::pathOf(com::guidText(map) + u".xml");
}

// The other side's type with the same suffix.
std::u16string oppositeOf(std::u16string_view type)
{
    std::u16string opposite = isSideOne(type) ? u"Trans2" : u"Trans1";
    if (type.size() > sideNameLength) opposite += type.substr(sideNameLength);
    return opposite;
}

} // namespace

HRESULT CSyncHistory::Open(const GUID& map)
{
    std::filesystem::path folder;
    HRESULT hr = GetUserDataFolder(folder);
    if (SUCCEEDED(hr)) hr = store_.Open(fileIn(folder, map), true);
    if (SUCCEEDED(hr)) (void)store_.GetVersion(version_);
    return hr;
}

HRESULT CSyncHistory::DeleteHistoryFile(const GUID& map)
{
    std::filesystem::path folder;
    const HRESULT hr = GetUserDataFolder(folder);
    if (FAILED(hr)) return hr;
    std::error_code error;
    std::filesystem::remove(fileIn(folder, map), error);
    return resultOf(error);
}

HRESULT CSyncHistory::GetDatabase(std::u16string_view side, std::u16string& database) const
{
    return store_.ReadValue(SectionFor(side), syncInfo, databaseKey, database);
}

HRESULT CSyncHistory::SetDatabase(std::u16string_view side, std::u16string_view database)
{
    return store_.WriteValue(SectionFor(side), syncInfo, databaseKey, database, false, true);
}

HRESULT CSyncHistory::GetLastSyncTime(std::u16string_view side, DATE& time) const
{
    time = 0.0;
    return store_.ReadDouble(SectionFor(side), syncInfo, timeKey, time);
}

HRESULT CSyncHistory::SetLastSyncTime(std::u16string_view side, DATE time)
{
    return store_.WriteDouble(SectionFor(side), syncInfo, timeKey, time, false, true);
}

HRESULT CSyncHistory::GetLastSyncStatus(std::u16string_view side, LONG& status) const
{
    status = 0;
    return store_.ReadInt(SectionFor(side), syncInfo, statusKey, status);
}

HRESULT CSyncHistory::SetLastSyncStatus(std::u16string_view side, LONG status)
{
    return store_.WriteInt(SectionFor(side), syncInfo, statusKey, status, false, true);
}

HRESULT CSyncHistory::WriteEntry(std::u16string_view side, const HistoryEntry& entry)
{
    const EncodedKeys& keys = encodedKeys();
    const std::u16string modified = fixedPoint(entry.ModifiedTime);
    return store_.WriteValues(SectionFor(side), entry.Id, {{keys.mapped, entry.MappedId}, {keys.modified, modified}}, false, false);
}

HRESULT CSyncHistory::ReadEntry(std::u16string_view side, HistoryEntry& entry, bool readFlagToo) const
{
    const std::u16string& type = SectionFor(side);
    HRESULT hr = store_.ReadValue(type, entry.Id, mappedKey, entry.MappedId);
    if (SUCCEEDED(hr)) hr = store_.ReadDouble(type, entry.Id, modifiedKey, entry.ModifiedTime);
    if (SUCCEEDED(hr) && readFlagToo) {
        LONG flag = 0;
        (void)store_.ReadInt(side, entry.Id, changedKey, flag);
        entry.FieldMapChanged = flag == 1;
    }
    return hr;
}

HRESULT CSyncHistory::RenameEntry(std::u16string_view side, const HistoryEntry& entry, std::u16string_view newId, bool save)
{
    return store_.RenameSection(SectionFor(side), entry.Id, newId, save);
}

HRESULT CSyncHistory::SetMappedId(std::u16string_view side, HistoryEntry& entry, std::u16string_view newMappedId, bool save)
{
    const std::u16string& type = SectionFor(side);
    const HRESULT hr = store_.ReadValue(type, entry.Id, mappedKey, entry.MappedId);
    return SUCCEEDED(hr) ? store_.WriteValue(type, entry.Id, mappedKey, newMappedId, false, save) : hr;
}

HRESULT CSyncHistory::SetFieldMapChanged(std::u16string_view side, const HistoryEntry& entry, bool flag, bool append, bool save)
{
    return store_.WriteInt(side, entry.Id, changedKey, flag ? 1 : 0, append, save);
}

HRESULT CSyncHistory::SetFieldMapChangedForAll(std::u16string_view side, bool flag, bool save)
{
    return store_.SetFlagInAllSections(side, flag ? 1 : 0, save);
}

HRESULT CSyncHistory::DeleteEntry(std::u16string_view side, std::u16string_view recordId, bool save)
{
    return store_.RemoveSection(SectionFor(side), recordId, save);
}

HRESULT CSyncHistory::Clear(std::u16string_view side)
{
    const HRESULT hr = store_.RemoveType(SectionFor(side));
    return SUCCEEDED(hr) ? raiseVersion() : hr;
}

HRESULT CSyncHistory::Clear()
{
    SaveScope scope(store_);
    const HRESULT first = store_.RemoveType(type1_), second = store_.RemoveType(type2_);
    HRESULT hr = FAILED(first) ? first : second;
    if (SUCCEEDED(hr)) hr = raiseVersion();
    const HRESULT saved = scope.finish();
    return FAILED(hr) ? hr : saved;
}

// A history that begins anew is one of today's.
HRESULT CSyncHistory::raiseVersion()
{
    if (version_ >= currentStoreVersion) return S_OK;
    version_ = currentStoreVersion;
    return store_.SetVersion(currentStoreVersion);
}

void CSyncHistory::SetSectionSuffix(std::u16string_view first, std::u16string_view second)
{
    if (first.empty() || second.empty()) return;
    const std::u16string suffix = platform::lowered(std::u16string(first) + std::u16string(second));
    type1_ += suffix;
    type2_ += suffix;
}

const std::u16string& CSyncHistory::SectionFor(std::u16string_view side) const { return isSideOne(side) ? type1_ : type2_; }

HRESULT CSyncHistory::LoadEntries(std::u16string_view side, std::vector<HistoryEntry>& entries, bool category, bool validate)
{
    const std::u16string& type = SectionFor(side);
    return load(type, entries, store_.sectionsOfType(type), category ? 219 : 193, validate);
}

HRESULT CSyncHistory::LoadEntriesWithStatus(std::u16string_view side, LONG status, std::vector<HistoryEntry>& entries, bool validate)
{
    if (version_ < 2) return LoadEntries(side, entries, false, validate);
    const std::u16string& type = SectionFor(side);
    const std::string digits = std::to_string(status);
    return load(type, entries, store_.sectionsWithValue(type, fieldStatusKey, std::u16string(digits.begin(), digits.end())), 193, validate);
}

HRESULT CSyncHistory::load(const std::u16string& type, std::vector<HistoryEntry>& entries,
                           const std::vector<platform::XmlElement>& sections, int labelId, bool validate)
{
    entries.clear();
    static const std::string infoName = encodeBase64(syncInfo);
    static const std::array keys{encodeBase64(mappedKey), encodeBase64(modifiedKey), encodeBase64(changedKey)};
    const std::u16string opposite = oppositeOf(type);
    const std::string encodedOpposite = encodedType(opposite);
    const com::Bstr label(LoadText(labelId));
    const double step = sections.empty() ? 0.0 : 100.0 / static_cast<double>(sections.size());
    double percent = 0.0;
    std::vector<std::u16string> dead;
    entries.reserve(sections.size());
    std::string buffer;
    for (const platform::XmlElement& section : sections) {
        percent += step;
        if (sink_ && com::call(sink_, &ISyncEvents::OnProgress2, label.get(), percent) == E_ABORT) {
            entries.clear();
            return E_ABORT;
        }
        const std::string_view name = encodedNameOf(section, buffer);
        if (sameEncodedName(name, infoName)) continue;
        HistoryEntry entry;
        entry.Id = decodeBase64(name);
        const auto [mapped, modified, changed] = valuesInSection(section, keys);
        if (mapped) entry.MappedId = decodedText(mapped);
        if (!mapped || !modified || (validate && !store_.hasEncodedKey(encodedOpposite, encodeBase64(entry.MappedId), keys[0]))) {
            dead.push_back(std::move(entry.Id));
            continue;
        }
        entry.ModifiedTime = platform::toDouble(decodedText(modified));
        entry.FieldMapChanged = changed && platform::toInt(decodedText(changed)) == 1;
        entries.push_back(std::move(entry));
    }
    SaveScope scope(store_); // the dead go with one save
    for (const std::u16string& id : dead) (void)store_.RemoveSection(type, id, true);
    return S_OK;
}

HRESULT CSyncHistory::ListRecords(std::u16string_view side, std::vector<std::u16string>& ids) const
{
    const HRESULT hr = store_.ListSections(SectionFor(side), ids);
    const auto info = std::ranges::find_if(ids, [](const std::u16string& id) { return platform::equalNoCase(id, syncInfo); });
    if (info != ids.end()) ids.erase(info);
    return hr;
}

HRESULT CSyncHistory::WriteFieldData(std::u16string_view side, std::u16string_view recordId, const FieldValueMap& fields, bool append,
                                     bool save)
{
    const EncodedKeys& keys = encodedKeys();
    const auto status = fields.find(ftRecordStatus);
    const std::u16string_view statusText = status == fields.end() ? std::u16string_view() : std::u16string_view(status->second);
    const std::u16string data = composeFieldData(fields);
    return store_.WriteValues(SectionFor(side), recordId, {{keys.status, statusText}, {keys.data, data}}, append, save);
}

HRESULT CSyncHistory::ReadFieldData(std::u16string_view side, std::u16string_view recordId, FieldValueMap& fields) const
{
    std::u16string text;
    const HRESULT hr = store_.ReadValue(SectionFor(side), recordId, fieldDataKey, text);
    fields = SUCCEEDED(hr) ? parseFieldData(text) : FieldValueMap();
    return hr;
}

} // namespace mb
