#include "engine/RunPipeline.h"

#include "engine/AnalyzeHistory.h"
#include "engine/ConfirmChanges.h"
#include "engine/FindDuplicates.h"
#include "engine/HistoryLinks.h"
#include "engine/LimitDeletions.h"
#include "engine/RequireWritable.h"
#include "engine/ResolveConflicts.h"
#include "engine/ScanSide.h"
#include "engine/WriteSide.h"
#include "files.h"
#include "foundation/Log.h"
#include "host.h"
#include "text.h"

namespace mb {
namespace {

class Pipeline {
public:
    Pipeline(RunState& run, PerSide<StoreClient>& stores, const PerSide<com::Ptr<ITrServices>>& services)
        : run_(run), pass_{.run = run, .sides = {PassSide(stores.one, services.one), PassSide(stores.two, services.two)}}
    {
    }

    HRESULT run()
    {
        run_.ContactPassPending = false;
        if (!pass_.side(Side::One).store.hasFields() || !pass_.side(Side::Two).store.hasFields()) return E_NOINTERFACE;
        lookForFieldMapUpdate();
        if (isOneStore()) return S_OK;
        logHeader();
        chooseDirection();
        if (run_.ResyncRequested) clearForResync();
        run_.HistoryVersion = -1;
        (void)run_.history->GetVersion(run_.HistoryVersion);
        HRESULT hr = prepareAndDecide();
        if (SUCCEEDED(hr) && pass_.FieldCount != 0) hr = write();
        finish(hr);
        return hr;
    }

private:
    // Up to here nothing is written, so a cancel needs no care.
    HRESULT prepareAndDecide()
    {
        try {
            HRESULT hr = loadFieldPairs();
            if (FAILED(hr)) return hr;
            lookForImageFields();
            if (pass_.FieldCount != 0) hr = decide();
            return hr;
        } catch (const Cancelled&) {
            return E_ABORT;
        }
    }

    void lookForFieldMapUpdate()
    {
        LONG updated = 0;
        if (run_.FieldMap && SUCCEEDED(com::call(run_.FieldMap, &IFieldMap::GetFieldMapUpdated, run_.FieldMapId, &updated)) && updated == 1)
            run_.FieldMapUpdated = true;
    }

    bool isOneStore() const
    {
        const std::u16string &database1 = run_.side(Side::One).database, &database2 = run_.side(Side::Two).database;
        return !database1.empty() && platform::isSamePlace(database1, database2);
    }

    void logHeader() const
    {
        WriteLogText(LogLevelMask, u"\r");
        WriteLogResource(LogLevelMask, run_.CategoryPass ? Text::CategoryPassStarted : Text::ContactPassStarted);
        WriteLogText(LogLevelMask, u"\r");
        WriteLogResource(LogLevelMask, Text::DatabaseOfSide1, run_.side(Side::One).name, run_.side(Side::One).database);
        WriteLogResource(LogLevelMask, Text::DatabaseOfSide2, run_.side(Side::Two).name, run_.side(Side::Two).database);
    }

    void chooseDirection()
    {
        const std::u16string &name1 = run_.side(Side::One).name, &name2 = run_.side(Side::Two).name;
        switch (run_.options.SyncType) {
        case stImportToTrans1: pass_.send[Side::One] = false; return WriteLogResource(logProgress, Text::OneWay, name2, name1);
        case stExportFromTrans1: pass_.send[Side::Two] = false; return WriteLogResource(logProgress, Text::OneWay, name1, name2);
        default: return WriteLogResource(logProgress, Text::TwoWay);
        }
    }

    // The request outlives a category pass, so that the contact pass clears its history too.
    void clearForResync()
    {
        if (!run_.transferring()) (void)run_.history->Clear();
        if (!run_.CategoryPass) run_.ResyncRequested = false;
    }

    HRESULT loadFieldPairs()
    {
        if (run_.CategoryPass && pairCategoryNames()) return S_OK;
        return com::call(run_.FieldMap, &IFieldMap::EnumerateEntriesExValidate, run_.CurrentMap, run_.FieldMapId,
                         pass_.side(Side::One).store.translator(), pass_.side(Side::Two).store.translator(), &pass_.FieldCount,
                         pass_.side(Side::One).fields.put(), pass_.side(Side::Two).fields.put());
    }

    // In a category pass a record has one field, its name, which travels as a last name.
    bool pairCategoryNames()
    {
        PerSide<GUID> names;
        for (const Side side : bothSides)
            if (!firstLastName(pass_.side(side), names[side])) return false;
        for (const Side side : bothSides) {
            LONG count = 0;
            com::check(com::giveArray(std::span<const GUID>(&names[side], 1), &count, pass_.side(side).fields.put()));
        }
        pass_.FieldCount = 1;
        return true;
    }

    static bool firstLastName(PassSide& side, GUID& name)
    {
        LONG count = 0;
        if (!side.store.hasFieldList() || FAILED(side.store.fieldCount(count))) return false;
        for (LONG i = 0; i < count; ++i) {
            LONG type = 0;
            if (FAILED(side.store.fieldAt(i, name))) continue;
            if (SUCCEEDED(side.store.fieldType(name, type)) && type == ftLastName) return true;
        }
        return false;
    }

    void lookForImageFields()
    {
        if (!run_.ImagesAvailable) return;
        const auto fields = pass_.fields(Side::One);
        run_.ImagesAvailable = std::any_of(fields.rbegin(), fields.rend(), [&](const GUID& field) {
            LONG type = 0;
            return SUCCEEDED(pass_.side(Side::One).store.fieldType(field, type)) && (type == ftImage1 || type == ftImage2);
        });
    }

