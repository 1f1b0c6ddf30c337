#include "engine/SyncOneMap.h"

#include "engine/EngineCodes.h"
#include "engine/FailureReport.h"
#include "engine/LockStores.h"
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
#include "translators/SideSettings.h"
#include "translators/TrMapKeys.h"

namespace mb {
namespace {

class MapRun {
public:
    MapRun(RunState& run, std::shared_ptr<CSyncHistory>& kept) : run_(run), kept_(kept) {}
    MapRun(const MapRun&) = delete;
    MapRun& operator=(const MapRun&) = delete;
    ~MapRun()
    {
        run_.history = nullptr;
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
        // Wanted: only a contact pass that follows a category pass tells of its start; every one tells of its end.
        if (run_.ContactPassPending) logWithTime(Text::RunStarted);

        HRESULT hr = openMap();
        if (SUCCEEDED(hr)) {
            if (!ensureFieldMap()) return end(recordFailure(codeInitialize));
            hr = prepareSides();
        }
        if (SUCCEEDED(hr)) hr = lockRecordedStores();
        if (SUCCEEDED(hr)) {
            hr = loadTranslators();
            if (!anyLoadFailed()) {
                hr = startAndRun();
                if (leftAtOnce_) return hr;
            }
            if (!refused_ && isReported(hr)) ReportFailure(run_, hr);
            cleanUp();
            // What the analysis learned, and what was written and linked before a failure, stays known whatever ended the run.
            if (FAILED(hr) && !run_.historyObsolete) (void)history_->store().Save();
        }
        return conclude(hr);
    }

private:
    HRESULT openMap()
    {
        HRESULT hr = S_OK;
        if (run_.ContactPassPending && kept_)
            useHistory(std::move(kept_));
        else
            hr = openHistory(run_.CurrentMap);
        if (SUCCEEDED(hr)) hr = createClass(__uuidof(TrManager), trMap_);
        if (FAILED(hr)) return hr;
        entry_ = trMap_.tryAs<ITrMapEntry>();
        if (!entry_) return E_NOINTERFACE;
        for (const Side side : bothSides) {
            ownServices_[side] = com::make<CRunServices>();
            ownServices_[side]->join(run_.report, side);
            services_[side] = ownServices_[side];
        }
        hr = com::call(trMap_, &ITrMap::GetTranslators, run_.CurrentMap, &run_.side(Side::One).id, &run_.side(Side::Two).id);
        if (SUCCEEDED(hr)) (void)history_->GetVersion(openedVersion_);
        return hr;
    }

    void useHistory(std::shared_ptr<CSyncHistory> history)
    {
        history_ = std::move(history);
        run_.history = history_.get();
    }

    HRESULT openHistory(const GUID& id)
    {
        useHistory(std::make_shared<CSyncHistory>(run_.EventSink));
        const HRESULT hr = history_->Open(id);
        if (FAILED(hr)) run_.error.LastErrorMessage1 = history_->openFailure();
        return hr;
    }

    bool ensureFieldMap()
    {
        run_.FieldMapId = GUID_NULL;
        HRESULT hr = com::call(trMap_, &ITrMap::GetFieldMap, run_.CurrentMap, &run_.FieldMapId);
        if (FAILED(hr) && run_.FieldMap) {
            if (run_.FieldMapId == GUID_NULL)
                hr = com::call(run_.FieldMap, &IFieldMap::Create, run_.side(Side::One).id, run_.side(Side::Two).id, &run_.FieldMapId);
            else
                hr = com::call(run_.FieldMap, &IFieldMap::CreateDefaultMap, run_.FieldMapId);
        }
        if (SUCCEEDED(hr) && run_.FieldMap) return true;
        std::filesystem::path folder;
        (void)GetUserDataFolder(folder);
        run_.error.LastErrorMessage1 = Format(LoadText(Text::FieldMapLoadFailed), platform::textOf(folder));
        return false;
    }

