#include "engine/ScanSide.h"

#include "engine/DescribeRecord.h"
#include "engine/FailureReport.h"
#include "engine/HistoryLinks.h"
#include "engine/RecordChanges.h"
#include "engine/StageProgress.h"
#include "foundation/Log.h"
#include "foundation/Strings.h"
#include "text.h"
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

class SideScan {
public:
    SideScan(PipelinePass& pass, Side side)
        : pass_(pass), run_(pass.run), side_(side), own_(pass.side(side)), other_(pass.side(otherSide(side))),
          transferSide_(run_.transferring() && side == Side::One), verifier_(own_.translator.tryAs<IRecordVerifier>()),
          progress_(run_.EventSink, LoadText(run_.CategoryPass ? 220 : 195))
    {
    }

    HRESULT run()
    {
        if (transferSide_) readSelectedCards();
        HRESULT hr = com::call(own_.translator, &ITranslator::GetRecordCount, &recordCount_);
        if (FAILED(hr)) return hr;
        if (transferSide_) scanned_ = recordCount_;
        const bool hasPast = !own_.HistoryList.empty();
        if (transferSide_) {
            hr = hasPast ? scanSelectedCards() : takeSelectedCards();
        } else {
            if (hasPast) hr = scanHistory();
            if (SUCCEEDED(hr)) hr = findNewRecords(hasPast ? 50.0 : 100.0);
        }
        if (SUCCEEDED(hr)) WriteLogResource(1, run_.CategoryPass ? 203 : 148, state().Name, scanned_);
        return hr;
    }

private:
    SideState& state() { return run_.side(side_); }

    void readSelectedCards()
    {
        for (const std::u16string& card : com::textArray(run_.TransferCards)) selected_.insert(platform::lowered(card));
    }

    void addNew(const std::u16string& id)
    {
        TaskAt(own_.Tasks, id) = newTask();
        state().HasAdditions = true;
    }

    HRESULT takeSelectedCards()
    {
        for (const std::u16string& card : selected_) {
            addNew(card);
            if (progress_.advance(100.0 / static_cast<double>(selected_.size())) == E_ABORT) return E_ABORT;
        }
        return S_OK;
    }

    // Every selected card gets its task here, if it needs one, and no other card may get any: the store is not walked for new records,
    // however large it is.
    HRESULT scanSelectedCards()
    {
        std::unordered_map<std::u16string, HistoryEntry*> byId;
        for (HistoryEntry& entry : own_.HistoryList) byId[platform::lowered(entry.Id)] = &entry;
        for (const std::u16string& card : selected_) {
            const auto known = byId.find(card);
            if (known == byId.end())
                addNew(card);
            else
                scanSelectedCard(card, *known->second);
            if (progress_.advance(100.0 / static_cast<double>(selected_.size())) == E_ABORT) return E_ABORT;
        }
        return S_OK;
    }

    void scanSelectedCard(const std::u16string& card, HistoryEntry& entry)
    {
        const com::Bstr mapped(entry.MappedId);
        if (FAILED(com::call(other_.translator, &ITranslator::FindRecord, mapped.get())))
            TaskAt(own_.Tasks, entry.Id) = newTask();
        else if (entry.FieldMapChanged)
            TaskAt(own_.Tasks, entry.Id) = changeTask(entry, true);
        else if (changedByDate(com::Bstr(card), entry))
            TaskAt(own_.Tasks, entry.Id) = changeTask(entry);
    }

    HRESULT scanHistory()
    {
        own_.Seen.reserve(own_.HistoryList.size());
        const double step = 50.0 / static_cast<double>(own_.HistoryList.size());
        for (HistoryEntry& entry : own_.HistoryList) {
            const HRESULT hr = scanEntry(entry);
            if (FAILED(hr)) return hr;
            if (progress_.advance(step) == E_ABORT) return E_ABORT;
        }
        return S_OK;
    }

    HRESULT scanEntry(HistoryEntry& entry)
    {
        const com::Bstr id(entry.Id), mapped(entry.MappedId);
        const bool otherGone = FAILED(com::call(other_.translator, &ITranslator::FindRecord, mapped.get()));
        const bool ownGone = FAILED(com::call(own_.translator, &ITranslator::FindRecord, id.get()));
        if (ownGone)
            own_.Gone.insert(entry.Id);
        else
            own_.Seen.insert(entry.Id);
        if (otherGone) other_.Gone.insert(entry.MappedId);
        if (!ownGone && own_.Gone.contains(entry.Id)) return contradicts(side_, entry.Id);
        if (otherGone && other_.Seen.containsExactly(entry.MappedId)) return contradicts(otherSide(side_), entry.MappedId);
        if (!ownGone) {
            if (!changedByDate(id, entry)) return S_OK;
            TaskAt(own_.Tasks, entry.Id) = changeTask(entry);
            if (otherGone) storeDeletion(entry, entry.Id); // a change here against a deletion there: the conflict stage decides
        } else if (otherGone) {
            pass_.GoneOnBoth[side_].push_back(entry.Id);
        } else if (FindTask(other_.Tasks, entry.MappedId) == other_.Tasks.end()) {
            storeDeletion(entry, std::nullopt);
        }
        return S_OK;
    }

