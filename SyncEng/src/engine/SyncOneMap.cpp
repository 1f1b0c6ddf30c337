#include "engine/SyncOneMap.h"

#include "engine/EngineCodes.h"
#include "engine/FailureReport.h"
#include "engine/FieldMapClient.h"
#include "engine/LockStores.h"
#include "engine/MapClient.h"
#include "engine/MapOptions.h"
#include "engine/RunPipeline.h"
#include "engine/RunServices.h"
#include "engine/StoreClient.h"
#include "files.h"
#include "foundation/ClassTable.h"
#include "foundation/Log.h"
#include "foundation/Paths.h"
#include "foundation/StoreNames.h"
#include "foundation/Strings.h"
#include "host.h"
#include "store/ConfigStore.h"
#include "store/CSyncHistory.h"
#include "translators/TrMapKeys.h"

namespace mb {
namespace {

class MapRun {
public:
    MapRun(RunState& run, std::shared_ptr<CSyncHistory>& kept) : run_(run), kept_(kept), fieldMap_(run) {}
    MapRun(const MapRun&) = delete;
    MapRun& operator=(const MapRun&) = delete;
    ~MapRun()
    {
        run_.history = MapHistory();
        for (const Side side : bothSides)
            if (ownServices_[side]) ownServices_[side]->leave();
    }

    HRESULT run()
    {
        run_.ImagesAvailable = true;
        run_.historyObsolete = false;
        run_.abortMeaning = reCancelled;
        for (const Side side : bothSides) {
            run_.side(side).database.clear();
            run_.side(side).databaseKnown = false;
        }
        // Quirk kept on purpose: the log tells the start of a contact pass that follows a category pass, and of no other pass; it tells the
        // end of every contact pass.
        if (run_.ContactPassPending) logWithTime(Text::RunStarted);

        HRESULT result = resultOf([&] { prepare(); });
        if (result == S_OK) {
            result = resultOf([&] {
                loadTranslators();
                if (!loadFailed_.one && !loadFailed_.two) startAndRun();
            });
            if (leftAtOnce_) return result;
            if (!refused_ && isReported(result)) ReportFailure(run_, result);
            cleanUp();
            // What the analysis learned, and what was written and linked before a failure, stays known whatever ended the run.
            if (result != S_OK && !run_.historyObsolete) run_.history.trySave();
        }
        return conclude(result);
    }

private:
    void prepare()
    {
        openMap();
        loadFieldMap();
        prepareSides();
        lockRecordedStores();
    }

    void openMap()
    {
        if (run_.ContactPassPending && kept_)
            useHistory(std::move(kept_));
        else
            openHistory(run_.CurrentMap);
        com::Ptr<ITrMap> trMap;
        require(createClass(__uuidof(TrManager), trMap));
        map_ = MapClient(trMap);
        entry_ = trMap.tryAs<ITrMapEntry>();
        if (!entry_) throw RunFailure(E_NOINTERFACE);
        for (const Side side : bothSides) {
            ownServices_[side] = com::make<CRunServices>();
            ownServices_[side]->join(run_.report, side);
            services_[side] = ownServices_[side];
        }
        map_.requireTranslators(run_.CurrentMap, run_.side(Side::One).id, run_.side(Side::Two).id);
        openedVersion_ = run_.history.version();
    }

    void useHistory(std::shared_ptr<CSyncHistory> history)
    {
        history_ = std::move(history);
        run_.history = MapHistory(*history_);
    }

    void openHistory(const GUID& id)
    {
        useHistory(std::make_shared<CSyncHistory>(run_.EventSink));
        const HRESULT opened = history_->Open(id);
        if (!answered(opened)) run_.error.LastErrorMessage1 = history_->openFailure();
        require(opened);
    }

    void loadFieldMap()
    {
        if (fieldMap_.load(map_.get())) return;
        std::filesystem::path folder;
        (void)GetUserDataFolder(folder); // without a folder the message names none
        run_.error.LastErrorMessage1 = Format(LoadText(Text::FieldMapLoadFailed), platform::textOf(folder));
        throw RunFailure(codeInitialize);
    }

    void prepareSides()
    {
        // Numbers of dynamic fields are given out anew in each run.
        fieldMap_.trySetNextFieldType(ftDynamicStart);
        for (const Side side : bothSides) {
            settings_[side] = SettingsClient(services_[side]);
            settings_[side].tryBind(run_.CurrentMap, side);
        }
        if (!run_.TransferFile.empty()) {
            settings_[Side::One].trySetText(u"Database", run_.TransferFile);
            settings_[Side::One].trySetText(u"Password", run_.TransferPassword);
            settings_[Side::One].trySetNumber(u"SavePassword", 1);
        }
        for (const Side side : bothSides) run_.side(side).name = shortNames_[side] = map_.translatorName(run_.side(side).id, false);
        if (shortNames_.one == shortNames_.two) nameStores(storedDatabase(Side::One), storedDatabase(Side::Two));
    }

    // What the side's settings call its database, where its translator keeps it under the usual key.
    std::u16string storedDatabase(Side side) const { return settings_[side].text(u"Database"); }

