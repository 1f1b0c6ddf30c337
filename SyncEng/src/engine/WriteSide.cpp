#include "engine/WriteSide.h"

#include "engine/ApplyRecord.h"
#include "engine/DescribeRecord.h"
#include "engine/FailureReport.h"
#include "engine/HistoryLinks.h"
#include "foundation/Format.h"
#include "foundation/Log.h"
#include "foundation/SilentMode.h"

namespace mb {
namespace {

class SideWriter {
public:
    SideWriter(PipelinePass& pass, PerSide<SidePlan>& plans, Side target)
        : pass_(pass), plans_(plans), run_(pass.run), targetSide_(target), sourceSide_(otherSide(target)), plan_(plans[target]),
          otherPlan_(plans[sourceSide_])
    {
    }

    void run()
    {
        target().store.askToWrite(target().services.get(), run_.ParentWindow, SilentMode);
        target().store.beginUpdate();
        WriteLogText(logProgress, u"\r");
        doAll(plan_.copies, otherPlan_.deletions, [&](PlanItem& item) { writeOrWait(item); });
        doAll(plan_.relations, {}, [&](const PlanItem& item) { writeRecord(item, Reference::Relation); });
        doAll(plan_.members, {}, [&](const PlanItem& item) { writeRecord(item, Reference::Member); });
        if (target().hasDeletions) doAll(plan_.deletions, otherPlan_.copies, [&](const PlanItem& item) { deleteRecord(item); });
    }

private:
    PassSide& source() { return pass_.side(sourceSide_); }
    PassSide& target() { return pass_.side(targetSide_); }
    const std::u16string& targetName() const { return run_.side(targetSide_).name; }

    // Does the items in their order. Progress is also told for the other side's items that wait: their records are on the same side as the
    // records of `items`, and each is told at its place among them.
    template <class Work> void doAll(PlanItems& items, const PlanItems& waiting, Work&& work)
    {
        auto next = waiting.begin();
        while (!items.empty()) {
            for (; next != waiting.end() && next->recordId() < items.front().recordId(); ++next) tellProgress();
            work(items.front());
            items.pop_front();
            for (const Side side : bothSides) pass_.side(side).store.throwIfCancelled();
            tellProgress();
        }
        for (; next != waiting.end(); ++next) tellProgress();
    }

    // A record that refers to others is written when those have been written: their UIDs in this store are known then.
    void writeOrWait(PlanItem& item)
    {
        const Reference waitsFor = writeRecord(item, Reference::None);
        if (waitsFor != Reference::None) (waitsFor == Reference::Member ? plan_.members : plan_.relations).push_back(std::move(item));
    }

    // Returns what the record has to wait for; nothing is written then.
    Reference writeRecord(const PlanItem& item, Reference turn)
    {
        const std::u16string name = describe(item, source());
        std::optional<std::u16string> targetId = item.targetId;
        LinkGuard guard(source().store, target().store);
        RecordWrites written;
        try {
            ApplyRecord(pass_, plans_, targetSide_, turn, item, item.targetId ? FindItem(otherPlan_.copies, *item.targetId) : nullptr,
                        targetId, guard, written);
        } catch (const RunFailure& failure) {
            report(failure, entryOf(item, item.targetId.value_or(std::u16string()), item.sourceId, name));
            throw;
        }
        if (written.waitsFor != Reference::None) return written.waitsFor;
        if (written.nextRun) {
            WriteLogText(logFailures, u"%s could not tell to whom %s refers. It waits for the next run.", run_.side(sourceSide_).name,
                         name);
            return Reference::None;
        }
        forgetValues(*targetId);
        if (item.targetId && !item.targetId->empty() && !targetId->empty() && *item.targetId != *targetId)
            followNewIdentifier(*item.targetId, *targetId);
        if (item.FieldMapRemapped) SetFieldMapChangedFlag(run_, sourceSide_, item.sourceId, false);
        const PlanItem* waiting = FindItem(otherPlan_.copies, *targetId);
        const HRESULT stamped =
            resultOf([&] { StampHistoryPair(pass_, sourceSide_, item.sourceId, *targetId, waiting && waiting->targetId); });
        ReportEntry entry = entryOf(item, *targetId, item.sourceId, name);
        entry.action = item.kind == PlannedMatch ? raLinked : item.kind == PlannedNew ? raCreated : raUpdated;
        if (entry.action == raLinked && sourceSide_ == Side::One) std::swap(entry.recordId, entry.partnerId);
        if (entry.action == raLinked) entry.side = Side::One;
        if (entry.action == raUpdated && run_.report.wantsFields()) entry.fields = describeFields(written);
        run_.report.wrote(std::move(entry), targetName());
        noteOverwritten(written, *targetId, item.sourceId, name);
        require(stamped); // only now: the record was written, and the report says so
        return Reference::None;
    }

