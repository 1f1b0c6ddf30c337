#include "engine/SeparateGroups.h"

#include "engine/DescribeRecord.h"
#include "foundation/Format.h"
#include "foundation/Log.h"
#include "text.h"

namespace mb {
namespace {

enum class Kind { Person, Group, Unknown };

class Separation {
public:
    explicit Separation(PipelinePass& pass) : pass_(pass), run_(pass.run) {}

    void run()
    {
        for (const Side side : bothSides) takeKnownCopies(side);
        if (pass_.kindsTravel) {
            separateLinks();
            return;
        }
        for (const Side side : bothSides) {
            groups_ = 0;
            if (pass_.side(side).kind) leaveOutGroups(side);
            if (groups_ > 0) tellGroups(side);
        }
    }

private:
    // The persons that an earlier run has left out. The store may have deleted some of them since.
    void takeKnownCopies(Side side)
    {
        PassSide& own = pass_.side(side);
        for (const std::u16string& id : run_.history.leftOut(side)) {
            const bool listed = own.tasks.contains(id);
            if (!listed && own.store.contains(id) == Presence::Absent) continue;
            own.tasks.erase(id);
            own.leftOut.insert(id);
            own.groupCopies.insert(id);
        }
    }

    Kind kindOf(Side side, const std::u16string& id)
    {
        PassSide& own = pass_.side(side);
        const com::Bstr key(id);
        const OpenReading reading(own.store, key.get());
        std::u16string kind;
        if (!reading || !own.store.readText(key.get(), *own.kind, kind)) return Kind::Unknown;
        return isGroup(kind) ? Kind::Group : Kind::Person;
    }

    bool isGone(Side side, const std::u16string& id) { return pass_.side(side).missing.contains(id); }

    // ---- A map that pairs the kinds: only the links of an earlier version can be wrong. Later a changed kind is an edit.
    void separateLinks()
    {
        if (run_.historyObsolete || (run_.history.kindsKnown(Side::One) && run_.history.kindsKnown(Side::Two))) return;
        for (const HistoryEntry& entry : pass_.side(Side::One).historyList) separateLink(entry.Id, entry.MappedId);
    }

    void separateLink(const std::u16string& id1, const std::u16string& id2)
    {
        const PerSide<const std::u16string*> ids{&id1, &id2};
        const PerSide<bool> gone{isGone(Side::One, id1), isGone(Side::Two, id2)};
        if (gone.one && gone.two) return;
        PerSide<Kind> kinds{Kind::Person, Kind::Person};
        for (const Side side : bothSides) {
            if (!gone[side]) kinds[side] = kindOf(side, *ids[side]);
            if (kinds[side] == Kind::Unknown) return waitForNextRun(side, *ids[side]);
        }
        if (kinds.one == kinds.two) return;
        const Side groupSide = kinds.one == Kind::Group ? Side::One : Side::Two, personSide = otherSide(groupSide);
        unlink(groupSide, *ids[groupSide], *ids[personSide]);
        if (!gone[personSide]) leaveOutCopy(personSide, *ids[personSide]);
        if (!pass_.send[groupSide]) return;
        RecordTask travels;
        travels.Kind = TaskNew;
        TaskAt(pass_.side(groupSide).tasks, *ids[groupSide]) = std::move(travels);
        pass_.side(groupSide).hasAdditions = true;
    }

    // ---- A map that does not pair them
    void leaveOutGroups(Side side)
    {
        const Side other = otherSide(side);
        std::set<std::u16string> asked;
        for (const auto& [id, task] : pass_.side(side).tasks)
            if (task.Kind != TaskDelete || !task.alreadyGone) asked.insert(id);
        for (const auto& [id, task] : pass_.side(other).tasks)
            if (task.Kind == TaskChange && task.MappedId && !isGone(side, *task.MappedId)) asked.insert(*task.MappedId);
        if (!run_.historyObsolete && !run_.history.kindsKnown(side))
            for (const HistoryEntry& entry : pass_.side(side).historyList)
                if (!isGone(side, entry.Id)) asked.insert(entry.Id);
        for (const std::u16string& id : asked) {
            const Kind kind = kindOf(side, id);
            if (kind == Kind::Group) leaveOutGroup(side, id);
            if (kind == Kind::Unknown) waitForNextRun(side, id);
        }
    }

    void leaveOutGroup(Side side, const std::u16string& id)
    {
        PassSide& own = pass_.side(side);
        ++groups_;
        const Side other = otherSide(side);
        HistoryEntry entry;
        entry.Id = id;
        const bool linked = !run_.historyObsolete && run_.history.readEntry(side, entry);
        if (!linked) {
            own.tasks.erase(id);
        } else {
            unlink(side, id, entry.MappedId);
            if (!isGone(other, entry.MappedId)) leaveOutCopy(other, entry.MappedId);
        }
        own.leftOut.insert(id);
    }

    // ----
    void unlink(Side side, const std::u16string& id, const std::u16string& partner)
    {
        for (const Side each : bothSides) {
            const std::u16string& own = each == side ? id : partner;
            pass_.side(each).tasks.erase(own);
            pass_.side(each).unread.erase(own);
        }
        pass_.side(side).historyRemovals.push_back(id);
    }

    void leaveOutCopy(Side side, const std::u16string& id)
    {
        pass_.side(side).leftOut.insert(id);
        pass_.side(side).groupCopies.insert(id);
        run_.report.leftOut(side,
                            Format(u"%s: %s was copied from a group, as a person. It takes no part any more; the group does not need it.",
                                   run_.side(side).name, DescribeRecord(nullptr, pass_.side(side).store, id)));
    }

    // Without its kind a record could be copied or deleted as what it is not. Its history stays, so the next run finds the same.
    void waitForNextRun(Side side, const std::u16string& id)
    {
        pass_.side(side).kindsUnread = true;
        HistoryEntry entry;
        entry.Id = id;
        if (!run_.historyObsolete && run_.history.readEntry(side, entry)) pass_.side(otherSide(side)).tasks.erase(entry.MappedId);
        if (pass_.side(side).tasks.erase(id) == 0) return;
        WriteLogText(logFailures, u"%s could not read the kind of the record %s. It waits for the next run.", run_.side(side).name, id);
    }

    void tellGroups(Side side)
    {
        run_.report.leftOut(side, Format(u"%s: %d groups take no part, because groups are not mapped to %s.", run_.side(side).name, groups_,
                                         run_.side(otherSide(side)).name));
    }

    PipelinePass& pass_;
    RunState& run_;
    LONG groups_ = 0; // of one side
};

} // namespace

bool isGroup(std::u16string_view kind) { return platform::equalNoCase(kind, u"group"); }

void SeparateGroups(PipelinePass& pass)
{
    if (!pass.run.CategoryPass) Separation(pass).run();
}

void WriteGroupCopies(PipelinePass& pass)
{
    for (const Side side : bothSides) {
        const auto& copies = pass.side(side).groupCopies;
        const std::vector<std::u16string> known = pass.run.history.leftOut(side);
        if (std::set(known.begin(), known.end()) != copies) pass.run.history.trySetLeftOut(side, {copies.begin(), copies.end()});
    }
}

} // namespace mb
