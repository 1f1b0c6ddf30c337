#include "engine/HistoryLinks.h"

namespace mb {

void UnlinkHistoryEntry(MapHistory& history, Side side, const std::u16string& recordId)
{
    HistoryEntry entry;
    entry.Id = recordId;
    if (!history.readEntry(side, entry) || !history.tryDeleteEntry(side, recordId)) return;
    // A partner that was linked anew in the meantime keeps its new link.
    HistoryEntry partner;
    partner.Id = entry.MappedId;
    const Side partnerSide = otherSide(side);
    if (history.readEntry(partnerSide, partner) && partner.MappedId != recordId) return;
    history.tryDeleteEntry(partnerSide, entry.MappedId);
}

void RekeyHistoryEntry(MapHistory& history, Side side, const std::u16string& oldId, const std::u16string& newId, Side partnerSide)
{
    HistoryEntry entry;
    entry.Id = oldId;
    if (!history.readEntry(side, entry)) return;
    // Values that are stored under the new identifier already are the present ones: the old entry is deleted, so that there are not two.
    FieldValueMap present;
    const bool isKnown = history.readFieldData(side, newId, present);
    if (!(isKnown ? history.tryDeleteEntry(side, oldId) : history.tryRenameEntry(side, entry, newId))) return;
    HistoryEntry partner;
    partner.Id = entry.MappedId;
    if (history.readEntry(partnerSide, partner)) history.trySetMappedId(partnerSide, partner, newId);
}

void SetFieldMapChangedFlag(RunState& run, Side side, const std::u16string& recordId, bool flag)
{
    run.history.trySetFieldMapChanged(side, recordId, flag, run.transferring());
}

void StampHistoryPair(PipelinePass& pass, Side source, const std::u16string& recordId, const std::u16string& targetId, bool targetWaits)
{
    const Side target = otherSide(source);
    MapHistory& history = pass.run.history;
    // The stored date of a record that the next run has to compare again. 0.0 is unknown, and then the next run compares its values.
    const auto storedDate = [&](Side side, const std::u16string& id) {
        HistoryEntry known;
        known.Id = id;
        history.readEntry(side, known);
        return known.ModifiedTime;
    };
    const auto dateOf = [&](Side side, const std::u16string& id) {
        if (pass.side(side).unread.contains(id)) return storedDate(side, id);
        const com::Bstr key(id);
        return pass.side(side).store.modified(key.get()).value_or(0.0);
    };
    // A store whose capabilities could not be asked is taken to keep its identifiers: an unlinked record would be added again.
    const std::optional<ULONG> caps = pass.side(source).store.caps();
    if (caps && (*caps & (capRecordGUIDs | capTimestamps)) == 0) return;

    HistoryEntry own, partner;
    own.Id = recordId;
    own.MappedId = targetId;
    own.ModifiedTime = dateOf(source, recordId);
    partner.Id = targetId;
    partner.MappedId = recordId;
    partner.ModifiedTime = targetWaits ? storedDate(target, targetId) : dateOf(target, targetId);
    if (!history.tryWriteEntry(source, own)) throw RunFailure(E_FAIL);
    history.writeEntry(target, partner);
}

} // namespace mb