    // A side whose settings tell no database had one in the last run, and mostly still has.
    void lockRecordedStores()
    {
        PerSide<std::u16string> recorded;
        for (const Side side : bothSides)
            if (storedDatabase(side).empty()) recorded[side] = run_.history.database(side);
        lockStores(recorded);
    }

    void lockStores(const PerSide<std::u16string>& databases)
    {
        refused_ = true; // unless the locks are taken
        LockStores(run_, databases);
        refused_ = false;
    }

    // Two stores of one translator get names that include their places.
    void nameStores(std::u16string_view database1, std::u16string_view database2)
    {
        for (const Side side : bothSides) run_.side(side).name = shortNames_[side];
        TellStoresApart(run_.side(Side::One).name, database1, run_.side(Side::Two).name, database2);
    }

    // Quirk kept on purpose: the result is that of the second load alone, so a failed first load with a good second one ends the run
    // without a message.
    void loadTranslators()
    {
        HRESULT loaded = S_OK;
        for (const Side side : bothSides) {
            loaded = com::call(entry_, &ITrMapEntry::Load, run_.side(side).id, translators_[side].put());
            if (!answered(loaded)) (void)translators_[side].detach();
            loadFailed_[side] = !translators_[side];
        }
        for (const Side side : bothSides)
            if (loadFailed_[side]) chargeLoadFailure(side);
        require(loaded);
    }

    void chargeLoadFailure(Side side)
    {
        const Side other = otherSide(side);
        chargeTo(run_, side);
        FetchTranslatorError(run_.error, {translators_[side].get(), run_.side(side).id, side},
                             {translators_[other].get(), run_.side(other).id, other});
    }

    void startAndRun()
    {
        for (const Side side : bothSides) stores_[side] = StoreClient(translators_[side]);
        if (!run_.CategoriesBarred) lookForCategories();
        run_.report.beginPass(run_.CategoryPass ? passCategories : passContacts);
        readOptions();
        loggingCancel([&] {
            for (const Side side : bothSides) startSide(side);
            readSyncParams();
        });
        lockStores({run_.side(Side::One).database, run_.side(Side::Two).database});
        loggingCancel([&] { runPipeline(); });
    }

    void runPipeline()
    {
        try {
            RunPipeline(run_, stores_, services_);
        } catch (const RunFailure&) {
            if (run_.error.FailedTranslator == GUID_NULL)
                FetchTranslatorError(run_.error, {translators_.two.get(), run_.side(Side::Two).id, Side::Two},
                                     {translators_.one.get(), run_.side(Side::One).id, Side::One});
            throw;
        }
    }

    template <class Work> void loggingCancel(Work&& work) const
    {
        try {
            work();
        } catch (const Cancelled&) {
            WriteLogResource(logProgress, run_.abortMeaning == reStopped      ? Text::StoppedByHost
                                          : run_.abortMeaning == reUnanswered ? Text::QuestionUnanswered
                                                                              : Text::CancelledByUser);
            throw;
        }
    }

    // Where both stores have categories, and this is not the pass that follows one, the lists of categories come first.
    void lookForCategories()
    {
        if (!stores_.one.hasCategories() || !stores_.two.hasCategories() || run_.ContactPassPending) return;
        run_.CategoryPass = true;
        run_.CategoryHistoryId = map_.categoryHistory(run_.CurrentMap);
        kept_ = history_;
        try {
            openHistory(run_.CategoryHistoryId);
        } catch (const RunFailure& failure) {
            leftAtOnce_ = true;
            throw RunFailure(RecordFailedSync(run_, map_, translators_, {}, failure.code()));
        }
    }

    void readOptions()
    {
        MapOptions& options = run_.options;
        const bool asks = !run_.CategoryPass;
        options = {}; // the options of the map that ran before do not hold for this map
        options.ConfirmAdds = options.ConfirmUpdates = options.ConfirmDeletes = asks;
        options.ConflictResolution = options.DelConflictResolution = asks ? croNotify : croAddAll;
        ReadMapOptions(run_, map_);
        // Categories have no images: a category pass must not clear the image option before the contact pass has read it.
        if (run_.CategoryPass) return;
        if (!run_.ImageOptionChanged) upgradeImageOption();
        if (!run_.ImageOptionChanged && settings_.two.text(imageOptionKey) == u"1") run_.ImageOptionChanged = wroteImageFlag_ = true;
    }

    // After an update from a version that did not compare images, every map compares them once.
    void upgradeImageOption()
    {
        LONG version = -1;
        if (!answered(ConfigStore().GetVersion(version)) || version >= currentStoreVersion) return;
        if (run_.options.SyncImages && openedVersion_ < currentStoreVersion) {
            run_.ImageOptionChanged = run_.RefreshImages = wroteImageFlag_ = true;
            BroadcastImageOption(imageOptionKey, u"1");
        }
        (void)ConfigStore().SetVersion(currentStoreVersion); // a version that cannot be written is raised by the next run
    }

