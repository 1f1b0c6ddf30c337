#include "engine/PairDuplicates.h"

#include "engine/MatchRules.h"
#include "text.h"

namespace mb {
namespace {

// A field that the digest left out: a difference goes into the changes of both, with the values as they were read.
void compareSpecial(RecordTask& e1, RecordTask& e2, LONG type1, const SpecialField& field)
{
    if (!e1.Values || !e2.Values) return;
    const auto value1 = e1.Values->find(type1), value2 = e2.Values->find(field.type2);
    if (!value1 || !value2) return;
    const std::u16string_view a = *value1, b = *value2;
    if (platform::equalNoCase(a, b)) return;
    const std::u16string fitted2 = FitToField(b, field.flags1, field.maxLength1);
    // Wanted: side 2's first name is compared with itself, so a first name never enters here.
    const std::u16string fitted1 = type1 == ftFirstName ? fitted2 : FitToField(a, field.flags2, field.maxLength2);
    if (sameAlnum(fitted1, fitted2)) return;
    changesOf(e1)[type1] = a;
    changesOf(e2)[field.type2] = b;
}

} // namespace

DroppedTasks PairDuplicates(PipelinePass& pass, const std::u16string& id1, const std::u16string& id2, const MatchRows& rows)
{
    DroppedTasks dropped;
    TaskList &tasks1 = pass.side(Side::One).Tasks, &tasks2 = pass.side(Side::Two).Tasks;
    const auto at1 = FindTask(tasks1, id1), at2 = FindTask(tasks2, id2);
    if (id1.empty() || id2.empty() || at1 == tasks1.end() || at2 == tasks2.end()) return dropped;
    RecordTask &e1 = at1->second, &e2 = at2->second;
    if (e1.MappedId || e2.MappedId || !pass.Send[Side::One] || !pass.Send[Side::Two]) return dropped;

    compareSpecial(e1, e2, ftFirstName, rows.firstName);
    compareSpecial(e1, e2, ftEmail1, rows.email);
    compareSpecial(e1, e2, ftNotes, rows.notes);
    compareSpecial(e1, e2, ftCategories, rows.categories);
    e1.MappedId = id2;
    if (!e1.Changes) {
        e1.Kind = TaskMatched;
        dropped.drop2 = true;
        return dropped;
    }
    e2.MappedId = id1;
    if (e1.Changes->empty())
        dropped.drop1 = true;
    else if (!e2.Changes || e2.Changes->empty())
        dropped.drop2 = true;
    return dropped;
}

} // namespace mb