    HRESULT prepareSides()
    {
        // Numbers of dynamic fields are handed out afresh in each run.
        (void)com::call(run_.FieldMap, &IFieldMap::SetNextAvailableFieldType, run_.FieldMapId, static_cast<LONG>(ftDynamicStart));
        for (const Side side : bothSides) {
            settings_[side] = services_[side].tryAs<IDataStream>();
            const com::Bstr type(settingsTypeOf(side == Side::One ? idTrans1 : idTrans2));
            if (settings_[side]) (void)com::call(settings_[side], &IDataStream::SetParams, type.get(), run_.CurrentMap);
        }
        if (!run_.TransferFile.empty() && settings_[Side::One]) {
            const auto setText = [&](const char16_t* key, const std::u16string& value) {
                (void)com::call(settings_[Side::One], &IDataStream::SetString, com::Bstr(key).get(), com::Bstr(value).get());
            };
            setText(u"Database", run_.TransferFile);
            setText(u"Password", run_.TransferPassword);
            (void)com::call(settings_[Side::One], &IDataStream::SetInt, com::Bstr(u"SavePassword").get(), 1);
        }
        for (const Side side : bothSides) {
            com::Bstr name;
            (void)com::call(trMap_, &ITrMap::GetName, run_.side(side).id, VARIANT_FALSE, name.put());
            run_.side(side).name = shortNames_[side] = name.text();
        }
        if (shortNames_.one == shortNames_.two) nameStores(storedDatabase(Side::One), storedDatabase(Side::Two));
        return S_OK;
    }

    // What the side's settings call its database, where its translator keeps it under the usual key.
    std::u16string storedDatabase(Side side) const
    {
        com::Bstr database;
        if (settings_[side]) (void)com::call(settings_[side], &IDataStream::GetString, com::Bstr(u"Database").get(), database.put());
        return database.text();
    }

    // A side whose settings tell no database had one in the last run, and mostly still has.
    HRESULT lockRecordedStores()
    {
        PerSide<std::u16string> recorded;
        for (const Side side : bothSides)
            if (storedDatabase(side).empty()) (void)history_->GetDatabase(sectionOf(side), recorded[side]);
        return lockStores(recorded);
    }

    HRESULT lockStores(const PerSide<std::u16string>& databases)
    {
        const HRESULT hr = LockStores(run_, databases);
        refused_ = FAILED(hr);
        return hr;
    }

    // Two stores of one kind are named with their places.
    void nameStores(std::u16string_view database1, std::u16string_view database2)
    {
        for (const Side side : bothSides) run_.side(side).name = shortNames_[side];
        TellStoresApart(run_.side(Side::One).name, database1, run_.side(Side::Two).name, database2);
    }

    // Wanted: the result is that of the second load alone, so a failed first one with a good second ends the run without a message.
    HRESULT loadTranslators()
    {
        HRESULT hr = S_OK;
        for (const Side side : bothSides) {
            hr = com::call(entry_, &ITrMapEntry::Load, run_.side(side).id, translators_[side].put());
            if (FAILED(hr)) (void)translators_[side].detach();
            loadFailed_[side] = FAILED(hr) || !translators_[side];
        }
        for (const Side side : bothSides)
            if (loadFailed_[side]) chargeLoadFailure(side);
        return hr;
    }

    bool anyLoadFailed() const { return loadFailed_.one || loadFailed_.two; }

    void chargeLoadFailure(Side side)
    {
        const Side other = otherSide(side);
        chargeTo(run_, side);
        FetchTranslatorError(run_.error, {translators_[side].get(), run_.side(side).id, side},
                             {translators_[other].get(), run_.side(other).id, other});
    }

    HRESULT startAndRun()
    {
        for (const Side side : bothSides) stores_[side] = StoreClient(translators_[side]);
        if (!run_.CategoriesBarred) {
            const HRESULT hr = lookForCategories();
            if (FAILED(hr)) return hr;
        }
        run_.report.beginPass(run_.CategoryPass ? passCategories : passContacts);
        readOptions();
        for (const Side side : bothSides) {
            const HRESULT hr = startSide(side);
            if (hr == E_ABORT) return logCancel();
            if (FAILED(hr)) {
                loadFailed_[side] = true;
                chargeLoadFailure(side);
                return hr;
            }
        }
        if (readSyncParams() == E_ABORT) return logCancel();
        HRESULT hr = lockStores({run_.side(Side::One).database, run_.side(Side::Two).database});
        if (FAILED(hr)) return hr;
        hr = RunPipeline(run_, stores_, services_);
        if (hr == E_ABORT) {
            (void)logCancel();
        } else if (FAILED(hr) && run_.error.FailedTranslator == GUID_NULL) {
            FetchTranslatorError(run_.error, {translators_.two.get(), run_.side(Side::Two).id, Side::Two},
                                 {translators_.one.get(), run_.side(Side::One).id, Side::One});
        }
        return hr;
    }

