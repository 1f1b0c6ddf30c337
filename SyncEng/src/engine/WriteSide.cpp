#include "engine/WriteSide.h"

#include "engine/ApplyRecord.h"
#include "engine/DescribeRecord.h"
#include "engine/FailureReport.h"
#include "engine/HistoryLinks.h"
#include "foundation/Log.h"
#include "foundation/SilentMode.h"

namespace mb {
namespace {

class SideWriter {
public:
    SideWriter(PipelinePass& pass, Side target) : pass_(pass), run_(pass.run), targetSide_(target), sourceSide_(otherSide(target)) {}

    void run()
    {
        target().store.askToWrite(target().services.get(), run_.ParentWindow, SilentMode);
        target().store.beginUpdate();
        WriteLogText(logProgress, u"\r");
        writeLoop();
        if (target().hasDeletions) deleteLoop();
    }

private:
    PassSide& source() { return pass_.side(sourceSide_); }
    PassSide& target() { return pass_.side(targetSide_); }
    const std::u16string& targetName() const { return run_.side(targetSide_).name; }

    void writeLoop()
    {
        workOff(
            source().tasks, [](TaskKind kind) { return kind != TaskDelete; },
            [&](const std::u16string& id, const RecordTask& task) { writeRecord(id, task); });
    }

    void deleteLoop()
    {
        workOff(
            target().tasks, [](TaskKind kind) { return kind == TaskDelete; },
            [&](const std::u16string& id, const RecordTask& task) { deleteRecord(id, task); });
    }

    // Erases each task that is done. Progress is told for the other tasks too.
    template <class IsMine, class Work> void workOff(TaskList& tasks, IsMine&& isMine, Work&& work)
    {
        for (auto at = tasks.begin(); at != tasks.end();) {
            const bool mine = isMine(at->second.Kind);
            if (mine) {
                work(at->first, at->second);
                ++pass_.DoneTasks;
                DropTask(at, tasks);
                for (const Side side : {Side::One, Side::Two}) pass_.side(side).store.throwIfCancelled();
            }
            tellProgress();
            if (!mine) ++at;
        }
    }

    void writeRecord(const std::u16string& id, const RecordTask& task)
    {
        const std::u16string name = describe(task, source(), id);
        const bool created = !task.MappedId;
        std::optional<std::u16string> targetId = task.MappedId;
        LinkGuard guard(source().store, target().store);
        std::vector<std::size_t> written;
        try {
            ApplyRecord(pass_, sourceSide_, id, task, targetId, guard, written);
        } catch (const RunFailure& failure) {
            report(failure, entryOf(task, task.MappedId.value_or(std::u16string()), id, name));
            throw;
        }
        if (task.MappedId && !task.MappedId->empty() && !targetId->empty() && *task.MappedId != *targetId)
            followNewIdentifier(*task.MappedId, *targetId);
        if (task.FieldMapRemapped) SetFieldMapChangedFlag(run_, sourceSide_, id, false);
        const HRESULT stamped = resultOf([&] { StampHistoryPair(pass_, sourceSide_, id, *targetId, 0.0); });
        ReportEntry entry = entryOf(task, *targetId, id, name);
        entry.action = task.Kind == TaskMatched ? raLinked : created ? raCreated : raUpdated;
        if (entry.action == raLinked && sourceSide_ == Side::One) std::swap(entry.recordId, entry.partnerId);
        if (entry.action == raLinked) entry.side = Side::One;
        if (entry.action == raUpdated && run_.report.wantsFields()) entry.fields = describeFields(written);
        run_.report.wrote(std::move(entry), targetName());
        require(stamped); // only now: the record was written, and the report says so
    }

    // Quirk kept on purpose: towards side 1 both sections are those of side 2, so that call finds nothing. The old entry of side 1 is
    // deleted here, or the next run would take it for a deletion.
    void followNewIdentifier(const std::u16string& before, const std::u16string& now)
    {
        const bool towardsTwo = targetSide_ == Side::Two;
        RekeyHistoryEntry(run_.history, Side::Two, before, now, towardsTwo ? Side::One : Side::Two);
        if (!towardsTwo) run_.history.tryDeleteEntry(Side::One, before);
    }

    ReportEntry entryOf(const RecordTask& task, const std::u16string& id, const std::u16string& partner, const std::u16string& name) const
    {
        ReportEntry entry;
        entry.side = targetSide_;
        entry.recordId = id;
        entry.partnerId = partner;
        entry.name = name;
        entry.conflict = task.conflict;
        return entry;
    }

    void report(const RunFailure& failure, ReportEntry entry)
    {
        chargeFailure(pass_, targetSide_);
        entry.code = failure.code();
        entry.text = FailureText(run_, failure.code());
        run_.report.failed(std::move(entry));
    }

    std::vector<ReportedField> describeFields(const std::vector<std::size_t>& written)
    {
        const auto fields = pass_.fields(targetSide_);
        fieldNames_.resize(fields.size());
        std::vector<ReportedField> described;
        for (const std::size_t i : written) {
            ReportedField& field = described.emplace_back();
            field.type = target().fieldType(i).value_or(0);
            if (!fieldNames_[i]) fieldNames_[i] = target().store.fieldName(fields[i]);
            field.name = *fieldNames_[i];
        }
        return described;
    }

    void deleteRecord(const std::u16string& id, const RecordTask& task)
    {
        if (task.alreadyGone) return; // a change that won over a deletion leaves the deletion's task behind
        const std::u16string name = describe(task, target(), id);
        const com::Bstr key(id);
        try {
            target().store.remove(key.get());
        } catch (const RunFailure& failure) {
            // Another program may have deleted the record meanwhile.
            if (target().store.contains(key.get()) != Presence::Absent) {
                report(failure, entryOf(task, id, {}, name));
                throw;
            }
        }
        UnlinkHistoryEntry(run_.history, targetSide_, id);
        ReportEntry entry = entryOf(task, id, {}, name);
        entry.action = raDeleted;
        run_.report.wrote(std::move(entry), targetName());
    }

    std::u16string describe(const RecordTask& task, PassSide& side, const std::u16string& id) const
    {
        return run_.report.wantsNames() ? DescribeRecord(task.Values.get(), side.store, id) : std::u16string();
    }

    void tellProgress()
    {
        if (!run_.EventSink) return;
        const double percent = static_cast<double>(pass_.DoneTasks) / static_cast<double>(pass_.TotalTasks) * 100.0;
        requireNoCancel(com::call(run_.EventSink, &ISyncEvents::OnProgress, run_.CategoryPass ? spSyncCategory : spSync, percent));
    }

    PipelinePass& pass_;
    RunState& run_;
    Side targetSide_, sourceSide_;
    std::vector<std::optional<std::u16string>> fieldNames_; // of the target's mapped fields, as far as they were asked for
};

} // namespace

void WriteSide(PipelinePass& pass, Side target) { SideWriter(pass, target).run(); }

void EndSide(PipelinePass& pass, Side target) { pass.side(target).store.endUpdate(); }

} // namespace mb
