#include "engine/HistoryLinks.h"

namespace mb {
namespace {

// The record has a change of its own that is written later in this run. Until then it keeps its old date: a run that ends before would
// leave the next one nothing to see the change by.
bool isWaiting(PassSide& side, const std::u16string& id)
{
    const auto task = FindTask(side.tasks, id);
    return task != side.tasks.end() && task->second.MappedId && task->second.Kind != TaskDelete;
}

} // namespace

HRESULT UnlinkHistoryEntry(CSyncHistory& history, Side side, const std::u16string& recordId)
{
    HistoryEntry entry;
    entry.Id = recordId;
    HRESULT hr = history.ReadEntry(sectionOf(side), entry, false);
    if (SUCCEEDED(hr)) hr = history.DeleteEntry(sectionOf(side), recordId, false);
    if (FAILED(hr)) return hr;
    // A partner that was linked anew in the meantime keeps its new link.
    HistoryEntry partner;
    partner.Id = entry.MappedId;
    const Side partnerSide = otherSide(side);
    if (SUCCEEDED(history.ReadEntry(sectionOf(partnerSide), partner, false)) && partner.MappedId != recordId) return S_OK;
    return history.DeleteEntry(sectionOf(partnerSide), entry.MappedId, false);
}

HRESULT RekeyHistoryEntry(CSyncHistory& history, Side side, const std::u16string& oldId, const std::u16string& newId, Side partnerSide)
{
    HistoryEntry entry;
    entry.Id = oldId;
    HRESULT hr = history.ReadEntry(sectionOf(side), entry, false);
    if (FAILED(hr)) return hr;
    // Values that were stored under the new identifier already are the present ones: the old entry goes, so that there are not two.
    FieldValueMap present;
    if (FAILED(history.ReadFieldData(sectionOf(side), newId, present)))
        hr = history.RenameEntry(sectionOf(side), entry, newId, false);
    else
        hr = history.DeleteEntry(sectionOf(side), oldId, false);
    if (FAILED(hr)) return hr;
    HistoryEntry partner;
    partner.Id = entry.MappedId;
    hr = history.ReadEntry(sectionOf(partnerSide), partner, false);
    return SUCCEEDED(hr) ? history.SetMappedId(sectionOf(partnerSide), partner, newId, false) : hr;
}

HRESULT SetFieldMapChangedFlag(const RunState& run, Side side, const std::u16string& recordId, bool flag)
{
    const std::u16string section = run.transferring() ? run.history->SectionFor(sectionOf(side)) : sectionOf(side);
    HistoryEntry entry;
    entry.Id = recordId;
    const HRESULT hr = run.history->ReadEntry(section, entry, false);
    return SUCCEEDED(hr) ? run.history->SetFieldMapChanged(section, entry, flag, false, false) : hr;
}

HRESULT StampHistoryPair(PipelinePass& pass, Side source, const std::u16string& recordId, const std::u16string& targetId, DATE knownDate)
{
    const Side target = otherSide(source);
    CSyncHistory& history = *pass.run.history;
    // The stored date of a record that the next run has to look at again; none is unknown, and then its values are compared.
    const auto storedDate = [&](Side side, const std::u16string& id) {
        HistoryEntry known;
        known.Id = id;
        (void)history.ReadEntry(sectionOf(side), known, false);
        return known.ModifiedTime;
    };
    const auto dateOf = [&](Side side, const std::u16string& id) {
        if (pass.side(side).unread.contains(id)) return storedDate(side, id);
        const com::Bstr key(id);
        return pass.side(side).store.modified(key.get()).value_or(0.0);
    };
    // A store whose capabilities could not be asked is taken to keep its identifiers: an unlinked record would be added again.
    const std::optional<ULONG> caps = pass.side(source).store.caps();
    if (caps && (*caps & (capRecordGUIDs | capTimestamps)) == 0) return S_OK;

    HistoryEntry own, partner;
    own.Id = recordId;
    own.MappedId = targetId;
    own.ModifiedTime = knownDate != 0.0 ? knownDate : dateOf(source, recordId);
    partner.Id = targetId;
    partner.MappedId = recordId;
    partner.ModifiedTime = isWaiting(pass.side(target), targetId) ? storedDate(target, targetId) : dateOf(target, targetId);
    if (FAILED(history.WriteEntry(sectionOf(source), own))) return E_FAIL;
    return history.WriteEntry(sectionOf(target), partner);
}

} // namespace mb
