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
                   fieldStatusKey[] = u"FMStatus", fieldDataKey[] = u"FieldData", inDoubtKey[] = u"BatchInDoubt",
                   detailsKey[] = u"DetailsKnown", waitedKey[] = u"Waited", kindsKey[] = u"KindsKnown", leftOutKey[] = u"LeftOut";
constexpr std::size_t sideNameLength = 6;

// The encoded names of a record's keys.
struct EncodedKeys {
    std::string mapped = encodeBase64(mappedKey), modified = encodeBase64(modifiedKey), status = encodeBase64(fieldStatusKey),
                data = encodeBase64(fieldDataKey), changed = encodeBase64(changedKey);
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

// Returns the other side's type with the same suffix.
std::u16string oppositeOf(std::u16string_view type)
{
    std::u16string opposite = isSideOne(type) ? u"Trans2" : u"Trans1";
    if (type.size() > sideNameLength) opposite += type.substr(sideNameLength);
    return opposite;
}

// Not the types of a side, so clearing a side keeps them and entries are not loaded from them.
std::u16string waitedType(const std::u16string& sideType) { return u"Waited" + sideType; }
std::u16string leftOutType(const std::u16string& sideType) { return u"LeftOut" + sideType; }

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
    StoreFile present;
    const HRESULT opened = present.Open(fileIn(folder, map), false);
    if (!present.openFailure().empty()) return opened;
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

HRESULT CSyncHistory::ListWaited(std::u16string_view side, std::vector<std::u16string>& ids) const
{
    return store_.ListSections(waitedType(SectionFor(side)), ids);
}

HRESULT CSyncHistory::SetWaited(std::u16string_view side, const std::vector<std::u16string>& ids)
{
    return setList(waitedType(SectionFor(side)), waitedKey, ids);
}

HRESULT CSyncHistory::ListLeftOut(std::u16string_view side, std::vector<std::u16string>& ids) const
{
    return store_.ListSections(leftOutType(SectionFor(side)), ids);
}

HRESULT CSyncHistory::SetLeftOut(std::u16string_view side, const std::vector<std::u16string>& ids)
{
    return setList(leftOutType(SectionFor(side)), leftOutKey, ids);
}

HRESULT CSyncHistory::setList(const std::u16string& type, const char16_t* key, const std::vector<std::u16string>& ids)
{
    std::vector<std::u16string> former;
    HRESULT hr = S_OK;
    (void)store_.ListSections(type, former);
    for (const std::u16string& id : former)
        if (SUCCEEDED(hr)) hr = store_.RemoveSection(type, id, false);
    for (const std::u16string& id : ids)
        if (SUCCEEDED(hr)) hr = store_.WriteInt(type, id, key, 1, false, false);
    return hr;
}

bool CSyncHistory::hasMark(std::u16string_view side, const char16_t* key) const
{
    LONG mark = 0;
    return SUCCEEDED(store_.ReadInt(SectionFor(side), syncInfo, key, mark)) && mark == 1;
}

void CSyncHistory::setMark(std::u16string_view side, const char16_t* key, bool set)
{
    if (set != hasMark(side, key)) (void)store_.WriteInt(SectionFor(side), syncInfo, key, set ? 1 : 0, false, true);
}

bool CSyncHistory::BatchInDoubt(std::u16string_view side) const { return hasMark(side, inDoubtKey); }

void CSyncHistory::SetBatchInDoubt(std::u16string_view side, bool inDoubt) { setMark(side, inDoubtKey, inDoubt); }

bool CSyncHistory::DetailsKnown(std::u16string_view side) const { return hasMark(side, detailsKey); }

void CSyncHistory::SetDetailsKnown(std::u16string_view side, bool known) { setMark(side, detailsKey, known); }

bool CSyncHistory::KindsKnown(std::u16string_view side) const { return hasMark(side, kindsKey); }

void CSyncHistory::SetKindsKnown(std::u16string_view side, bool known) { setMark(side, kindsKey, known); }

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

// A cleared history has the current version.
HRESULT CSyncHistory::raiseVersion()
{
    if (version_ >= currentStoreVersion) return S_OK;
    version_ = currentStoreVersion;
    return store_.SetVersion(currentStoreVersion);
}

namespace {

std::u16string suffixOf(std::u16string_view first, std::u16string_view second)
{
    return platform::lowered(std::u16string(first) + std::u16string(second));
}

} // namespace

bool CSyncHistory::HasSuffix(std::u16string_view first, std::u16string_view second) const
{
    if (first.empty() || second.empty()) return false;
    std::u16string database;
    return SUCCEEDED(store_.ReadValue(type1_ + suffixOf(first, second), syncInfo, databaseKey, database));
}

void CSyncHistory::SetSectionSuffix(std::u16string_view first, std::u16string_view second)
{
    if (first.empty() || second.empty()) return;
    const std::u16string suffix = suffixOf(first, second);
    type1_ += suffix;
    type2_ += suffix;
}

const std::u16string& CSyncHistory::SectionFor(std::u16string_view side) const { return isSideOne(side) ? type1_ : type2_; }

// What one walk over the sections of a type found, in document order.
struct CSyncHistory::Rows {
    struct Mark {
        bool isInfo = false, linked = false, complete = false; // has a MappedID; has also a ModifiedTime
        bool canonical = false;                                // the encoded name is spelled as the store writes it
        bool partnerFound = false;                             // the partner is known to have a linked entry
    };
    std::vector<HistoryEntry> entries;
    std::vector<Mark> marks;
    std::vector<std::u16string> dead;

