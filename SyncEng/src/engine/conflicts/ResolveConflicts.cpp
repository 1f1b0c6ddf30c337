#include "engine/conflicts/ResolveConflicts.h"

#include "dialogs/ConflictPrompt.h"
#include "engine/conflicts/SettleConflict.h"
#include "engine/DescribeRecord.h"
#include "engine/StageProgress.h"
#include "foundation/Log.h"
#include "foundation/SilentMode.h"
#include "foundation/Strings.h"

namespace mb {
namespace {

enum class Asked { Answered, Skipped };

class ConflictStage {
public:
    explicit ConflictStage(PipelinePass& pass)
        : pass_(pass), run_(pass.run), tasks1_(pass.side(Side::One).tasks), tasks2_(pass.side(Side::Two).tasks),
          progress_(run_.EventSink, LoadText(run_.CategoryPass ? Text::ResolvingCategoryConflicts : Text::ResolvingConflicts))
    {
    }

    void run()
    {
        if (tasks1_.empty() || tasks2_.empty()) return WriteLogResource(logProgress, Text::NoConflicts);
        pass_.fillFieldTypes();
        WriteLogText(logProgress, u"\r");
        DetectConflicts(pass_, progress_, conflicts_);
        if (conflicts_.empty()) {
            WriteLogResource(logProgress, Text::NoConflicts);
            progress_.reach(100.0);
        } else {
            decideAll();
        }
    }

private:
    void decideAll()
    {
        total_ = static_cast<LONG>(conflicts_.size());
        const double step = 50.0 / static_cast<double>(total_);
        for (auto& [id, conflict] : conflicts_) {
            ++index_;
            ConflictPair pair{FindTask(tasks1_, id), FindTask(tasks2_, conflict.partner), {}, {}, std::nullopt};
            const bool inLists = pair.task1 != tasks1_.end() && pair.task2 != tasks2_.end();
            if (inLists && decide(pair, conflict) == Asked::Skipped) continue;
            progress_.advance(step);
        }
        progress_.reach(100.0);
    }

    Asked decide(ConflictPair& pair, const Conflict& conflict)
    {
        LONG resolution = planned(pair, conflict);
        ReportEntry entry;
        entry.recordId = pair.task1->first;
        entry.partnerId = pair.task2->first;
        if (run_.report.wantsNames())
            entry.name = DescribeRecord(pair.task1->second.Values.get(), pass_.side(Side::One).store, pair.task1->first);
        WriteLogResource(logProgress, Text::Conflict, entry.name);
        if (resolution == croNotify) {
            if (SilentMode) {
                resolution = silentChoice(pair, conflict);
            } else {
                const Asked asked = conflict.isDelete ? askDelete(pair, resolution) : askChange(pair, resolution);
                if (asked != Asked::Answered) return asked;
            }
        }
        // Without a dialog nothing is merged: both contacts stay as they are.
        const bool unmerged = resolution == croMerge && pair.Scratch1.empty() && pair.Scratch2.empty();
        SettleConflict(pass_, pair, resolution);
        entry.conflict = unmerged ? LONG{croNotify} : resolution;
        const bool oneWins = resolution == croTrans1Wins, twoWins = resolution == croTrans2Wins;
        run_.report.settled(std::move(entry), oneWins ? run_.side(Side::One).name : twoWins ? run_.side(Side::Two).name : std::u16string());
        return Asked::Answered;
    }

    LONG planned(ConflictPair& pair, const Conflict& conflict)
    {
        if (conflict.isDelete) return ApplyAllDelete ? run_.options.DelConflictResolution : conflict.action;
        if (!ApplyAllChange) return conflict.action;
        const RecordTask &task1 = pair.task1->second, &task2 = pair.task2->second;
        if (task1.Changes && task2.Changes)
            pair.fields = ListConflictFields(run_.imagesUsable(), *task1.Changes, *task2.Changes, pass_.fieldTypes);
        return run_.options.ConflictResolution;
    }

