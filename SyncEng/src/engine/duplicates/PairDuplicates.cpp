#include "engine/duplicates/PairDuplicates.h"

#include "engine/duplicates/MatchRules.h"
#include "text.h"

namespace mb {
namespace {

// Compares a field that is not part of the digest. A difference goes into the changes of both, with the values as they were read.
void compareSpecial(RecordTask& task1, RecordTask& task2, LONG type1, const SpecialField& field)
{
    if (!task1.Values || !task2.Values) return;
    const auto value1 = task1.Values->find(type1), value2 = task2.Values->find(field.type2);
    if (!value1 || !value2) return;
    const std::u16string_view a = *value1, b = *value2;
    if (platform::equalNoCase(a, b)) return;
    const std::u16string fitted2 = FitToField(b, field.flags1, field.maxLength1);
    // Quirk kept on purpose: side 2's first name is compared with itself, so first names never differ here.
    const std::u16string fitted1 = type1 == ftFirstName ? fitted2 : FitToField(a, field.flags2, field.maxLength2);
    if (sameAlnum(fitted1, fitted2)) return;
    changesOf(task1)[type1] = a;
    changesOf(task2)[field.type2] = b;
}

} // namespace

DroppedTasks PairDuplicates(PipelinePass& pass, const std::u16string& id1, const std::u16string& id2, const MatchRows& rows)
{
    DroppedTasks dropped;
    TaskList &tasks1 = pass.side(Side::One).tasks, &tasks2 = pass.side(Side::Two).tasks;
    const auto at1 = FindTask(tasks1, id1), at2 = FindTask(tasks2, id2);
    if (id1.empty() || id2.empty() || at1 == tasks1.end() || at2 == tasks2.end()) return dropped;
    RecordTask &task1 = at1->second, &task2 = at2->second;
    if (task1.MappedId || task2.MappedId || !pass.send[Side::One] || !pass.send[Side::Two]) return dropped;

    compareSpecial(task1, task2, ftFirstName, rows.firstName);
    compareSpecial(task1, task2, ftEmail1, rows.email);
    compareSpecial(task1, task2, ftNotes, rows.notes);
    compareSpecial(task1, task2, ftCategories, rows.categories);
    task1.MappedId = id2;
    if (!task1.Changes) {
        task1.Kind = TaskMatched;
        dropped.drop2 = true;
        return dropped;
    }
    task2.MappedId = id1;
    if (task1.Changes->empty())
        dropped.drop1 = true;
    else if (!task2.Changes || task2.Changes->empty())
        dropped.drop2 = true;
    return dropped;
}

} // namespace mb
