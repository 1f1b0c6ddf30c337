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

    HRESULT run()
    {
        HRESULT hr = target().store.askToWrite(target().services.get(), run_.ParentWindow, SilentMode);
        if (SUCCEEDED(hr)) hr = target().store.beginUpdate();
        if (FAILED(hr)) return hr;
        WriteLogText(logProgress, u"\r");
        hr = writeLoop();
        if (SUCCEEDED(hr) && pass_.side(targetSide_).hasDeletions) hr = deleteLoop();
        return hr;
    }

private:
    PassSide& source() { return pass_.side(sourceSide_); }
    PassSide& target() { return pass_.side(targetSide_); }
    const std::u16string& targetName() const { return run_.side(targetSide_).name; }

    HRESULT writeLoop()
    {
        return workOff(
            source().tasks, [](TaskKind kind) { return kind != TaskDelete; },
            [&](const std::u16string& id, const RecordTask& task) { return writeRecord(id, task); });
    }

    HRESULT deleteLoop()
    {
        return workOff(
            target().tasks, [](TaskKind kind) { return kind == TaskDelete; },
            [&](const std::u16string& id, const RecordTask& task) { return deleteRecord(id, task); });
    }

    // A task that is done leaves the list; progress is told for the others too.
    template <class IsMine, class Work> HRESULT workOff(TaskList& tasks, IsMine&& isMine, Work&& work)
    {
        for (auto at = tasks.begin(); at != tasks.end();) {
            const bool mine = isMine(at->second.Kind);
            if (mine) {
                const HRESULT hr = work(at->first, at->second);
                if (FAILED(hr)) return hr;
                ++pass_.DoneTasks;
                (void)DropTask(at, tasks);
                for (const Side side : {Side::One, Side::Two}) pass_.side(side).store.throwIfCancelled();
            }
            if (tellProgress() == E_ABORT) return E_ABORT;
            if (!mine) ++at;
        }
        return S_OK;
    }

    HRESULT writeRecord(const std::u16string& id, const RecordTask& task)
    {
        const std::u16string name = describe(task, source(), id);
        const bool created = !task.MappedId;
        std::optional<std::u16string> targetId = task.MappedId;
        LinkGuard guard(source().store, target().store);
        std::vector<std::size_t> written;
        const HRESULT hr = ApplyRecord(pass_, sourceSide_, id, task, targetId, guard, written);
        if (FAILED(hr)) return fail(hr, entryOf(task, task.MappedId.value_or(std::u16string()), id, name));
        if (task.MappedId && !task.MappedId->empty() && !targetId->empty() && *task.MappedId != *targetId)
            followNewIdentifier(*task.MappedId, *targetId);
        if (task.FieldMapRemapped) (void)SetFieldMapChangedFlag(run_, sourceSide_, id, false);
        const HRESULT stamped = StampHistoryPair(pass_, sourceSide_, id, *targetId, 0.0);
        ReportEntry entry = entryOf(task, *targetId, id, name);
        entry.action = task.Kind == TaskMatched ? raLinked : created ? raCreated : raUpdated;
        if (entry.action == raLinked && sourceSide_ == Side::One) std::swap(entry.recordId, entry.partnerId);
        if (entry.action == raLinked) entry.side = Side::One;
        if (entry.action == raUpdated && run_.report.wantsFields()) entry.fields = describeFields(written);
        run_.report.wrote(std::move(entry), targetName());
        return stamped;
    }

    // Quirk kept on purpose: towards side 1 both sections are those of side 2, so that call finds nothing. The old entry of side 1 is
    // deleted here, or the next run would take it for a deletion.
    void followNewIdentifier(const std::u16string& before, const std::u16string& now)
    {
        const bool towardsTwo = targetSide_ == Side::Two;
        (void)RekeyHistoryEntry(*run_.history, Side::Two, before, now, towardsTwo ? Side::One : Side::Two);
        if (!towardsTwo) (void)run_.history->DeleteEntry(sectionOf(Side::One), before, false);
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

    HRESULT fail(HRESULT hr, ReportEntry entry)
    {
        chargeFailure(pass_, targetSide_);
        entry.code = hr;
        entry.text = FailureText(run_, hr);
        run_.report.failed(std::move(entry));
        return hr;
    }

    std::vector<ReportedField> describeFields(const std::vector<std::size_t>& written)
    {
        const auto fields = pass_.fields(targetSide_);
        fieldNames_.resize(fields.size());
        std::vector<ReportedField> described;
        for (const std::size_t i : written) {
            ReportedField& field = described.emplace_back();
            (void)target().fieldType(i, field.type);
            if (!fieldNames_[i]) (void)target().store.fieldName(fields[i], fieldNames_[i].emplace());
            field.name = *fieldNames_[i];
        }
        return described;
    }

    HRESULT deleteRecord(const std::u16string& id, const RecordTask& task)
    {
        if (task.alreadyGone) return S_OK; // a change that won over a deletion leaves the deletion's task behind
        const std::u16string name = describe(task, target(), id);
        const com::Bstr key(id);
        const HRESULT hr = target().store.remove(key.get());
        // Another program may have deleted the record meanwhile.
        if (FAILED(hr) && target().store.contains(key.get()) != Presence::Absent) return fail(hr, entryOf(task, id, {}, name));
        (void)UnlinkHistoryEntry(*run_.history, targetSide_, id);
        ReportEntry entry = entryOf(task, id, {}, name);
        entry.action = raDeleted;
        run_.report.wrote(std::move(entry), targetName());
        return S_OK;
    }

    std::u16string describe(const RecordTask& task, PassSide& side, const std::u16string& id) const
    {
        return run_.report.wantsNames() ? DescribeRecord(task.Values.get(), side.store.translator(), side.names, id) : std::u16string();
    }

    HRESULT tellProgress()
    {
        if (!run_.EventSink) return S_OK;
        const double percent = static_cast<double>(pass_.DoneTasks) / static_cast<double>(pass_.TotalTasks) * 100.0;
        return com::call(run_.EventSink, &ISyncEvents::OnProgress, run_.CategoryPass ? spSyncCategory : spSync, percent);
    }

    PipelinePass& pass_;
    RunState& run_;
    Side targetSide_, sourceSide_;
    std::vector<std::optional<std::u16string>> fieldNames_; // of the target's mapped fields, as far as they were asked for
};

} // namespace

HRESULT WriteSide(PipelinePass& pass, Side target)
{
    try {
        return SideWriter(pass, target).run();
    } catch (const Cancelled&) {
        return E_ABORT;
    }
}

HRESULT EndSide(PipelinePass& pass, Side target) { return pass.side(target).store.endUpdate(); }

} // namespace mb