    static std::span<const std::string_view> keys()
    {
        static const std::array<std::string_view, 3> keys{encodedKeys().mapped, encodedKeys().modified, encodedKeys().changed};
        return keys;
    }

    void add(const StoreContent::Row& row)
    {
        static const std::string infoName = encodeBase64(syncInfo);
        HistoryEntry& entry = entries.emplace_back();
        Mark& mark = marks.emplace_back();
        mark.isInfo = sameEncodedName(row.name, infoName);
        if (mark.isInfo) return;
        entry.Id = decodeBase64(row.name);
        mark.canonical = encodeBase64(entry.Id) == row.name;
        const auto& [mapped, modified, changed] = row.values;
        mark.linked = mapped.has_value();
        mark.complete = mapped && modified;
        if (mapped) entry.MappedId = decodedText(*mapped);
        if (modified) entry.ModifiedTime = platform::toDouble(decodedText(*modified));
        entry.FieldMapChanged = changed && platform::toInt(decodedText(*changed)) == 1;
    }

    // Finds partners at nearby positions: the entries of a pair are usually written one after the other, so they have the same position on
    // their sides.
    void markPartners(Rows& others)
    {
        std::size_t next = 0;
        for (std::size_t i = 0; i < entries.size(); ++i) {
            if (!marks[i].linked) continue;
            for (std::size_t j = next; j < std::min(next + 2, others.entries.size()); ++j) {
                if (!others.marks[j].linked || !others.marks[j].canonical || others.entries[j].Id != entries[i].MappedId) continue;
                marks[i].partnerFound = true;
                others.marks[j].partnerFound = marks[i].canonical && others.entries[j].MappedId == entries[i].Id;
                next = j + 1;
                break;
            }
        }
    }
};

CSyncHistory::Rows CSyncHistory::rowsOf(const std::u16string& type) const
{
    Rows rows;
    store_.listRows(type, Rows::keys(), [&](const StoreContent::Row& row) { rows.add(row); });
    return rows;
}

HRESULT CSyncHistory::LoadEntries(std::u16string_view side, std::vector<HistoryEntry>& entries, bool category, bool validate)
{
    const std::u16string& type = SectionFor(side);
    Rows rows = rowsOf(type);
    return take(type, rows, entries, category ? Text::LoadingCategoryHistory : Text::LoadingHistory, validate);
}

HRESULT CSyncHistory::LoadBothSides(std::vector<HistoryEntry>& entries1, std::vector<HistoryEntry>& entries2, bool category)
{
    const Text label = category ? Text::LoadingCategoryHistory : Text::LoadingHistory;
    Rows rows1 = rowsOf(type1_), rows2 = rowsOf(type2_);
    rows1.markPartners(rows2);
    const HRESULT hr = take(type1_, rows1, entries1, label, true);
    if (FAILED(hr)) return hr;
    if (!rows1.dead.empty()) rows2 = rowsOf(type2_); // they may have been partners
    return take(type2_, rows2, entries2, label, true);
}

HRESULT CSyncHistory::LoadEntriesWithStatus(std::u16string_view side, LONG status, std::vector<HistoryEntry>& entries, bool validate)
{
    if (version_ < 2) return LoadEntries(side, entries, false, validate);
    const std::u16string& type = SectionFor(side);
    const std::string digits = std::to_string(status);
    Rows rows;
    store_.listRowsHaving(type, fieldStatusKey, std::u16string(digits.begin(), digits.end()), Rows::keys(),
                          [&](const StoreContent::Row& row) { rows.add(row); });
    return take(type, rows, entries, Text::LoadingHistory, validate);
}

// Returns the valid entries and removes the others from the history.
HRESULT CSyncHistory::take(const std::u16string& type, Rows& rows, std::vector<HistoryEntry>& entries, Text labelId, bool validate)
{
    entries.clear();
    const std::string opposite = encodedType(oppositeOf(type));
    const com::Bstr label(LoadText(labelId));
    const double step = rows.entries.empty() ? 0.0 : 100.0 / static_cast<double>(rows.entries.size());
    double percent = 0.0;
    std::size_t kept = 0;
    for (std::size_t i = 0; i < rows.entries.size(); ++i) {
        percent += step;
        if (sink_ && com::call(sink_, &ISyncEvents::OnProgress2, label.get(), percent) == E_ABORT) return E_ABORT;
        const Rows::Mark& mark = rows.marks[i];
        if (mark.isInfo) continue;
        HistoryEntry& entry = rows.entries[i];
        const auto hasPartner = [&] { return store_.hasEncodedKey(opposite, encodeBase64(entry.MappedId), encodedKeys().mapped); };
        if (!mark.complete || (validate && !mark.partnerFound && !hasPartner()))
            rows.dead.push_back(std::move(entry.Id));
        else if (kept++ != i)
            rows.entries[kept - 1] = std::move(entry);
    }
    rows.entries.resize(kept);
    entries = std::move(rows.entries);
    SaveScope scope(store_); // one save for all removals
    for (const std::u16string& id : rows.dead) (void)store_.RemoveSection(type, id, true);
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