    // The stages that decide; each runs only if the former ones gave no failure.
    HRESULT decide()
    {
        HRESULT hr = AnalyzeHistory(pass_);
        for (const Side side : bothSides)
            if (SUCCEEDED(hr)) hr = ScanSide(pass_, side, pass_.send[side]);
        if (SUCCEEDED(hr)) hr = CheckListings(pass_);
        if (SUCCEEDED(hr)) CompareUnread(pass_);
        if (SUCCEEDED(hr)) ForgetPairsMissingOnBoth(pass_);
        if (SUCCEEDED(hr)) hr = FindDuplicatesByTranslator(pass_);
        if (SUCCEEDED(hr)) hr = ResolveConflicts(pass_);
        if (SUCCEEDED(hr)) hr = FindDuplicates(pass_);
        if (SUCCEEDED(hr)) hr = LimitDeletions(pass_);
        if (SUCCEEDED(hr)) hr = ConfirmChanges(pass_);
        if (SUCCEEDED(hr)) hr = RequireWritable(pass_);
        if (SUCCEEDED(hr) && pass_.send[Side::Two]) LoadTargetFields(pass_);
        for (const Side side : bothSides) pass_.side(side).store.throwIfCancelled();
        return hr;
    }

    HRESULT write()
    {
        logWithTime(Text::CopyingStarted);
        // Only now, so that a cancelled first run leaves the old history in place.
        if (pass_.FirstSync && !run_.transferring()) (void)run_.history->Clear();
        run_.historyObsolete = false;
        dropRemovedLinks();
        pass_.TotalTasks = pass_.side(Side::One).tasks.size() + pass_.side(Side::Two).tasks.size();
        pass_.DoneTasks = 0;

        HRESULT hr = pass_.send[Side::One] ? WriteSide(pass_, Side::Two) : S_OK;
        bool nothingLeft = false;
        saveHistoryOnce(hr, [&] {
            completeSide(Side::Two, hr);
            nothingLeft = pass_.side(Side::One).tasks.empty() && pass_.side(Side::Two).tasks.empty();
            if (nothingLeft && mayStamp(hr)) stamp(Side::One);
        });
        if (!nothingLeft && mayStamp(hr)) {
            if (SUCCEEDED(hr) && pass_.send[Side::Two]) hr = WriteSide(pass_, Side::One);
            saveHistoryOnce(hr, [&] { completeSide(Side::One, hr); });
        }
        logWithTime(Text::CopyingEnded);
        return hr;
    }

    void dropRemovedLinks()
    {
        for (const Side side : bothSides) {
            for (const std::u16string& id : pass_.side(side).historyRemovals) (void)UnlinkHistoryEntry(*run_.history, side, id);
            pass_.side(side).historyRemovals.clear();
        }
    }

    // What was written before a cancel stays, so a cancelled side counts as complete.
    static bool mayStamp(HRESULT hr) { return SUCCEEDED(hr) || hr == E_ABORT; }

    // A history that cannot be written fails the run: without it the next one would take every record for a new one.
    template <class F> void saveHistoryOnce(HRESULT& hr, F&& work)
    {
        SaveScope scope(run_.history->store());
        work();
        const HRESULT saved = scope.finish();
        if (SUCCEEDED(hr) && FAILED(saved)) hr = saved;
    }

    // Closes the batch of a side that was written, and stamps its history. A batch that cannot be closed may be lost as a whole: then
    // the history goes back to what it was before it, for a link to a record that is not there would read as a deletion. E_ABORT from the
    // store is no exception: the batch was not ended.
    void completeSide(Side target, HRESULT& hr)
    {
        if (!mayStamp(hr)) return;
        if (pass_.send[otherSide(target)]) {
            const HRESULT ended = EndSide(pass_, target);
            if (FAILED(ended)) {
                hr = ended;
                (void)run_.history->store().Revert();
                run_.history->SetBatchInDoubt(sectionOf(target), true);
                return;
            }
        }
        stamp(target);
    }

    void stamp(Side side)
    {
        if (run_.side(side).databaseKnown) (void)run_.history->SetDatabase(sectionOf(side), run_.side(side).database);
        run_.history->SetBatchInDoubt(sectionOf(side), false);
        (void)run_.history->SetLastSyncTime(sectionOf(side), platform::localNow());
        (void)run_.history->SetLastSyncStatus(sectionOf(side), 1);
    }

    void logWithTime(Text id) const
    {
        if (!run_.CategoryPass)
            WriteLogResource(LogLevelMask, id, platform::dateText(platform::localTime()), platform::timeText(platform::localTime()));
    }

    void finish(HRESULT hr)
    {
        if (SUCCEEDED(hr) && run_.FieldMapUpdated) {
            (void)com::call(run_.FieldMap, &IFieldMap::SetFieldMapUpdated, run_.FieldMapId, 0);
            run_.FieldMapUpdated = false;
        }
        WriteLogText(LogLevelMask, u"\r");
        WriteLogResource(LogLevelMask, run_.CategoryPass ? Text::CategoryPassEnded : Text::ContactPassEnded);
        WriteLogText(LogLevelMask, u"\r");
    }

    RunState& run_;
    PipelinePass pass_;
};

} // namespace

HRESULT RunPipeline(RunState& run, PerSide<StoreClient>& stores, const PerSide<com::Ptr<ITrServices>>& services)
{
    return Pipeline(run, stores, services).run();
}

} // namespace mb