    // A store that has a record which it did not find a moment ago does not know what it holds: nothing is deleted by its word.
    HRESULT contradicts(Side side, const std::u16string& id)
    {
        WriteLogText(4, u"%s has the record %s, and does not find it.", run_.side(side).Name, id);
        return E_FAIL;
    }

    void storeDeletion(const HistoryEntry& entry, std::optional<std::u16string> mappedId)
    {
        RecordTask task;
        task.Kind = TaskDelete;
        task.MappedId = std::move(mappedId);
        TaskAt(other_.Tasks, entry.MappedId) = std::move(task);
        run_.side(otherSide(side_)).HasDeletions = true;
    }

    // A date that cannot be read leaves the record unchanged for this run.
    bool changedByDate(const com::Bstr& id, HistoryEntry& entry)
    {
        DATE now = 0.0;
        if (FAILED(com::call(own_.translator, &ITranslator::GetModifiedDate, id.get(), &now))) return false;
        const DATE then = entry.ModifiedTime;
        const bool imagePass = run_.ImageOptionChanged && run_.ImagesAvailable;
        bool unread = false;
        if (now == 0.0 || then == 0.0) return RecordChangedSinceHistory(pass_, side_, entry.Id, unread);
        if (now == then && !imagePass) return false;
        if (now > 0.0 && then > 0.0 && now > then) {
            if (RecordChangedSinceHistory(pass_, side_, entry.Id, unread)) return true;
            // The date moved but no field did: remember the date, so that the next run need not read the record. Not so where a field could
            // not be read: its change would never be seen again.
            if (unread) return false;
            entry.ModifiedTime = now;
            (void)run_.History->WriteEntry(sectionOf(side_), entry);
            return false;
        }
        // Wanted: a date that went backwards is no change, whatever the fields hold.
        return imagePass && RecordChangedSinceHistory(pass_, side_, entry.Id, unread);
    }

    HRESULT findNewRecords(double share)
    {
        const double step = recordCount_ > 0 ? share / recordCount_ : 0.0;
        for (LONG i = 0; i < recordCount_; ++i) {
            com::Bstr id;
            if (SUCCEEDED(com::call(own_.translator, &ITranslator::GetRecordID, i, id.put()))) {
                ++scanned_;
                if (own_.Gone.contains(id.view())) return contradicts(side_, id.text());
                if (!own_.Seen.contains(id.view())) testNewRecord(id.text());
            }
            if (progress_.advance(step) == E_ABORT) return E_ABORT;
        }
        return S_OK;
    }

    void testNewRecord(const std::u16string& id)
    {
        if (!heldBack(id)) return addNew(id);
        run_.UnverifiedRecords.push_back(id);
        WriteLogResource(1, 171, DescribeRecord(nullptr, own_.translator.get(), own_.names, id), run_.side(Side::One).Name,
                         run_.side(Side::Two).Name);
    }

    bool heldBack(const std::u16string& id)
    {
        if (!run_.Options.SyncVerifiedOnly || !verifier_) return false;
        VARIANT_BOOL verified = VARIANT_TRUE;
        const com::Bstr key(id);
        return SUCCEEDED(com::call(verifier_, &IRecordVerifier::RecordVerified, key.get(), &verified)) && verified == VARIANT_FALSE;
    }

    PipelinePass& pass_;
    RunState& run_;
    Side side_;
    PassSide &own_, &other_;
    bool transferSide_;
    com::Ptr<IRecordVerifier> verifier_;
    StageProgress progress_;
    LONG recordCount_ = 0, scanned_ = 0;
    std::set<std::u16string> selected_; // in order, lowered
};

} // namespace

void ForgetGone(PipelinePass& pass)
{
    // The other side may have a record of that identifier too, and that one's pair is left alone.
    for (const Side side : {Side::One, Side::Two}) {
        for (const std::u16string& id : pass.GoneOnBoth[side]) (void)UnlinkHistoryEntry(*pass.run.History, side, id);
        pass.GoneOnBoth[side].clear();
    }
}

HRESULT ScanSide(PipelinePass& pass, Side side, bool enabled)
{
    pass.run.side(side).HasAdditions = false;
    if (!enabled) return S_OK;
    const HRESULT hr = SideScan(pass, side).run();
    if (FAILED(hr) && hr != E_ABORT) chargeFailure(pass, side);
    return hr;
}

} // namespace mb