    // Without a user both contacts of a pair are kept, and a changed record survives a deletion.
    static LONG silentChoice(const ConflictPair& pair, const Conflict& conflict)
    {
        if (!conflict.isDelete) return croAddAll;
        return pair.task1->second.Kind == TaskDelete ? croTrans2Wins : croTrans1Wins;
    }

    ConflictSide sideOf(Side side, std::u16string recordId)
    {
        return {pass_.side(side).store.translator(), run_.side(side).id, std::move(recordId), run_.side(side).name,
                run_.side(side).database};
    }

    [[noreturn]] void cancel(bool nobodyAsked)
    {
        if (nobodyAsked) run_.abortMeaning = reUnanswered;
        throw Cancelled{};
    }

    Asked askDelete(const ConflictPair& pair, LONG& resolution)
    {
        if (ApplyAllDelete) return Asked::Answered;
        const bool goneOnOne = pair.task1->second.Kind == TaskDelete;
        DeleteConflictQuestion question;
        question.survivor = goneOnOne ? sideOf(Side::Two, pair.task2->first) : sideOf(Side::One, pair.task1->first);
        question.deletedClsid = run_.side(goneOnOne ? Side::One : Side::Two).id;
        question.deletedName = run_.side(goneOnOne ? Side::One : Side::Two).name;
        question.deletedDatabase = run_.side(goneOnOne ? Side::One : Side::Two).database;
        question.DeletedSide = goneOnOne ? idTrans1 : idTrans2;
        question.ConflictIndex = index_;
        question.ConflictTotal = total_;
        question.parent = run_.ParentWindow;
        if (!AskConflict(question)) cancel(question.Unanswered);
        resolution = question.Resolution;
        if (question.ApplyToAll) {
            ApplyAllDelete = true;
            run_.options.DelConflictResolution = resolution;
        }
        return Asked::Answered;
    }

    Asked askChange(ConflictPair& pair, LONG& resolution)
    {
        if (ApplyAllChange) return Asked::Answered;
        const RecordTask &task1 = pair.task1->second, &task2 = pair.task2->second;
        if (!task1.Changes || !task2.Changes) return Asked::Skipped;
        ConflictQuestion question;
        question.side1 = sideOf(Side::One, pair.task1->first);
        question.side2 = sideOf(Side::Two, task1.MappedId.value_or(std::u16string()));
        question.ChangeMap1 = *task1.Changes;
        question.ChangeMap2 = *task2.Changes;
        for (FieldValueMap* changes : {&question.ChangeMap1, &question.ChangeMap2}) changes->erase(ftDetails); // they are in no conflict
        question.FieldTypes = &pass_.fieldTypes;
        question.FieldMapChanged = run_.FieldMapUpdated;
        question.FirstMeeting = task1.Kind == TaskNew && task2.Kind == TaskNew;
        question.ConflictIndex = index_;
        question.ConflictTotal = total_;
        question.SyncImages = run_.imagesUsable();
        question.parent = run_.ParentWindow;
        if (run_.FieldMapRebuilt) question.Resolution = croTrans1Wins;
        if (!AskConflict(question)) cancel(question.Unanswered);
        resolution = question.Resolution;
        pair.Scratch1 = std::move(question.ChangeMap1);
        pair.Scratch2 = std::move(question.ChangeMap2);
        pair.fields = ConflictFields{std::move(question.ConflictFields1), std::move(question.ConflictFields2)};
        if (question.ApplyToAll) {
            ApplyAllChange = true;
            run_.options.ConflictResolution = resolution;
        }
        return Asked::Answered;
    }

    PipelinePass& pass_;
    RunState& run_;
    TaskList &tasks1_, &tasks2_;
    StageProgress progress_;
    ConflictTable conflicts_;
    LONG index_ = 0, total_ = 0;
    bool ApplyAllChange = false, ApplyAllDelete = false;
};

} // namespace

void ResolveConflicts(PipelinePass& pass) { ConflictStage(pass).run(); }

} // namespace mb
