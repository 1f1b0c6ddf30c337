#include "engine/AnalyzeHistory.h"

#include "engine/HistoryLinks.h"
#include "engine/StageProgress.h"
#include "files.h"
#include "foundation/Log.h"
#include "foundation/Strings.h"
#include "text.h"
#include "translators/TranslatorIds.h"

namespace mb {
namespace {

// No history that could serve: none was ever written, or a store was exchanged since the last run. A store whose present name was not
// learned, or has no recorded one, does not count as exchanged.
bool beginsAnew(const RunState& run, const PerSide<std::u16string>& last)
{
    if (run.transferring()) return false;
    if (last.one.empty() && last.two.empty()) return true;
    const auto exchanged = [&](Side side) {
        const std::u16string& recorded = last[side];
        return run.side(side).DatabaseKnown && !recorded.empty() && !platform::isSamePlace(run.side(side).Database, recorded);
    };
    return exchanged(Side::One) || exchanged(Side::Two);
}

HRESULT loadLists(PipelinePass& pass)
{
    return pass.run.History->LoadBothSides(pass.side(Side::One).HistoryList, pass.side(Side::Two).HistoryList, pass.run.CategoryPass);
}

// Follows the identifiers that the store changed outside of the engine; true if there were any.
bool ApplyRecordIdUpdates(PipelinePass& pass, Side side)
{
    StoreClient& store = pass.side(side).store;
    if (!store.hasUpdater()) return false;
    bool changed = false;
    for (const HistoryEntry& entry : pass.side(side).HistoryList) {
        com::Bstr newId;
        const com::Bstr id(entry.Id);
        if (FAILED(store.updatedId(id.get(), newId))) continue;
        if (newId.empty() || newId.view() == entry.Id) continue;
        (void)RekeyHistoryEntry(*pass.run.History, side, entry.Id, newId.text(), otherSide(side));
        changed = true;
    }
    if (changed) store.saveUpdatedIds();
    return changed;
}

bool updateRecordIds(PipelinePass& pass)
{
    bool changed = false;
    for (const Side side : bothSides) {
        const GUID& id = pass.run.side(side).Id;
        // These two stores changed their identifiers once, which a history of version 3 has seen.
        if (pass.run.HistoryVersion >= 3 && (id == goldMineTranslator || id == goldMineCorporateTranslator)) continue;
        if (ApplyRecordIdUpdates(pass, side)) changed = true;
    }
    return changed;
}

HRESULT loadKnownRecords(PipelinePass& pass)
{
    HRESULT hr = loadLists(pass);
    if (FAILED(hr) || !updateRecordIds(pass)) return hr;
    // The second time without progress.
    const auto sink = pass.run.History->exchangeSink(nullptr);
    hr = loadLists(pass);
    (void)pass.run.History->exchangeSink(sink);
    (void)pass.run.History->SetVersion(3);
    return hr;
}

// The database as the map's settings have it. Translators of former versions told it as it was given, which may be by another spelling.
std::u16string givenDatabase(const PassSide& side)
{
    com::Bstr given;
    const auto settings = side.services.tryAs<IDataStream>();
    if (settings) (void)com::call(settings, &IDataStream::GetString, com::Bstr(u"Database").get(), given.put());
    return given.text();
}

// A transfer's records stand under the names of both databases. Those of a former version go on under the names that they have.
void chooseTransferSections(PipelinePass& pass)
{
    CSyncHistory& history = *pass.run.History;
    const std::u16string &told1 = pass.run.side(Side::One).Database, &told2 = pass.run.side(Side::Two).Database;
    const std::u16string given1 = givenDatabase(pass.side(Side::One)), given2 = givenDatabase(pass.side(Side::Two));
    for (const auto& [first, second] :
         {std::pair(&told1, &told2), std::pair(&given1, &told2), std::pair(&told1, &given2), std::pair(&given1, &given2)})
        if (history.HasSuffix(*first, *second)) return history.SetSectionSuffix(*first, *second);
    history.SetSectionSuffix(told1, told2);
}

} // namespace

HRESULT AnalyzeHistory(PipelinePass& pass)
{
    RunState& run = pass.run;
    StageProgress progress(run.EventSink, LoadText(run.CategoryPass ? 221 : 194));
    if (progress.advance(0.0) == E_ABORT) return E_ABORT;
    if (run.transferring()) chooseTransferSections(pass);

    PerSide<std::u16string> last; // the recorded names
    for (const Side side : bothSides) (void)run.History->GetDatabase(sectionOf(side), last[side]);
    HRESULT hr = S_OK;
    pass.FirstSync = run.HistoryVoid = beginsAnew(run, last);
    if (pass.FirstSync) {
        pass.HasHistory = false;
        WriteLogResource(1, last.one.empty() || last.two.empty() ? 149 : 150);
    } else {
        hr = loadKnownRecords(pass);
    }
    if (pass.HasHistory && pass.side(Side::One).HistoryList.empty() && pass.side(Side::Two).HistoryList.empty()) pass.HasHistory = false;
    return hr;
}

} // namespace mb