    HRESULT logCancel() const
    {
        WriteLogResource(logProgress, run_.abortMeaning == reStopped      ? Text::StoppedByHost
                                      : run_.abortMeaning == reUnanswered ? Text::QuestionUnanswered
                                                                          : Text::CancelledByUser);
        return E_ABORT;
    }

    // Where both stores have categories, and this is not the pass that follows one, the lists of categories come first.
    HRESULT lookForCategories()
    {
        if (!stores_.one.hasCategories() || !stores_.two.hasCategories() || run_.ContactPassPending) return S_OK;
        run_.CategoryPass = true;
        if (FAILED(com::call(trMap_, &ITrMap::GetCategoryGuid, run_.CurrentMap, &run_.CategoryHistoryId))) {
            run_.CategoryHistoryId = com::newGuid();
            (void)com::call(trMap_, &ITrMap::SetCategoryGuid, run_.CurrentMap, run_.CategoryHistoryId);
        }
        kept_ = history_;
        HRESULT hr = openHistory(run_.CategoryHistoryId);
        if (SUCCEEDED(hr)) return S_OK;
        const HRESULT recorded = RecordFailedSync(run_, trMap_.get(), translators_, {});
        if (FAILED(recorded)) hr = recorded;
        leftAtOnce_ = true;
        return hr;
    }

    void readOptions()
    {
        MapOptions& options = run_.options;
        const bool asks = !run_.CategoryPass;
        options = {}; // what was set for the map before does not hold for this one
        options.ConfirmAdds = options.ConfirmUpdates = options.ConfirmDeletes = asks;
        options.ConflictResolution = options.DelConflictResolution = asks ? croNotify : croAddAll;
        ReadMapOptions(run_, trMap_.get());
        // Categories have no images: a pass over them must not use up what the contact pass has to know.
        if (run_.CategoryPass) return;
        if (!run_.ImageOptionChanged) upgradeImageOption();
        com::Bstr stored;
        if (!run_.ImageOptionChanged && settings_.two &&
            SUCCEEDED(com::call(settings_.two, &IDataStream::GetString, com::Bstr(imageOptionKey).get(), stored.put())) &&
            stored.view() == u"1")
            run_.ImageOptionChanged = wroteImageFlag_ = true;
    }

    // A configuration from before images were compared: every map compares them once.
    void upgradeImageOption()
    {
        LONG version = -1;
        if (FAILED(ConfigStore().GetVersion(version)) || version >= currentStoreVersion) return;
        if (run_.options.SyncImages && openedVersion_ < currentStoreVersion) {
            run_.ImageOptionChanged = run_.RefreshImages = wroteImageFlag_ = true;
            BroadcastImageOption(imageOptionKey, u"1");
        }
        (void)ConfigStore().SetVersion(currentStoreVersion);
    }

    HRESULT startSide(Side side)
    {
        try {
            const HRESULT hr = startTranslator(side);
            if (FAILED(hr)) return hr;
            allowImages(side);
            if (side == Side::Two && run_.options.SyncImages && run_.ImageOptionChanged && run_.ImagesAvailable) run_.RefreshImages = true;
            loadDynamicFields(side);
            return S_OK;
        } catch (const Cancelled&) {
            return E_ABORT;
        }
    }

    HRESULT startTranslator(Side side)
    {
        const VARIANT_BOOL reconfigure = run_.side(side).reconfigure;
        ITrServices* services = services_[side].get();
        StoreClient& store = stores_[side];
        if (run_.CategoryPass) return store.initializeCategories(services, run_.ParentWindow, reconfigure);
        if (store.hasUpdater()) return store.initializeWithProgress(run_.EventSink.get(), services, run_.ParentWindow, reconfigure);
        return store.initialize(services, run_.ParentWindow, reconfigure);
    }

    void allowImages(Side side)
    {
        if (stores_[side].hasImages())
            stores_[side].setAllowImages(run_.options.SyncImages);
        else
            run_.ImagesAvailable = false;
    }

    void loadDynamicFields(Side side)
    {
        if (run_.CategoryPass || !run_.FieldMap || !stores_[side].hasDynamicFields()) return;
        LONG next = 0;
        if (FAILED(com::call(run_.FieldMap, &IFieldMap::GetNextAvailableFieldType, run_.FieldMapId, &next))) return;
        LONG after = next;
        if (SUCCEEDED(stores_[side].loadDynamicFields(services_[side].get(), next, after)) && after != next)
            (void)com::call(run_.FieldMap, &IFieldMap::SetNextAvailableFieldType, run_.FieldMapId, after);
    }

