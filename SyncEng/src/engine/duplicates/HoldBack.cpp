#include "engine/duplicates/HoldBack.h"

#include "engine/duplicates/MatchRows.h"
#include "foundation/Log.h"
#include "text.h"
#include <set>

namespace mb {
namespace {

// The new records of the other side that may be the same contact.
std::vector<std::u16string> mayBeSame(PipelinePass& pass, const UnreadableRecord& unreadable, LONG lastNameType)
{
    std::vector<std::u16string> ids;
    for (const auto& [id, task] : pass.side(otherSide(unreadable.side)).tasks) {
        if (!isOpenNew(task)) continue;
        const auto lastName = task.Values ? task.Values->find(lastNameType) : std::nullopt;
        if (!unreadable.lastName || !lastName || platform::lowered(*lastName) == *unreadable.lastName) ids.push_back(id);
    }
    return ids;
}

} // namespace

void HoldBackUnreadable(PipelinePass& pass)
{
    MapHistory& history = pass.run.history;
    PerSide<std::set<std::u16string>> waited;
    for (const Side side : {Side::One, Side::Two}) {
        const std::vector<std::u16string> ids = history.waited(side);
        waited[side] = {ids.begin(), ids.end()};
    }
    if (pass.unreadable.empty() && waited.one.empty() && waited.two.empty()) return;

    const LONG lastName2 = BuildMatchRows(pass).lastName2;
    PerSide<std::set<std::u16string>> held, unreadableNow;
    for (const UnreadableRecord& unreadable : pass.unreadable) {
        TaskList& own = pass.side(unreadable.side).tasks;
        const auto task = FindTask(own, unreadable.id);
        if (task == own.end() || !isOpenNew(task->second)) continue;
        unreadableNow[unreadable.side].insert(unreadable.id);
        if (waited[unreadable.side].contains(unreadable.id)) continue;
        const Side other = otherSide(unreadable.side);
        const auto partners = mayBeSame(pass, unreadable, other == Side::One ? LONG{ftLastName} : lastName2);
        if (partners.empty()) continue;
        WriteLogText(logProgress,
                     u"\tThe new record %s of %s could not be read. It waits for the next run, with the new records of %s that may be the "
                     u"same contact: %d.",
                     unreadable.id, pass.run.side(unreadable.side).name, pass.run.side(other).name, static_cast<LONG>(partners.size()));
        held[unreadable.side].insert(unreadable.id);
        held[other].insert(partners.begin(), partners.end());
    }
    for (const Side side : {Side::One, Side::Two}) {
        for (const std::u16string& id : held[side]) pass.side(side).tasks.erase(id);
        if (unreadableNow[side] == waited[side]) continue;
        history.trySetWaited(side, {unreadableNow[side].begin(), unreadableNow[side].end()});
    }
}

} // namespace mb
