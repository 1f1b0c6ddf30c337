#include "engine/RunPipeline.h"

#include "engine/AnalyzeHistory.h"
#include "engine/ConfirmChanges.h"
#include "engine/conflicts/ResolveConflicts.h"
#include "engine/details/PlanDetails.h"
#include "engine/duplicates/FindDuplicates.h"
#include "engine/duplicates/HoldBack.h"
#include "engine/FieldMapClient.h"
#include "engine/HistoryLinks.h"
#include "engine/LimitDeletions.h"
#include "engine/LoadTargetFields.h"
#include "engine/OfferFields.h"
#include "engine/RequireWritable.h"
#include "engine/ScanSide.h"
#include "engine/SeparateGroups.h"
#include "engine/WriteSide.h"
#include "files.h"
#include "foundation/Log.h"
#include "host.h"
#include "text.h"
#include "translators/ImageFields.h"

namespace mb {
namespace {

class Pipeline {
public:
    Pipeline(RunState& run, PerSide<StoreClient>& stores, const PerSide<com::Ptr<ITrServices>>& services)
        : run_(run), fieldMap_(run), pass_{.run = run, .sides = {PassSide(stores.one, services.one), PassSide(stores.two, services.two)}}
    {
    }

    void run()
    {
        run_.ContactPassPending = false;
        if (!pass_.side(Side::One).store.hasFields() || !pass_.side(Side::Two).store.hasFields()) throw RunFailure(E_NOINTERFACE);
        if (fieldMap_.updated()) run_.FieldMapUpdated = true;
        if (isOneStore()) return;
        logHeader();
        chooseDirection();
        if (run_.ResyncRequested) clearForResync();
        run_.HistoryVersion = run_.history.version();
        const HRESULT result = resultOf([&] {
            prepareAndDecide();
            if (pass_.FieldCount != 0) write();
        });
        finish(result);
        require(result);
    }

private:
    // Nothing is written yet, so a cancel needs no clean-up.
    void prepareAndDecide()
    {
        loadFieldPairs();
        lookForImageFields();
        if (pass_.FieldCount != 0) decide();
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
        if (!run_.transferring()) run_.history.tryClear();
        if (!run_.CategoryPass) run_.ResyncRequested = false;
    }

    void loadFieldPairs()
    {
        if (run_.CategoryPass && pairCategoryNames()) return;
        PassSide &one = pass_.side(Side::One), &two = pass_.side(Side::Two);
        fieldMap_.loadPairs(one.store.translator(), two.store.translator(), pass_.FieldCount, one.fields, two.fields);
        if (!run_.CategoryPass) OfferFields(pass_);
        pass_.separateDetails();
        if (!run_.CategoryPass) pass_.findKinds();
    }

    // In a category pass a record has one field, its name, which travels as a last name.
    bool pairCategoryNames()
    {
        const auto name1 = firstLastName(pass_.side(Side::One).store);
        const auto name2 = name1 ? firstLastName(pass_.side(Side::Two).store) : std::nullopt;
        if (!name2) return false;
        const PerSide<GUID> names{*name1, *name2};
        for (const Side side : bothSides) {
            LONG count = 0;
            com::check(com::giveArray(std::span<const GUID>(&names[side], 1), &count, pass_.side(side).fields.put()));
        }
        pass_.FieldCount = 1;
        return true;
    }

    static std::optional<GUID> firstLastName(StoreClient& store)
    {
        const LONG count = store.hasFieldList() ? store.fieldCount().value_or(0) : 0;
        for (LONG i = 0; i < count; ++i) {
            const auto field = store.fieldAt(i);
            if (field && store.fieldType(*field) == ftLastName) return field;
        }
        return std::nullopt;
    }

    void lookForImageFields()
    {
        if (!run_.ImagesAvailable) return;
        const auto fields = pass_.fields(Side::One);
        run_.ImagesAvailable = std::any_of(fields.rbegin(), fields.rend(), [&](const GUID& field) {
            const auto type = pass_.side(Side::One).store.fieldType(field);
            return type && isImageType(*type);
        });
    }

    // A cancel that a store had to hold back counts, whatever ended the stages.
    void decide()
    {
        try {
            runStages();
        } catch (const RunFailure&) {
            throwIfCancelled();
            throw;
        }
        throwIfCancelled();
    }

    void throwIfCancelled() const
    {
        for (const Side side : bothSides) pass_.sides[side].store.throwIfCancelled();
    }

    // The stages that decide what will be written.
    void runStages()
    {
        AnalyzeHistory(pass_);
        for (const Side side : bothSides) ScanSide(pass_, side, pass_.send[side]);
        CheckListings(pass_);
        CompareUnread(pass_);
        ForgetPairsMissingOnBoth(pass_);
        SeparateGroups(pass_);
        FindDuplicatesByTranslator(pass_);
        ResolveConflicts(pass_);
        settleDuplicates();
        plans_ = MakePlans(pass_);
        LimitDeletions(run_, plans_);
        LoadTargetFields(pass_, plans_);
        PlanDetails(pass_, plans_);
        ConfirmChanges(run_, pass_, plans_);
        RequireWritable(pass_, plans_);
    }

