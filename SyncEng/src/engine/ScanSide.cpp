#include "engine/ScanSide.h"

#include "engine/DescribeRecord.h"
#include "engine/FailureReport.h"
#include "engine/HistoryLinks.h"
#include "engine/RecordChanges.h"
#include "engine/StageProgress.h"
#include "foundation/Log.h"
#include "foundation/Strings.h"
#include "text.h"
#include <algorithm>
#include <set>
#include <unordered_map>

namespace mb {
namespace {

RecordTask newTask()
{
    RecordTask task;
    task.Kind = TaskNew;
    return task;
}

RecordTask changeTask(const HistoryEntry& entry, bool remapped = false)
{
    RecordTask task;
    task.Kind = TaskChange;
    task.MappedId = entry.MappedId;
    task.FieldMapRemapped = remapped;
    return task;
}

// A deletion of the entry's partner on `target`. `changedHere` marks a change on the entry's side against a deletion on `target`.
void storeDeletion(PipelinePass& pass, Side target, const HistoryEntry& entry, bool changedHere)
{
    RecordTask task;
    task.Kind = TaskDelete;
    if (changedHere) task.MappedId = entry.Id;
    task.alreadyGone = changedHere;
    TaskAt(pass.side(target).tasks, entry.MappedId) = std::move(task);
    pass.side(target).hasDeletions = true;
}

// A change of a known record. Where its partner is gone, the change stands against a deletion, and the conflict stage decides.
void storeChange(PipelinePass& pass, Side side, const HistoryEntry& entry, bool otherMissing)
{
    TaskAt(pass.side(side).tasks, entry.Id) = changeTask(entry);
    if (otherMissing) storeDeletion(pass, otherSide(side), entry, true);
}

class SideScan {
public:
    SideScan(PipelinePass& pass, Side side)
        : pass_(pass), run_(pass.run), side_(side), own_(pass.side(side)), other_(pass.side(otherSide(side))),
          transferSide_(run_.transferring() && side == Side::One),
          comparesAll_(!pass.offered.empty() || (pass.details && !run_.history.detailsKnown(side))),
          progress_(run_.EventSink, LoadText(run_.CategoryPass ? Text::LoadingCategoryTasks : Text::LoadingTasks))
    {
    }

    void run()
    {
        if (transferSide_) readSelectedCards();
        recordCount_ = own_.store.count();
        own_.recordCount = recordCount_;
        if (transferSide_) scanned_ = recordCount_;
        const bool hasPast = !own_.historyList.empty();
        if (transferSide_) {
            if (hasPast)
                scanSelectedCards();
            else
                takeSelectedCards();
        } else {
            if (hasPast) scanHistory();
            findNewRecords(hasPast ? 50.0 : 100.0);
        }
        own_.listsAll = !transferSide_ && scanned_ == recordCount_;
        WriteLogResource(logProgress, run_.CategoryPass ? Text::CategoryCount : Text::RecordCount, run_.side(side_).name, scanned_);
    }

private:
    void readSelectedCards()
    {
        for (const std::u16string& card : com::textArray(run_.TransferCards)) selected_.insert(platform::lowered(card));
    }

    void addNew(const std::u16string& id)
    {
        TaskAt(own_.tasks, id) = newTask();
        own_.hasAdditions = true;
    }

    void takeSelectedCards()
    {
        for (const std::u16string& card : selected_) {
            addNew(card);
            progress_.advance(100.0 / static_cast<double>(selected_.size()));
        }
    }

    // Only the selected cards may get tasks, so the store is not searched for new records.
    void scanSelectedCards()
    {
        std::unordered_map<std::u16string, HistoryEntry*> byId;
        for (HistoryEntry& entry : own_.historyList) byId[platform::lowered(entry.Id)] = &entry;
        for (const std::u16string& card : selected_) {
            const auto known = byId.find(card);
            if (known == byId.end())
                addNew(card);
            else
                scanSelectedCard(card, *known->second);
            progress_.advance(100.0 / static_cast<double>(selected_.size()));
        }
    }

    void scanSelectedCard(const std::u16string& card, HistoryEntry& entry)
    {
        if (isMissing(otherSide(side_), entry.MappedId))
            TaskAt(own_.tasks, entry.Id) = newTask();
        else if (entry.FieldMapChanged)
            TaskAt(own_.tasks, entry.Id) = changeTask(entry, true);
        else if (compare(com::Bstr(card), entry) != Compared::Same)
            TaskAt(own_.tasks, entry.Id) = changeTask(entry);
    }