    void startSide(Side side)
    {
        try {
            startTranslator(side);
        } catch (const RunFailure&) {
            loadFailed_[side] = true;
            chargeLoadFailure(side);
            throw;
        }
        allowImages(side);
        if (side == Side::Two && run_.options.SyncImages && run_.ImageOptionChanged && run_.ImagesAvailable) run_.RefreshImages = true;
        loadDynamicFields(side);
    }

    void startTranslator(Side side)
    {
        const VARIANT_BOOL reconfigure = run_.side(side).reconfigure;
        ITrServices* services = services_[side].get();
        StoreClient& store = stores_[side];
        if (run_.CategoryPass) return store.initializeCategories(services, run_.ParentWindow, reconfigure);
        if (store.hasUpdater()) return store.initializeWithProgress(run_.EventSink.get(), services, run_.ParentWindow, reconfigure);
        store.initialize(services, run_.ParentWindow, reconfigure);
    }

    void allowImages(Side side)
    {
        if (stores_[side].hasImages())
            stores_[side].trySetAllowImages(run_.options.SyncImages);
        else
            run_.ImagesAvailable = false;
    }

    void loadDynamicFields(Side side)
    {
        if (run_.CategoryPass || !run_.FieldMap || !stores_[side].hasDynamicFields()) return;
        const auto next = fieldMap_.nextFieldType();
        const auto after = next ? stores_[side].loadDynamicFields(services_[side].get(), *next) : std::nullopt;
        if (after && after != next) fieldMap_.trySetNextFieldType(*after);
    }

    // A store that does not tell its name runs without one.
    void readSyncParams()
    {
        for (const Side side : bothSides) {
            SideState& state = run_.side(side);
            state.databaseKnown = stores_[side].syncParams(services_[side].get(), state.database, state.description);
        }
        if (run_.side(Side::One).databaseKnown && run_.side(Side::Two).databaseKnown)
            nameStores(run_.side(Side::One).database, run_.side(Side::Two).database);
    }

    // These codes end a run without a message.
    static bool isReported(HRESULT result)
    {
        return result != S_OK && result != E_ABORT && result != codeSilentStop && result != codeRunAgain && result != codeRebuildFields &&
               result != codeStopSchedule && result != codeNoMessage && result != codeReSync;
    }

    // A translator keeps what was saved in a batch that was not ended. A translator whose clean-up fails has lost it, and the history must
    // not tell of it.
    void cleanUp()
    {
        for (const Side side : bothSides) {
            if (!translators_[side]) continue;
            if (answered(com::call(translators_[side], &ITranslator::Cleanup)) || !stores_[side].batchOpen()) continue;
            run_.history.tryRevert();
            run_.history.setBatchInDoubt(side, true);
        }
    }

    HRESULT conclude(HRESULT result)
    {
        if (result == codeRebuildFields && run_.FieldMap) {
            fieldMap_.tryCreateDefault();
            run_.FieldMapRebuilt = true;
        }
        if (result == S_OK)
            settleSuccess();
        else if (!refused_ && result != E_ABORT && result != codeSilentStop && result != codeRunAgain && result != codeRebuildFields &&
                 result != codeDeletionsRefused)
            result = RecordFailedSync(run_, map_, translators_, loadFailed_, result);
        if (!run_.CategoryPass) logWithTime(Text::RunEnded);
        return result;
    }

    void settleSuccess()
    {
        if (run_.HistoryVersion < currentStoreVersion) run_.history.trySetVersion(currentStoreVersion);
        if (run_.ImageOptionChanged && !run_.CategoryPass) {
            run_.ImageOptionChanged = false;
            map_.trySetOption(run_.CurrentMap, soSyncImageOptionChanged, false);
        }
        if (wroteImageFlag_) settings_.two.trySetText(imageOptionKey, u"0");
    }

    static void logWithTime(Text id)
    {
        const platform::ClockTime now = platform::localTime();
        WriteLogResource(LogLevelMask, id, platform::dateText(now), platform::timeText(now));
    }

    RunState& run_;
    std::shared_ptr<CSyncHistory>& kept_;
    std::shared_ptr<CSyncHistory> history_;
    MapClient map_;
    FieldMapClient fieldMap_;
    com::Ptr<ITrMapEntry> entry_;
    PerSide<com::Ptr<CRunServices>> ownServices_;
    PerSide<com::Ptr<ITrServices>> services_;
    PerSide<SettingsClient> settings_;
    PerSide<std::u16string> shortNames_; // of the translators
    PerSide<com::Ptr<ITranslator>> translators_;
    PerSide<StoreClient> stores_;
    PerSide<bool> loadFailed_;
    LONG openedVersion_ = -1;
    bool wroteImageFlag_ = false; // this run set the stored text, or found it set
    bool leftAtOnce_ = false;
    bool refused_ = false; // a store is locked by another run, or cannot be locked
};

} // namespace

HRESULT SyncOneMap(RunState& run, std::shared_ptr<CSyncHistory>& kept) { return MapRun(run, kept).run(); }

} // namespace mb
