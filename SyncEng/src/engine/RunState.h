// What a run of a map knows: the options, the two sides, the error of the last failure, and the flags that make a run start over.
// CSynchronizer owns it from its creation to its end; the stages of a run read and write it.
#pragma once
#include "engine/RecordTask.h"
#include "engine/RunLocks.h"
#include "engine/RunReport.h"
#include "engine/Side.h"
#include "interfaces.h"
#include <optional>
#include <string>
#include <vector>

namespace mb {

class CSyncHistory;

struct SideState {
    GUID Id{};                                   // the translator's class
    std::u16string Name;                         // its short name
    std::u16string Database, Description;        // as its GetSyncParams tells; empty when that fails
    bool DatabaseKnown = false;                  // this run has learned Database; else the recorded name stays as it is
    VARIANT_BOOL Reconfigure = VARIANT_FALSE;    // the translator may show its configuration when it starts
    std::vector<std::u16string> HistoryRemovals; // records whose history link is dropped before records are written
    bool BatchOpen = false;                      // BeginUpdate succeeded, EndUpdate has not yet; E_NOTIMPL opens none
    bool HasAdditions = false;                   // the scan of this side found a new record
    bool HasDeletions = false;                   // this side's list holds at least one TaskDelete
};

// The options of a map as the run uses them. In a category pass nothing is asked.
struct MapOptions {
    bool ConfirmAdds = true, ConfirmUpdates = true, ConfirmDeletes = true;
    bool SyncVerifiedOnly = false;
    bool SyncImages = true;
    LONG SyncType = stSynchronize;
    LONG ConflictResolution = croNotify, DelConflictResolution = croNotify;
    LONG DeletionLimit = 0; // the share of a side's linked records, in percent, that may be deleted; 0 for no limit
};

struct ErrorState {
    GUID FailedTranslator{};        // the translator that the last error is charged to; null while none is
    std::optional<Side> FailedSide; // that translator's side, where it is known
    com::Variant LastErrorCode;
    std::u16string LastErrorMessage1, LastErrorMessage2;
};

struct RunState {
    HWND ParentWindow = nullptr;
    com::Ptr<ISyncEvents> EventSink;

    GUID CurrentMap{}, FieldMapId{}, CategoryHistoryId{};
    PerSide<SideState> Sides;
    com::Ptr<IFieldMap> FieldMap;
    CSyncHistory* History = nullptr; // borrowed from the pass that runs
    LONG HistoryVersion = -1;        // of the open history, -1 when unknown
    bool HistoryVoid = false;        // this run begins anew, and what the history held before is still in it

    MapOptions Options;
    ErrorState Error;
    RunReport Report; // of the map that runs
    RunLocks Locks;   // of its stores

    bool ResyncRequested = false;    // a new run of this map must start from an empty history
    bool FieldMapRebuilt = false;    // the field map was made anew because a translator asked for it
    bool FieldMapUpdated = false;    // the user changed the field map since the last run
    bool ImageOptionChanged = false; // images must be compared in this run although dates are equal
    bool ImagesAvailable = false;    // both translators offer images and an image field is mapped
    bool RefreshImages = false;      // image fields count although the history holds no image data

    bool CategoryPass = false;       // this run of SyncOneMap synchronises category lists
    bool ContactPassPending = false; // this run of SyncOneMap follows a category pass
    bool CategoriesBarred = false;   // no category pass may happen
    bool OnlyPlanned = false;        // the host was told of this pass and wants nothing of it written
    _RunEnd Abort = reCancelled;     // what an E_ABORT of this run means: reCancelled, reStopped or reUnanswered

    std::u16string TransferFile, TransferPassword;
    SAFEARRAY* TransferCards = nullptr; // borrowed while a transfer runs; set is the test for a transfer

    std::vector<std::u16string> UnverifiedRecords; // left out because they are not verified
    FieldTypeMap FieldTypes;                       // for each mapped pair, the type on side 1 to the type on side 2

    [[nodiscard]] SideState& side(Side which) noexcept { return Sides[which]; }
    [[nodiscard]] const SideState& side(Side which) const noexcept { return Sides[which]; }
    [[nodiscard]] bool transferring() const noexcept { return TransferCards != nullptr; }
    // Images take part in this run, and the history can tell about them or is to learn.
    [[nodiscard]] bool imagesUsable() const noexcept { return Options.SyncImages && (RefreshImages || HistoryVersion >= 4); }
};

} // namespace mb
