#include "engine/conflicts/Conflicts.h"
#include "engine/FailureReport.h"
#include "engine/RecordChanges.h"
#include "engine/StageProgress.h"
#include "foundation/FieldValue.h"
#include "text.h"
#include "translators/ImageFields.h"
#include <unordered_map>

namespace mb {
namespace {

// The tasks of side 2 by their MappedId in lower case; several tasks of one MappedId in the order of the list.
using PartnersOf = std::unordered_map<std::u16string, std::vector<TaskList::iterator>>;

PartnersOf indexPartners(TaskList& tasks)
{
    PartnersOf partners;
    for (auto at = tasks.begin(); at != tasks.end(); ++at)
        if (at->second.MappedId) partners[platform::lowered(*at->second.MappedId)].push_back(at);
    return partners;
}

class Detection {
public:
    Detection(PipelinePass& pass, ConflictTable& conflicts)
        : pass_(pass), run_(pass.run), conflicts_(conflicts),
          inDoubt_(run_.history && (run_.history.batchInDoubt(Side::One) || run_.history.batchInDoubt(Side::Two)))
    {
    }

    void examine(const std::u16string& id1, RecordTask& task1, const std::u16string& id2, RecordTask& task2)
    {
        // A pair is judged once in a run: a settled conflict is not asked about again under another rule.
        if (task1.pairExamined && task2.pairExamined) return;
        task1.pairExamined = task2.pairExamined = true;
        if (!task1.Changes && !task2.Changes && task1.Kind != TaskDelete && task2.Kind != TaskDelete)
            return examineChangedPair(id1, task1, id2, task2);
        if (task1.Changes || task2.Changes)
            examineReadPair(id1, task1, id2, task2);
        else
            add(id1, {id2, true, deleteAction(task1)});
    }

private:
    // A second conflict of the same record is ignored.
    void add(const std::u16string& id1, Conflict&& conflict) { conflicts_.try_emplace(id1, std::move(conflict)); }

    // Quirk kept on purpose: with croAddAll for conflicts the changed record survives, whatever the option for deletions says.
    LONG deleteAction(const RecordTask& task1) const
    {
        if (run_.options.ConflictResolution != croAddAll) return run_.options.DelConflictResolution;
        return task1.Kind == TaskDelete ? croTrans2Wins : croTrans1Wins;
    }

    // A record that cannot be read may be in conflict, and each side would overwrite the change of the other: the run ends.
    void examineChangedPair(const std::u16string& id1, RecordTask& task1, const std::u16string& id2, RecordTask& task2)
    {
        PerSide<FieldValueMap> changes;
        bool lost = false;
        for (const Side side : {Side::One, Side::Two}) {
            ReadFailure failure;
            const std::u16string& id = side == Side::One ? id1 : id2;
            changes[side] =
                ReadRecordChanges(pass_, side, id, ReadErrors::SkipField, (side == Side::One ? task1 : task2).FieldMapRemapped, &failure);
            if (!failure && changes[side].empty()) {
                // The history has no values of the record: any field may have changed, and an empty set would send them all.
                lost = true;
                changes[side] = ReadAllFields(pass_, side, id, failure);
            }
            if (failure) {
                chargeFailure(pass_, side);
                throw *failure;
            }
        }
        const PerSide<bool> details{takeDetails(changes.one), takeDetails(changes.two)};
        if (!lost && inDoubt_ && dropEqual(changes)) {
            // Without a change left a task only links: an empty change set would send every field.
            if (changes.one.empty() && !details.one) task1.Kind = TaskMatched;
            if (changes.two.empty() && !details.two) task2.Kind = TaskMatched;
        }
        const bool conflict = lost ? valuesDiffer(changes.one, changes.two) : ChangesOverlap(changes.one, changes.two, pass_.fieldTypes);
        if (conflict) add(id1, {id2, false, run_.options.ConflictResolution});
        for (const Side side : bothSides)
            if (details[side]) changes[side][ftDetails];
        task1.Changes = std::make_unique<FieldValueMap>(std::move(changes.one));
        task2.Changes = std::make_unique<FieldValueMap>(std::move(changes.two));
    }