    // Whether the store of the side no longer has a known record. A store that cannot tell ends the run: its failure must not read as a
    // deletion. A missing record that the store may have renamed ends the run too: the record would be deleted on the other side, and added
    // there again under its new identifier.
    bool isMissing(Side side, const std::u16string& id)
    {
        HRESULT failure = S_OK;
        switch (pass_.side(side).store.contains(id, &failure)) {
        case Presence::Present: return false;
        case Presence::Failed:
            failStore(pass_, side, Format(u"%s could not tell whether it has the record %s.", run_.side(side).name, id), failure);
        case Presence::Absent: break;
        }
        if (pass_.side(side).renamingUnknown.contains(id)) failUnknownRenaming(pass_, side, id);
        return true;
    }

    void scanHistory()
    {
        own_.found.reserve(own_.historyList.size());
        const double step = 50.0 / static_cast<double>(own_.historyList.size());
        for (HistoryEntry& entry : own_.historyList) {
            scanEntry(entry);
            progress_.advance(step);
        }
    }

    void scanEntry(HistoryEntry& entry)
    {
        const bool otherMissing = isMissing(otherSide(side_), entry.MappedId), ownMissing = isMissing(side_, entry.Id);
        if (ownMissing)
            own_.missing.insert(entry.Id);
        else
            own_.found.insert(entry.Id);
        if (otherMissing) other_.missing.insert(entry.MappedId);
        if (!ownMissing && own_.missing.contains(entry.Id)) failContradiction(side_, entry.Id);
        if (otherMissing && other_.found.containsExactly(entry.MappedId)) failContradiction(otherSide(side_), entry.MappedId);
        if (!ownMissing) {
            scanPresent(entry, otherMissing);
        } else if (otherMissing) {
            own_.missingOnBoth.push_back(entry.Id);
        } else if (FindTask(other_.tasks, entry.MappedId) == other_.tasks.end()) {
            storeDeletion(pass_, otherSide(side_), entry, false);
        }
    }

    // A record that cannot be read is sent as a change, so that the run fails with its name. Against a deletion on the other side it is no
    // change: a failure must not undo the deletion.
    void scanPresent(HistoryEntry& entry, bool otherMissing)
    {
        const Compared found = compare(com::Bstr(entry.Id), entry);
        if (found == Compared::Unreadable && otherMissing)
            own_.unread[entry.Id] = {&entry, true, {}};
        else if (found == Compared::DetailsAlone && otherMissing)
            return;
        else if (found != Compared::Same)
            storeChange(pass_, side_, entry, otherMissing);
    }

    // A store that has a record which it did not find a moment ago does not know what it holds: nothing may be deleted because of its
    // answers.
    [[noreturn]] void failContradiction(Side side, const std::u16string& id)
    {
        failStore(pass_, side, Format(u"%s has the record %s, and does not find it.", run_.side(side).name, id));
    }

    // A record whose date cannot be read counts as unchanged, unless the run is about to change it: see CompareUnread.
    Compared compare(const com::Bstr& id, HistoryEntry& entry)
    {
        const std::optional<DATE> date = own_.store.modified(id.get());
        if (!date) {
            own_.unread[entry.Id] = {&entry, true, {}};
            return Compared::Same;
        }
        const DATE now = *date, then = entry.ModifiedTime;
        if (now == 0.0 || then == 0.0) return compareFields(entry);
        if (now > 0.0 && then > 0.0 && now > then) {
            const Compared found = compareFields(entry);
            // The date moved but no field did: remember the date, so that the next run need not read the record. A record with an unread
            // field keeps its old date, or the change of that field would never be seen.
            if (found == Compared::Same && !own_.unread.contains(entry.Id)) {
                entry.ModifiedTime = now;
                run_.history.tryWriteEntry(side_, entry);
            }
            return found;
        }
        // Quirk kept on purpose: a date that went backwards is no change, whatever the fields hold.
        return compareUnedited(entry);
    }

    Compared compareUnedited(HistoryEntry& entry)
    {
        const Compared found = comparesAll_ ? compareFields(entry, CompareUnedited) : Compared::Same;
        const bool imagePass = run_.ImageOptionChanged && run_.ImagesAvailable;
        return imagePass && found != Compared::Unreadable ? compareFields(entry) : found;
    }

    Compared compareFields(HistoryEntry& entry, decltype(&RecordChangedSinceHistory) compareWithHistory = RecordChangedSinceHistory)
    {
        std::vector<LONG> unread;
        const Compared found = compareWithHistory(pass_, side_, entry.Id, unread);
        if (!unread.empty()) own_.unread[entry.Id] = {&entry, false, std::move(unread)};
        return found;
    }

    void findNewRecords(double share)
    {
        const double step = recordCount_ > 0 ? share / recordCount_ : 0.0;
        for (LONG i = 0; i < recordCount_; ++i) {
            com::Bstr id;
            if (own_.store.identifierAt(i, id)) {
                ++scanned_;
                if (own_.missing.contains(id.view())) failContradiction(side_, id.text());
                if (!own_.found.contains(id.view())) testNewRecord(id.text());
            }
            progress_.advance(step);
        }
    }