    // The field map counts as rebuilt until this search for duplicates has ended, whatever ended it.
    void settleDuplicates()
    {
        try {
            if (!FindDuplicates(pass_)) return;
            HoldBackUnreadable(pass_);
            ResolveConflicts(pass_);
        } catch (...) {
            run_.FieldMapRebuilt = false;
            throw;
        }
        run_.FieldMapRebuilt = false;
    }

    void write()
    {
        logWithTime(Text::CopyingStarted);
        // Only now, so that a cancelled first run leaves the old history in place.
        if (pass_.FirstSync && !run_.transferring()) run_.history.tryClear();
        run_.historyObsolete = false;
        dropRemovedLinks();
        const HRESULT result = writeBothSides();
        logWithTime(Text::CopyingEnded);
        require(result);
    }

    // Side 2, and then side 1. A side's history is completed also after a failure or a cancel, so each step hands on the result so far.
    HRESULT writeBothSides()
    {
        HRESULT result = writeSide(Side::Two);
        bool nothingLeft = false;
        saveHistoryOnce(result, [&] {
            completeSide(Side::Two, result);
            nothingLeft = plans_.one.empty() && plans_.two.empty();
            if (nothingLeft && mayStamp(result)) stamp(Side::One);
            if (nothingLeft && result == S_OK) rememberComparisons();
        });
        if (nothingLeft || !mayStamp(result)) return result;
        if (result == S_OK) result = writeSide(Side::One);
        saveHistoryOnce(result, [&] {
            completeSide(Side::One, result);
            if (result == S_OK) rememberComparisons();
        });
        return result;
    }

    HRESULT writeSide(Side target)
    {
        return plans_[target].written ? resultOf([&] { WriteSide(pass_, plans_, target); }) : S_OK;
    }

    void dropRemovedLinks()
    {
        for (const Side side : bothSides)
            for (const std::u16string& id : pass_.side(side).historyRemovals) UnlinkHistoryEntry(run_.history, side, id);
        if (!run_.CategoryPass) WriteGroupCopies(pass_);
    }

    // What was written before a cancel stays, so a cancelled side counts as complete.
    static bool mayStamp(HRESULT result) { return result == S_OK || result == E_ABORT; }

    // A history that cannot be written fails the run: without it the next run would take every record for a new one.
    template <class Work> void saveHistoryOnce(HRESULT& result, Work&& work)
    {
        SaveScope scope(run_.history.store());
        work();
        const HRESULT saved = resultOf([&] { require(scope.finish()); });
        if (result == S_OK) result = saved;
    }

    // Closes the batch of a side that was written, and stamps its history. A batch that cannot be closed may be lost as a whole: then the
    // history goes back to what it was before the batch, because a link to a record that does not exist would read as a deletion. E_ABORT
    // from the store is no exception: the batch was not ended.
    void completeSide(Side target, HRESULT& result)
    {
        if (!mayStamp(result)) return;
        if (plans_[target].written) {
            const HRESULT ended = resultOf([&] { EndSide(pass_.side(target).store); });
            if (ended != S_OK) {
                result = ended;
                run_.history.tryRevert();
                run_.history.setBatchInDoubt(target, true);
                return;
            }
        }
        stamp(target);
    }

    void stamp(Side side)
    {
        if (run_.side(side).databaseKnown) run_.history.trySetDatabase(side, run_.side(side).database);
        run_.history.setBatchInDoubt(side, false);
        run_.history.trySetLastSync(side, platform::localNow(), 1);
    }

    void logWithTime(Text id) const
    {
        if (!run_.CategoryPass)
            WriteLogResource(LogLevelMask, id, platform::dateText(platform::localTime()), platform::timeText(platform::localTime()));
    }

    // From now on a record whose date did not move has a base of its details.
    void rememberDetails()
    {
        for (const Side side : bothSides)
            if (!pass_.details || pass_.detailsUnread)
                run_.history.setDetailsKnown(side, false);
            else if (pass_.send[side])
                run_.history.setDetailsKnown(side, true);
    }

    void rememberComparisons()
    {
        rememberDetails();
        if (!run_.CategoryPass) rememberKinds();
    }

    // From now on a changed kind is an edit.
    void rememberKinds()
    {
        const bool unread = pass_.side(Side::One).kindsUnread || pass_.side(Side::Two).kindsUnread;
        for (const Side side : bothSides) run_.history.setKindsKnown(side, pass_.side(side).kind && !unread);
    }

    void finish(HRESULT result)
    {
        // Not by the rules for a map that its user changed: no record is marked.
        if (result == S_OK && pass_.FieldCount != 0)
            for (const OfferedPair& pair : pass_.offered) fieldMap_.tryAddPair(pair.fields);
        if (result == S_OK && run_.FieldMapUpdated) {
            fieldMap_.tryForgetUpdate();
            run_.FieldMapUpdated = false;
        }
        WriteLogText(LogLevelMask, u"\r");
        WriteLogResource(LogLevelMask, run_.CategoryPass ? Text::CategoryPassEnded : Text::ContactPassEnded);
        WriteLogText(LogLevelMask, u"\r");
    }

    RunState& run_;
    FieldMapClient fieldMap_;
    PipelinePass pass_;
    PerSide<SidePlan> plans_; // once all decisions are taken
};

} // namespace

void RunPipeline(RunState& run, PerSide<StoreClient>& stores, const PerSide<com::Ptr<ITrServices>>& services)
{
    Pipeline(run, stores, services).run();
}

} // namespace mb
