// The state that outlives a pass: the options of the map, the two sides, the error of the last failure, and the flags that make a run start
// over. CSynchronizer owns it; the stages of a run read and write it. What lives for one pass only is in PipelinePass.
#pragma once
#include "engine/MapHistory.h"
#include "engine/RecordTask.h"
#include "engine/RunLocks.h"
#include "engine/RunReport.h"
#include "engine/Side.h"
#include "interfaces.h"
#include <optional>
#include <string>
#include <vector>

namespace mb {

struct SideState {
    GUID id{};                                // the translator's class
    std::u16string name;                      // the translator's short name, with the store's place where both sides have one short name
    std::u16string database, description;     // as GetSyncParams tells; empty when that fails
    bool databaseKnown = false;               // this run has learned `database`; otherwise the recorded name stays as it is
    VARIANT_BOOL reconfigure = VARIANT_FALSE; // the translator may show its configuration when it starts
};

// The options of a map as the run uses them. In a category pass nothing is asked.
struct MapOptions {
    bool ConfirmAdds = true, ConfirmUpdates = true, ConfirmDeletes = true;
    bool SyncVerifiedOnly = false;
    bool SyncImages = true;
    LONG SyncType = stSynchronize;
    LONG ConflictResolution = croNotify, DelConflictResolution = croNotify;
    LONG deletionLimit = 0; // the share of a side's linked records, in percent, that may be deleted; 0 for no limit
    LONG cardVersion = cvAsStore;
};

struct ErrorState {
    GUID FailedTranslator{};        // the translator that the last error is charged to; null while none is
    std::optional<Side> failedSide; // that translator's side, where it is known
    com::Variant LastErrorCode;
    std::u16string LastErrorMessage1, LastErrorMessage2;
};

struct RunState {
    HWND ParentWindow = nullptr;
    com::Ptr<ISyncEvents> EventSink;

    GUID CurrentMap{}, FieldMapId{}, CategoryHistoryId{};
    PerSide<SideState> sides;
    com::Ptr<IFieldMap> FieldMap;
    MapHistory history;           // of the map that runs; false while none runs
    LONG HistoryVersion = -1;     // of the open history, -1 when unknown
    bool historyObsolete = false; // this run starts from an empty history, and the old entries are still in the file

    MapOptions options;
    ErrorState error;
    RunReport report; // of the map that runs
    RunLocks locks;   // of its stores

    bool ResyncRequested = false;    // a new run of this map must start from an empty history
    bool FieldMapRebuilt = false;    // the field map was made anew because a translator asked for it
    bool FieldMapUpdated = false;    // the user changed the field map since the last run
    bool ImageOptionChanged = false; // images must be compared in this run although dates are equal
    bool ImagesAvailable = false;    // both translators offer images and an image field is mapped
    bool RefreshImages = false;      // image fields count although the history holds no image data

    bool CategoryPass = false;          // this run of SyncOneMap synchronises category lists
    bool ContactPassPending = false;    // this run of SyncOneMap follows a category pass
    bool CategoriesBarred = false;      // no category pass may happen
    bool onlyPlanned = false;           // the host was told of this pass and does not want any of it written
    _RunEnd abortMeaning = reCancelled; // what an E_ABORT of this run means: reCancelled, reStopped or reUnanswered

    std::u16string TransferFile, TransferPassword;
    SAFEARRAY* TransferCards = nullptr; // borrowed while a transfer runs, and null in any other run

    [[nodiscard]] SideState& side(Side which) noexcept { return sides[which]; }
    [[nodiscard]] const SideState& side(Side which) const noexcept { return sides[which]; }
    [[nodiscard]] bool transferring() const noexcept { return TransferCards != nullptr; }
    // Images take part in this run, and the history can tell about them or is to learn.
    [[nodiscard]] bool imagesUsable() const noexcept { return options.SyncImages && (RefreshImages || HistoryVersion >= 4); }
};

} // namespace mb
