// The history of a map: the state of both stores at the end of the last run, one file per map. A history entry holds a record's identifier,
// the identifier of the record on the other side that it is linked to, its last known modified date, and a copy of its values. A side is
// named by a text: one that begins with Trans1 (case-insensitive) means side 1, any other side 2.
// Functions that write entries save only with the `save` flag; the setters of the last run's data always save.
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
    // A sentence that names the file and says why Open failed.
    [[nodiscard]] const std::u16string& openFailure() const noexcept { return store_.openFailure(); }
    // Deletes a map's history. A history that cannot be read or is of a later version is kept; the result is then the failure to open it.
    static HRESULT DeleteHistoryFile(const GUID& map);

    // If the value is missing, these fail and return an empty text or 0.
    HRESULT GetDatabase(std::u16string_view side, std::u16string& database) const;
    HRESULT SetDatabase(std::u16string_view side, std::u16string_view database);
    HRESULT GetLastSyncTime(std::u16string_view side, DATE& time) const;
    HRESULT SetLastSyncTime(std::u16string_view side, DATE time);
    HRESULT GetLastSyncStatus(std::u16string_view side, LONG& status) const;
    HRESULT SetLastSyncStatus(std::u16string_view side, LONG status);

    HRESULT WriteEntry(std::u16string_view side, const HistoryEntry& entry);
    // Quirk kept on purpose: FieldMapChanged is read from the section `side` as given, so the value of a section with a suffix is only
    // found if the caller passes the whole section name.
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

    // Returns whether a run with this suffix was recorded. Requires: no suffix is set.
    [[nodiscard]] bool HasSuffix(std::u16string_view first, std::u16string_view second) const;
    // Appends both texts, in lower case, to the section names of both sides. Does nothing if either text is empty.
    void SetSectionSuffix(std::u16string_view first, std::u16string_view second);
    [[nodiscard]] const std::u16string& SectionFor(std::u16string_view side) const;

    // Loads all entries of a side in file order. A broken entry does not fail the load but is removed from the history; with `validate`
    // also an entry whose partner has no entry. If the sink cancels, returns E_ABORT and no entries.
    HRESULT LoadEntries(std::u16string_view side, std::vector<HistoryEntry>& entries, bool category, bool validate);
    // Loads side 1 and then, if that succeeds, side 2, with `validate`.
    HRESULT LoadBothSides(std::vector<HistoryEntry>& entries1, std::vector<HistoryEntry>& entries2, bool category);
    // Loads only the entries with the status; all entries if the file is older than version 2.
    HRESULT LoadEntriesWithStatus(std::u16string_view side, LONG status, std::vector<HistoryEntry>& entries, bool validate);
    HRESULT ListRecords(std::u16string_view side, std::vector<std::u16string>& ids) const;

    HRESULT WriteFieldData(std::u16string_view side, std::u16string_view recordId, const FieldValueMap& fields, bool append, bool save);
    HRESULT ReadFieldData(std::u16string_view side, std::u16string_view recordId, FieldValueMap& fields) const;

    // The new records of a side that a search for duplicates could not read and that a run has therefore left out once.
    HRESULT ListWaited(std::u16string_view side, std::vector<std::u16string>& ids) const;
    HRESULT SetWaited(std::u16string_view side, const std::vector<std::u16string>& ids);

    // The records of a side that no run takes: persons that an earlier version made of groups.
    HRESULT ListLeftOut(std::u16string_view side, std::vector<std::u16string>& ids) const;
    HRESULT SetLeftOut(std::u16string_view side, const std::vector<std::u16string>& ids);

    // Whether the side's last batch was not ended: its records may be in the store without a history entry.
    [[nodiscard]] bool BatchInDoubt(std::u16string_view side) const;
    void SetBatchInDoubt(std::u16string_view side, bool inDoubt);

    // Whether the last run compared the details of all the side's records, so that each of them has a base.
    [[nodiscard]] bool DetailsKnown(std::u16string_view side) const;
    void SetDetailsKnown(std::u16string_view side, bool known);

    // Whether a run has looked for groups in all links of the side.
    [[nodiscard]] bool KindsKnown(std::u16string_view side) const;
    void SetKindsKnown(std::u16string_view side, bool known);

    // Direct access, for code that writes many values and saves once.
    [[nodiscard]] StoreFile& store() noexcept { return store_; }
    // Replaces the sink that loads report progress to and returns the former one; null for none.
    com::Ptr<ISyncEvents> exchangeSink(com::Ptr<ISyncEvents> sink) noexcept { return std::exchange(sink_, std::move(sink)); }

private:
    struct Rows;
    [[nodiscard]] Rows rowsOf(const std::u16string& type) const;
    HRESULT take(const std::u16string& type, Rows& rows, std::vector<HistoryEntry>& entries, Text labelId, bool validate);
    HRESULT raiseVersion();
    [[nodiscard]] bool hasMark(std::u16string_view side, const char16_t* key) const;
    void setMark(std::u16string_view side, const char16_t* key, bool set);
    HRESULT setList(const std::u16string& type, const char16_t* key, const std::vector<std::u16string>& ids);

    com::Ptr<ISyncEvents> sink_;
    StoreFile store_;
    std::u16string type1_ = u"Trans1", type2_ = u"Trans2";
    LONG version_ = -1;
};

} // namespace mb