    void testNewRecord(const std::u16string& id)
    {
        if (!heldBack(id)) return addNew(id);
        pass_.UnverifiedRecords.push_back(id);
        WriteLogResource(logProgress, Text::NotVerified, DescribeRecord(nullptr, own_.store, id), run_.side(Side::One).name,
                         run_.side(Side::Two).name);
    }

    bool heldBack(const std::u16string& id)
    {
        if (!run_.options.SyncVerifiedOnly || !own_.store.hasVerifier()) return false;
        const com::Bstr key(id);
        return !own_.store.verified(key.get());
    }

    PipelinePass& pass_;
    RunState& run_;
    Side side_;
    PassSide &own_, &other_;
    bool transferSide_;
    bool comparesAll_; // the history may lack what this run compares, so that the dates of the records do not tell
    StageProgress progress_;
    LONG recordCount_ = 0, scanned_ = 0;
    std::set<std::u16string> selected_; // in order, lowered
};

} // namespace

void CheckListings(PipelinePass& pass)
{
    for (const Side side : {Side::One, Side::Two}) {
        const PassSide& own = pass.side(side);
        if (own.missing.empty() || !pass.send[side] || own.listsAll) continue;
        failStore(pass, side,
                  Format(u"%s did not list all the records that it counted, so it is not certain which ones were deleted. Nothing was "
                         u"written.",
                         pass.run.side(side).name));
    }
}

namespace {

// Whether the change of the entry's partner names a field that could not be read on this side: it may have been changed here too.
bool wouldOverwrite(PipelinePass& pass, Side side, const HistoryEntry& entry, const std::vector<LONG>& unread)
{
    if (unread.empty()) return false;
    const Side partnerSide = otherSide(side);
    const RecordTask& partner = pass.side(partnerSide).tasks.at(entry.MappedId);
    const FieldValueMap changes = ReadRecordChanges(pass, partnerSide, entry.MappedId, ReadErrors::SkipField, partner.FieldMapRemapped);
    for (std::size_t i = 0; i < static_cast<std::size_t>(pass.FieldCount); ++i) {
        const auto own = pass.side(side).fieldType(i);
        const auto other = own ? pass.side(partnerSide).fieldType(i) : std::nullopt;
        if (!own || !other) return true;
        if (changes.contains(*other) && std::find(unread.begin(), unread.end(), *own) != unread.end()) return true;
    }
    return changes.empty(); // without a change set all fields are written
}

// Drops the deletion. Its partner is still missing in the next run, which finds the deletion again.
void holdDeletion(PipelinePass& pass, Side side, TaskList::iterator deletion)
{
    PassSide& own = pass.side(side);
    WriteLogText(logFailures, u"%s could not read the record %s. Its deletion waits for the next run.", pass.run.side(side).name,
                 deletion->first);
    own.tasks.erase(deletion);
}

} // namespace

void CompareUnread(PipelinePass& pass)
{
    for (const Side side : {Side::One, Side::Two}) {
        PassSide &own = pass.side(side), &other = pass.side(otherSide(side));
        for (auto at = own.unread.begin(); at != own.unread.end();) {
            const auto current = at++;
            if (!current->second.entry) continue;
            HistoryEntry& entry = *current->second.entry;
            const auto deletion = FindTask(own.tasks, entry.Id);
            const bool toDelete = deletion != own.tasks.end() && deletion->second.Kind == TaskDelete;
            const bool toChange = FindTask(other.tasks, entry.MappedId) != other.tasks.end();
            if (!toDelete && !toChange) continue;
            std::vector<LONG> unread;
            const Compared found = RecordChangedSinceHistory(pass, side, entry.Id, unread);
            if (toDelete && found != Compared::Changed && (found == Compared::Unreadable || !unread.empty()))
                holdDeletion(pass, side, deletion);
            else if (found != Compared::Same && !(toDelete && found == Compared::DetailsAlone))
                storeChange(pass, side, entry, toDelete);
            else if (toChange && wouldOverwrite(pass, side, entry, unread))
                other.tasks.erase(entry.MappedId); // its date stays as it was, so the next run finds the change again
        }
    }
}

void ForgetPairsMissingOnBoth(PipelinePass& pass)
{
    // Each side has its own list, because one identifier may name different records on the two sides.
    for (const Side side : {Side::One, Side::Two}) {
        for (const std::u16string& id : pass.side(side).missingOnBoth) UnlinkHistoryEntry(pass.run.history, side, id);
        pass.side(side).missingOnBoth.clear();
    }
}

void ScanSide(PipelinePass& pass, Side side, bool enabled)
{
    pass.side(side).hasAdditions = false;
    if (!enabled) return;
    try {
        SideScan(pass, side).run();
    } catch (const RunFailure&) {
        if (pass.run.error.FailedTranslator == GUID_NULL) chargeFailure(pass, side);
        throw;
    }
}

} // namespace mb