    // A store that does not tell its name runs without one.
    HRESULT readSyncParams()
    {
        try {
            for (const Side side : bothSides) {
                SideState& state = run_.side(side);
                state.databaseKnown = SUCCEEDED(stores_[side].syncParams(services_[side].get(), state.database, state.description));
            }
            if (run_.side(Side::One).databaseKnown && run_.side(Side::Two).databaseKnown)
                nameStores(run_.side(Side::One).database, run_.side(Side::Two).database);
            return S_OK;
        } catch (const Cancelled&) {
            return E_ABORT;
        }
    }

    static bool isReported(HRESULT hr)
    {
        return FAILED(hr) && hr != E_ABORT && hr != codeSilentStop && hr != codeRunAgain && hr != codeRebuildFields &&
               hr != codeStopSchedule && hr != codeNoMessage && hr != codeReSync;
    }

    // A translator keeps what was saved in a batch that was not ended. One that says it could not has lost it, and the history must
    // not tell of it.
    void cleanUp()
    {
        for (const Side side : bothSides) {
            if (!translators_[side]) continue;
            const HRESULT cleaned = com::call(translators_[side], &ITranslator::Cleanup);
            if (FAILED(cleaned) && stores_[side].batchOpen()) {
                (void)history_->store().Revert();
                history_->SetBatchInDoubt(sectionOf(side), true);
            }
        }
    }

    HRESULT conclude(HRESULT hr)
    {
        if (hr == codeRebuildFields && run_.FieldMap) {
            (void)com::call(run_.FieldMap, &IFieldMap::CreateDefaultMap, run_.FieldMapId);
            run_.FieldMapRebuilt = true;
        }
        if (SUCCEEDED(hr))
            settleSuccess();
        else if (!refused_ && hr != E_ABORT && hr != codeSilentStop && hr != codeRunAgain && hr != codeRebuildFields &&
                 hr != codeDeletionsRefused)
            hr = recordFailure(hr);
        return end(hr);
    }

    void settleSuccess()
    {
        if (run_.HistoryVersion < currentStoreVersion) (void)history_->SetVersion(currentStoreVersion);
        if (run_.ImageOptionChanged && !run_.CategoryPass) {
            run_.ImageOptionChanged = false;
            VARIANT zero;
            VariantInit(&zero);
            zero.vt = VT_BOOL;
            zero.boolVal = VARIANT_FALSE;
            if (trMap_) (void)com::call(trMap_, &ITrMap::SetOption, run_.CurrentMap, static_cast<LONG>(soSyncImageOptionChanged), zero);
        }
        if (wroteImageFlag_ && settings_.two)
            (void)com::call(settings_.two, &IDataStream::SetString, com::Bstr(imageOptionKey).get(), com::Bstr(u"0").get());
    }

    HRESULT recordFailure(HRESULT hr)
    {
        const HRESULT recorded = RecordFailedSync(run_, trMap_.get(), translators_, loadFailed_);
        return FAILED(recorded) ? recorded : hr;
    }

    HRESULT end(HRESULT hr)
    {
        if (!run_.CategoryPass) logWithTime(Text::RunEnded);
        return hr;
    }

    static void logWithTime(Text id)
    {
        const platform::ClockTime now = platform::localTime();
        WriteLogResource(LogLevelMask, id, platform::dateText(now), platform::timeText(now));
    }

    RunState& run_;
    std::shared_ptr<CSyncHistory>& kept_;
    std::shared_ptr<CSyncHistory> history_;
    com::Ptr<ITrMap> trMap_;
    com::Ptr<ITrMapEntry> entry_;
    PerSide<com::Ptr<CRunServices>> ownServices_;
    PerSide<com::Ptr<ITrServices>> services_;
    PerSide<com::Ptr<IDataStream>> settings_;
    PerSide<std::u16string> shortNames_; // of the translators
    PerSide<com::Ptr<ITranslator>> translators_;
    PerSide<StoreClient> stores_;
    PerSide<bool> loadFailed_;
    LONG openedVersion_ = -1;
    bool wroteImageFlag_ = false; // this run set the stored text, or found it set
    bool leftAtOnce_ = false;
    bool refused_ = false; // a store is locked, or cannot be
};

} // namespace

HRESULT SyncOneMap(RunState& run, std::shared_ptr<CSyncHistory>& kept) { return MapRun(run, kept).run(); }

} // namespace mb
