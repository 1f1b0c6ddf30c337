#include "engine/AnalyzeHistory.h"

#include "engine/FailureReport.h"
#include "engine/HistoryLinks.h"
#include "engine/MapClient.h"
#include "engine/StageProgress.h"
#include "files.h"
#include "foundation/Format.h"
#include "foundation/Log.h"
#include "foundation/Strings.h"
#include "text.h"
#include "translators/TranslatorIds.h"
#include <algorithm>
#include <unordered_set>

namespace mb {
namespace {

// Whether there is no usable history: none was ever written, or a store was exchanged since the last run. A store whose name is not known
// now, or was not recorded, does not count as exchanged.
bool beginsAnew(const RunState& run, const PerSide<std::u16string>& last)
{
    if (run.transferring()) return false;
    if (last.one.empty() && last.two.empty()) return true;
    const auto exchanged = [&](Side side) {
        const std::u16string& recorded = last[side];
        return run.side(side).databaseKnown && !recorded.empty() && !platform::isSamePlace(run.side(side).database, recorded);
    };
    return exchanged(Side::One) || exchanged(Side::Two);
}

struct Renaming {
    std::u16string from, to;
};

std::vector<Renaming> askOnce(PassSide& side)
{
    std::vector<Renaming> renamings;
    side.renamingUnknown.clear();
    for (const HistoryEntry& entry : side.historyList) {
        com::Bstr newId;
        const com::Bstr id(entry.Id);
        if (!side.store.updatedId(id.get(), newId))
            side.renamingUnknown.insert(entry.Id);
        else if (!newId.empty() && newId.view() != entry.Id)
            renamings.push_back({entry.Id, newId.text()});
    }
    return renamings;
}

// The identifiers that the store changed outside of the engine, in the order of the history list. If any changed or any question failed,
// all known identifiers are asked for again and the later answers count: whether a new record is a known one may depend on which others are
// known, and the store has heard of all of them only then. A question that failed in the second round gets a third.
std::vector<Renaming> askForRenamings(PassSide& side)
{
    std::vector<Renaming> renamings = askOnce(side);
    if (renamings.empty() && side.renamingUnknown.empty()) return renamings;
    renamings = askOnce(side);
    return side.renamingUnknown.empty() ? renamings : askOnce(side);
}

// Removes the renamings that would give two records one identifier. A record that keeps its identifier goes first, and then the first
// renaming to it.
void dropCollisions(std::vector<Renaming>& renamings, const std::vector<HistoryEntry>& known)
{
    std::size_t before = 0;
    do {
        before = renamings.size();
        std::unordered_set<std::u16string> taken, leaving;
        for (const Renaming& each : renamings) leaving.insert(each.from);
        for (const HistoryEntry& entry : known)
            if (!leaving.contains(entry.Id)) taken.insert(entry.Id);
        std::erase_if(renamings, [&](const Renaming& each) { return !taken.insert(each.to).second; });
    } while (renamings.size() != before);
}

// Two records may have swapped their identifiers: a new identifier that is another record's old one is given in a second step.
void rename(MapHistory& history, Side side, const std::vector<Renaming>& renamings)
{
    std::unordered_set<std::u16string> leaving;
    for (const Renaming& each : renamings) leaving.insert(each.from);
    std::vector<Renaming> second;
    for (const Renaming& each : renamings) {
        if (!leaving.contains(each.to)) continue;
        second.push_back({com::guidText(com::newGuid()), each.to});
        RekeyHistoryEntry(history, side, each.from, second.back().from, otherSide(side));
    }
    for (const Renaming& each : renamings)
        if (!leaving.contains(each.to)) RekeyHistoryEntry(history, side, each.from, each.to, otherSide(side));
    for (const Renaming& each : second) RekeyHistoryEntry(history, side, each.from, each.to, otherSide(side));
}

// Follows the identifiers that the store changed. Returns whether there were any. Where a record took the identifier of another record
// whose renaming is unknown, that other record was renamed too, and its new identifier is unknown: this ends the run.
bool ApplyRecordIdUpdates(PipelinePass& pass, Side side)
{
    PassSide& own = pass.side(side);
    if (!own.store.hasUpdater()) return false;
    std::vector<Renaming> renamings = askForRenamings(own);
    for (const Renaming& each : renamings)
        if (own.renamingUnknown.contains(each.to)) failUnknownRenaming(pass, side, each.to);
    dropCollisions(renamings, own.historyList);
    if (renamings.empty()) return false;
    rename(pass.run.history, side, renamings);
    // A store may forget the renamings that it saved, so they stay unsaved until it could tell all of them.
    if (own.renamingUnknown.empty()) own.store.trySaveUpdatedIds();
    return true;
}

bool updateRecordIds(PipelinePass& pass)
{
    bool changed = false;
    for (const Side side : bothSides) {
        const GUID& id = pass.run.side(side).id;
        // These two stores changed their identifiers once; a history of version 3 has the new ones.
        if (pass.run.HistoryVersion >= 3 && (id == goldMineTranslator || id == goldMineCorporateTranslator)) continue;
        changed = ApplyRecordIdUpdates(pass, side) || changed;
    }
    return changed;
}

void loadKnownRecords(PipelinePass& pass)
{
    MapHistory& history = pass.run.history;
    std::vector<HistoryEntry>&list1 = pass.side(Side::One).historyList, &list2 = pass.side(Side::Two).historyList;
    history.loadBothSides(list1, list2, pass.run.CategoryPass);
    if (!updateRecordIds(pass)) return;
    history.loadBothSidesAgain(list1, list2, pass.run.CategoryPass);
    // A history of version 4 stays one: with a lower version the next run would not compare images, and could overwrite a new image with an
    // old one.
    if (pass.run.HistoryVersion < 3) history.trySetVersion(3);
}

// The database as the map's settings have it. Translators of former versions told it in the spelling of the settings.
std::u16string givenDatabase(const PassSide& side) { return SettingsClient(side.services).text(u"Database"); }

// A transfer's records are stored under the names of both databases. Records of a former version stay under the names that they have.
void chooseTransferSections(PipelinePass& pass)
{
    MapHistory& history = pass.run.history;
    const std::u16string &told1 = pass.run.side(Side::One).database, &told2 = pass.run.side(Side::Two).database;
    const std::u16string given1 = givenDatabase(pass.side(Side::One)), given2 = givenDatabase(pass.side(Side::Two));
    for (const auto& [first, second] :
         {std::pair(&told1, &told2), std::pair(&given1, &told2), std::pair(&told1, &given2), std::pair(&given1, &given2)})
        if (history.hasSuffix(*first, *second)) return history.setSectionSuffix(*first, *second);
    history.setSectionSuffix(told1, told2);
}

} // namespace

void AnalyzeHistory(PipelinePass& pass)
{
    RunState& run = pass.run;
    StageProgress progress(run.EventSink, LoadText(run.CategoryPass ? Text::AnalyzingCategoryHistory : Text::AnalyzingHistory));
    progress.advance(0.0);
    if (run.transferring()) chooseTransferSections(pass);

    const PerSide<std::u16string> last{run.history.database(Side::One), run.history.database(Side::Two)};
    pass.FirstSync = run.historyObsolete = beginsAnew(run, last);
    if (pass.FirstSync) {
        pass.HasHistory = false;
        WriteLogResource(logProgress, last.one.empty() || last.two.empty() ? Text::FirstSync : Text::DatabaseChanged);
    } else {
        loadKnownRecords(pass);
    }
    if (pass.side(Side::One).historyList.empty() && pass.side(Side::Two).historyList.empty()) pass.HasHistory = false;
}

} // namespace mb