    // The values that the search for duplicates read of the target record are stale once the record is saved.
    void forgetValues(const std::u16string& targetId)
    {
        for (PlanItems* items : {&otherPlan_.copies, &plan_.deletions})
            if (PlanItem* item = FindItem(*items, targetId)) item->Values.reset();
    }

    // Quirk kept on purpose: towards side 1 both sections are those of side 2, so that call finds nothing. The old entry of side 1 is
    // deleted here, or the next run would take it for a deletion.
    void followNewIdentifier(const std::u16string& before, const std::u16string& now)
    {
        const bool towardsTwo = targetSide_ == Side::Two;
        RekeyHistoryEntry(run_.history, Side::Two, before, now, towardsTwo ? Side::One : Side::Two);
        if (!towardsTwo) run_.history.tryDeleteEntry(Side::One, before);
    }

    ReportEntry entryOf(const PlanItem& item, const std::u16string& id, const std::u16string& partner, const std::u16string& name) const
    {
        ReportEntry entry;
        entry.side = targetSide_;
        entry.recordId = id;
        entry.partnerId = partner;
        entry.name = name;
        entry.conflict = item.conflict;
        return entry;
    }

    void report(const RunFailure& failure, ReportEntry entry)
    {
        chargeFailure(pass_, targetSide_);
        entry.code = failure.code();
        entry.text = FailureText(run_, failure.code());
        run_.report.failed(std::move(entry));
    }

    void noteOverwritten(const RecordWrites& written, const std::u16string& id, const std::u16string& partner, const std::u16string& name)
    {
        for (const std::u16string& line : written.overwritten) {
            ReportEntry entry;
            entry.side = targetSide_;
            entry.recordId = id;
            entry.partnerId = partner;
            entry.name = name;
            entry.text = Format(u"Both sides changed a detail of %s. %s had: %s", name, targetName(), line);
            run_.report.overwrote(std::move(entry));
        }
    }

    std::vector<ReportedField> describeFields(const RecordWrites& written)
    {
        const auto fields = pass_.fields(targetSide_);
        fieldNames_.resize(fields.size());
        std::vector<ReportedField> described;
        for (const std::size_t i : written.fields) {
            ReportedField& field = described.emplace_back();
            field.type = target().fieldType(i).value_or(0);
            if (!fieldNames_[i]) fieldNames_[i] = target().store.fieldName(fields[i]);
            field.name = *fieldNames_[i];
        }
        if (written.details) described.push_back({ftDetails, target().store.fieldName((*pass_.details)[targetSide_])});
        return described;
    }

    void deleteRecord(const PlanItem& item)
    {
        if (item.kind == PlannedGone) return; // a change that won over a deletion leaves the deletion's item behind
        const std::u16string &id = *item.targetId, name = describe(item, target());
        const com::Bstr key(id);
        try {
            target().store.remove(key.get());
        } catch (const RunFailure& failure) {
            // Another program may have deleted the record meanwhile.
            if (target().store.contains(key.get()) != Presence::Absent) {
                report(failure, entryOf(item, id, {}, name));
                throw;
            }
        }
        UnlinkHistoryEntry(run_.history, targetSide_, id);
        ReportEntry entry = entryOf(item, id, {}, name);
        entry.action = raDeleted;
        run_.report.wrote(std::move(entry), targetName());
    }

    std::u16string describe(const PlanItem& item, PassSide& side) const
    {
        return run_.report.wantsNames() ? DescribeRecord(item.Values.get(), side.store, item.recordId()) : std::u16string();
    }

    void tellProgress()
    {
        if (!run_.EventSink) return;
        const std::size_t planned = plan_.planned + otherPlan_.planned, done = planned - plan_.size() - otherPlan_.size();
        const double percent = static_cast<double>(done) / static_cast<double>(planned) * 100.0;
        requireNoCancel(com::call(run_.EventSink, &ISyncEvents::OnProgress, run_.CategoryPass ? spSyncCategory : spSync, percent));
    }

    PipelinePass& pass_;
    PerSide<SidePlan>& plans_;
    RunState& run_;
    Side targetSide_, sourceSide_;
    SidePlan &plan_, &otherPlan_;
    std::vector<std::optional<std::u16string>> fieldNames_; // of the target's mapped fields, as far as they were asked for
};

} // namespace

void WriteSide(PipelinePass& pass, PerSide<SidePlan>& plans, Side target) { SideWriter(pass, plans, target).run(); }

void EndSide(StoreClient& target) { target.endUpdate(); }

} // namespace mb