    // Details are merged by line, so they are never in conflict. Returns whether the change set names them.
    static bool takeDetails(FieldValueMap& changes)
    {
        const bool named = changes.contains(ftDetails);
        changes.erase(ftDetails);
        return named;
    }

    // After a batch that was not ended, a record may hold values that the last run wrote and the history does not know. The other side then
    // shows the same change, so equal values are no change. Returns whether there were any.
    bool dropEqual(PerSide<FieldValueMap>& changes) const
    {
        std::vector<LONG> equal;
        for (const auto& [type, value] : changes.one) {
            const auto other = changes.two.find(mappedType(&pass_.fieldTypes, type));
            if (!isImageType(type) && other != changes.two.end() &&
                platform::compareNoCase(TrimFieldValue(value), TrimFieldValue(other->second)) == 0)
                equal.push_back(type);
        }
        for (const LONG type : equal) {
            changes.one.erase(type);
            changes.two.erase(mappedType(&pass_.fieldTypes, type));
        }
        return !equal.empty();
    }

    bool valuesDiffer(const FieldValueMap& values1, const FieldValueMap& values2) const
    {
        return std::any_of(values1.begin(), values1.end(), [&](const auto& field) {
            const auto other = values2.find(mappedType(&pass_.fieldTypes, field.first));
            return other != values2.end() && other->second != field.second; // they would be exchanged
        });
    }

    // A pair that a search for duplicates made, or whose changes an earlier call has read. Quirk kept on purpose: the options are not
    // consulted.
    void examineReadPair(const std::u16string& id1, const RecordTask& task1, const std::u16string& id2, const RecordTask& task2)
    {
        if (!task1.Changes || !task2.Changes || task1.Changes->empty() || task2.Changes->empty()) return;
        const bool hasImage = task1.Changes->contains(ftImage1) || task1.Changes->contains(ftImage2);
        if (!hasImage || anyMappedFieldIn(*task1.Changes, *task2.Changes)) add(id1, {id2, false, croNotify});
    }

    bool anyMappedFieldIn(const FieldValueMap& changes1, const FieldValueMap& changes2) const
    {
        return std::any_of(changes1.begin(), changes1.end(), [&](const auto& field) {
            const auto mapped = pass_.fieldTypes.find(field.first);
            return mapped != pass_.fieldTypes.end() && changes2.contains(mapped->second);
        });
    }

    PipelinePass& pass_;
    RunState& run_;
    ConflictTable& conflicts_;
    bool inDoubt_;
};

} // namespace

void DetectConflicts(PipelinePass& pass, StageProgress& progress, ConflictTable& conflicts)
{
    TaskList &tasks1 = pass.side(Side::One).tasks, &tasks2 = pass.side(Side::Two).tasks;
    const PartnersOf partners = indexPartners(tasks2);
    const double step = 50.0 / static_cast<double>(tasks1.size());
    Detection detection(pass, conflicts);
    for (auto& [id1, task1] : tasks1) {
        if (!task1.MappedId || task1.Settled) continue;
        if (const auto found = partners.find(platform::lowered(id1)); found != partners.end())
            for (const TaskList::iterator task2 : found->second) detection.examine(id1, task1, task2->first, task2->second);
        progress.advance(step);
    }
    progress.reach(50.0);
}

ConflictFields ListConflictFields(bool includeImages, const FieldValueMap& changes1, const FieldValueMap& changes2,
                                  const FieldTypeMap& types)
{
    ConflictFields fields;
    for (const auto& [type1, value] : changes1) {
        if (!includeImages && isImageType(type1)) continue;
        const LONG type2 = mappedType(&types, type1);
        if (type1 == ftDetails || !changes2.contains(type2)) continue;
        fields.side1.push_back(type1);
        fields.side2.push_back(type2);
    }
    return fields;
}

} // namespace mb
