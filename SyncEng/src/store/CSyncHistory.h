// How the two stores of a map looked at the end of its last run: for every contact known on a side its identifier there, that of its
// twin, the modified date seen last, and a copy of its values. One file a map.
// A side is named by a text: one that begins with Trans1, ignoring case, is side 1, any other is side 2.
// The writers of records do not save; the ones of the last run's data do.
#pragma once
#include "foundation/Strings.h"
#include "interfaces.h"
#include "store/FieldData.h"
#include "store/StoreFile.h"
#include <string>
#include <vector>

namespace mb {

struct HistoryEntry {
    std::u16string Id;
    DATE ModifiedTime = 0.0; // 0.0 means unknown
    std::u16string MappedId;
    bool FieldMapChanged = false;
};

class CSyncHistory {
public:
    explicit CSyncHistory(com::Ptr<ISyncEvents> sink) : sink_(std::move(sink)) {}
    CSyncHistory(const CSyncHistory&) = delete;
    CSyncHistory& operator=(const CSyncHistory&) = delete;
    virtual ~CSyncHistory() = default;

    HRESULT Open(const GUID& map);
    // Why Open failed, as a sentence that names the file.
    [[nodiscard]] const std::u16string& openFailure() const noexcept { return store_.openFailure(); }
    // A history of a later version stays, and so does one that cannot be read: the result is the failure to open it.
    static HRESULT DeleteHistoryFile(const GUID& map);

    // A missing text is empty, a missing number 0; the result is then a failure.
    HRESULT GetDatabase(std::u16string_view side, std::u16string& database) const;
    HRESULT SetDatabase(std::u16string_view side, std::u16string_view database);
    HRESULT GetLastSyncTime(std::u16string_view side, DATE& time) const;
    HRESULT SetLastSyncTime(std::u16string_view side, DATE time);
    HRESULT GetLastSyncStatus(std::u16string_view side, LONG& status) const;
    HRESULT SetLastSyncStatus(std::u16string_view side, LONG status);

    HRESULT WriteEntry(std::u16string_view side, const HistoryEntry& entry);
    // Wanted: FieldMapChanged is looked for under the side's text as it is given, so with a suffix only if the caller passes the whole
    // type.
    HRESULT ReadEntry(std::u16string_view side, HistoryEntry& entry, bool readFlagToo) const;
    HRESULT RenameEntry(std::u16string_view side, const HistoryEntry& entry, std::u16string_view newId, bool save);
    HRESULT SetMappedId(std::u16string_view side, HistoryEntry& entry, std::u16string_view newMappedId, bool save);
    HRESULT SetFieldMapChanged(std::u16string_view side, const HistoryEntry& entry, bool flag, bool append, bool save);
    HRESULT SetFieldMapChangedForAll(std::u16string_view side, bool flag, bool save);
    HRESULT DeleteEntry(std::u16string_view side, std::u16string_view recordId, bool save);
    HRESULT Clear(std::u16string_view side);
    HRESULT Clear(); // both sides
    HRESULT DeleteFile() { return store_.DeleteStoreFile(); }
    HRESULT GetVersion(LONG& version) const { return store_.GetVersion(version); }
    HRESULT SetVersion(LONG version) { return store_.SetVersion(version); }

    // Both sides' sections get the two texts, lower-cased, behind their names; nothing happens if either is empty.
    // Whether a run under this suffix was recorded. Requires: no suffix was set.
    [[nodiscard]] bool HasSuffix(std::u16string_view first, std::u16string_view second) const;
    void SetSectionSuffix(std::u16string_view first, std::u16string_view second);
    [[nodiscard]] const std::u16string& SectionFor(std::u16string_view side) const;

    // All records of a side, in the order of the file. A broken record never fails the load, it is removed from the history; with
    // the validate flag so is one whose twin is gone. E_ABORT, and no entries, if the sink cancels.
    HRESULT LoadEntries(std::u16string_view side, std::vector<HistoryEntry>& entries, bool category, bool validate);
    // The same for side 1 and then, unless that fails, for side 2, with the validate flag.
    HRESULT LoadBothSides(std::vector<HistoryEntry>& entries1, std::vector<HistoryEntry>& entries2, bool category);
    // Only those of a status; all of them in a file of before version 2.
    HRESULT LoadEntriesWithStatus(std::u16string_view side, LONG status, std::vector<HistoryEntry>& entries, bool validate);
    HRESULT ListRecords(std::u16string_view side, std::vector<std::u16string>& ids) const;

    HRESULT WriteFieldData(std::u16string_view side, std::u16string_view recordId, const FieldValueMap& fields, bool append, bool save);
    HRESULT ReadFieldData(std::u16string_view side, std::u16string_view recordId, FieldValueMap& fields) const;

    // The new records of a side that could not be read when a search for duplicates wanted to, and that a run has left out for it once.
    HRESULT ListWaited(std::u16string_view side, std::vector<std::u16string>& ids) const;
    HRESULT SetWaited(std::u16string_view side, const std::vector<std::u16string>& ids);

    // The last batch of this side was not ended: its records may be in the store although the history does not tell of them.
    [[nodiscard]] bool BatchInDoubt(std::u16string_view side) const;
    void SetBatchInDoubt(std::u16string_view side, bool inDoubt);

    // For code that writes a lot and saves once.
    [[nodiscard]] StoreFile& store() noexcept { return store_; }
    // The sink that loads report to; null for none.
    com::Ptr<ISyncEvents> exchangeSink(com::Ptr<ISyncEvents> sink) noexcept { return std::exchange(sink_, std::move(sink)); }

private:
    struct Rows;
    HRESULT take(const std::u16string& type, Rows& rows, std::vector<HistoryEntry>& entries, Text labelId, bool validate);
    HRESULT raiseVersion();

    com::Ptr<ISyncEvents> sink_;
    StoreFile store_;
    std::u16string type1_ = u"Trans1", type2_ = u"Trans2";
    LONG version_ = -1;
};

} // namespace mb
