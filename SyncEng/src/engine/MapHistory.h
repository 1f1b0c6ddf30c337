// The history of the map that runs, as the stages of the run use it: sides instead of section names, and one decision for each kind of
// failure.
// The history is a document in memory until it is saved. A change that fails loses what it would have stored about one record, and the next
// run finds the difference again. So the methods named try... ignore a failure of their change, and only save() and writeEntry() end the
// run.
#pragma once
#include "engine/RunFailure.h"
#include "engine/Side.h"
#include "store/CSyncHistory.h"

namespace mb {

class MapHistory {
public:
    MapHistory() noexcept = default;
    // The history must outlive this object.
    explicit MapHistory(CSyncHistory& history) noexcept : history_(&history) {}
    [[nodiscard]] explicit operator bool() const noexcept { return history_ != nullptr; }

    // ---- The history as a whole
    // -1 where the version is unknown.
    [[nodiscard]] LONG version() const
    {
        LONG version = -1;
        (void)history_->GetVersion(version);
        return version;
    }
    void trySetVersion(LONG version) { (void)history_->SetVersion(version); }
    void tryClear() { (void)history_->Clear(); }
    // Goes back to what was saved last.
    void tryRevert() { (void)history_->store().Revert(); }
    // For code that saves as the last thing before the run ends with another failure.
    void trySave() { (void)history_->store().Save(); }
    // For SaveScope.
    [[nodiscard]] StoreFile& store() noexcept { return history_->store(); }

    // ---- The last run
    // Empty where none is recorded.
    [[nodiscard]] std::u16string database(Side side) const
    {
        std::u16string database;
        (void)history_->GetDatabase(sectionOf(side), database);
        return database;
    }
    void trySetDatabase(Side side, const std::u16string& database) { (void)history_->SetDatabase(sectionOf(side), database); }
    void trySetLastSync(Side side, DATE time, LONG status)
    {
        (void)history_->SetLastSyncTime(sectionOf(side), time);
        (void)history_->SetLastSyncStatus(sectionOf(side), status);
    }
    [[nodiscard]] bool batchInDoubt(Side side) const { return history_->BatchInDoubt(sectionOf(side)); }
    void setBatchInDoubt(Side side, bool inDoubt) { history_->SetBatchInDoubt(sectionOf(side), inDoubt); }

    // Whether the last run compared all details of the side.
    [[nodiscard]] bool detailsKnown(Side side) const { return history_->DetailsKnown(sectionOf(side)); }
    void setDetailsKnown(Side side, bool known) { history_->SetDetailsKnown(sectionOf(side), known); }

    // Whether a run has looked for groups in all links of the side.
    [[nodiscard]] bool kindsKnown(Side side) const { return history_->KindsKnown(sectionOf(side)); }
    void setKindsKnown(Side side, bool known) { history_->SetKindsKnown(sectionOf(side), known); }

    // ---- Sections of a transfer
    [[nodiscard]] bool hasSuffix(const std::u16string& first, const std::u16string& second) const
    {
        return history_->HasSuffix(first, second);
    }
    void setSectionSuffix(const std::u16string& first, const std::u16string& second) { history_->SetSectionSuffix(first, second); }

    // ---- The known records
    void loadBothSides(std::vector<HistoryEntry>& entries1, std::vector<HistoryEntry>& entries2, bool category)
    {
        require(history_->LoadBothSides(entries1, entries2, category));
    }
    // The same without progress.
    void loadBothSidesAgain(std::vector<HistoryEntry>& entries1, std::vector<HistoryEntry>& entries2, bool category)
    {
        auto sink = history_->exchangeSink(nullptr);
        const HRESULT hr = history_->LoadBothSides(entries1, entries2, category);
        (void)history_->exchangeSink(std::move(sink));
        require(hr);
    }
    [[nodiscard]] std::vector<std::u16string> records(Side side) const
    {
        std::vector<std::u16string> ids;
        (void)history_->ListRecords(sectionOf(side), ids);
        return ids;
    }
    // False where the history has no entry under `entry.Id`.
    bool readEntry(Side side, HistoryEntry& entry) const { return SUCCEEDED(history_->ReadEntry(sectionOf(side), entry, false)); }
    void writeEntry(Side side, const HistoryEntry& entry) { require(history_->WriteEntry(sectionOf(side), entry)); }
    // The four that follow return false where the change failed.
    bool tryWriteEntry(Side side, const HistoryEntry& entry) { return SUCCEEDED(history_->WriteEntry(sectionOf(side), entry)); }
    bool tryDeleteEntry(Side side, const std::u16string& id) { return SUCCEEDED(history_->DeleteEntry(sectionOf(side), id, false)); }
    bool tryRenameEntry(Side side, const HistoryEntry& entry, const std::u16string& newId)
    {
        return SUCCEEDED(history_->RenameEntry(sectionOf(side), entry, newId, false));
    }
    bool trySetMappedId(Side side, HistoryEntry& entry, const std::u16string& mappedId)
    {
        return SUCCEEDED(history_->SetMappedId(sectionOf(side), entry, mappedId, false));
    }
    // `suffixed`: in the section of the transfer.
    void trySetFieldMapChanged(Side side, const std::u16string& id, bool changed, bool suffixed)
    {
        const std::u16string section = suffixed ? history_->SectionFor(sectionOf(side)) : sectionOf(side);
        HistoryEntry entry;
        entry.Id = id;
        if (SUCCEEDED(history_->ReadEntry(section, entry, false)))
            (void)history_->SetFieldMapChanged(section, entry, changed, false, false);
    }

    // ---- The values of the known records
    // False, and no values, where the history has none of the record.
    bool readFieldData(Side side, const std::u16string& id, FieldValueMap& values) const
    {
        return SUCCEEDED(history_->ReadFieldData(sectionOf(side), id, values));
    }
    void tryWriteFieldData(Side side, const std::u16string& id, const FieldValueMap& values)
    {
        (void)history_->WriteFieldData(sectionOf(side), id, values, false, false);
    }

    // ---- New records that one run has left out because they could not be read
    [[nodiscard]] std::vector<std::u16string> waited(Side side) const
    {
        std::vector<std::u16string> ids;
        (void)history_->ListWaited(sectionOf(side), ids);
        return ids;
    }
    void trySetWaited(Side side, const std::vector<std::u16string>& ids) { (void)history_->SetWaited(sectionOf(side), ids); }

    // ---- Records that no run takes
    [[nodiscard]] std::vector<std::u16string> leftOut(Side side) const
    {
        std::vector<std::u16string> ids;
        (void)history_->ListLeftOut(sectionOf(side), ids);
        return ids;
    }
    void trySetLeftOut(Side side, const std::vector<std::u16string>& ids) { (void)history_->SetLeftOut(sectionOf(side), ids); }

private:
    CSyncHistory* history_ = nullptr;
};

} // namespace mb
