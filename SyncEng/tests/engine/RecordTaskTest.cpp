#include "engine/RecordTask.h"
#include "interfaces.h"

#include <gtest/gtest.h>

namespace mb {
namespace {

RecordTask task(TaskKind kind)
{
    RecordTask made;
    made.Kind = kind;
    return made;
}

} // namespace

TEST(TaskList, TheLaterStoreOnAKeyStands)
{
    TaskList tasks;
    TaskAt(tasks, u"a") = task(TaskDelete);
    TaskAt(tasks, u"a") = task(TaskChange);
    EXPECT_EQ(tasks.size(), 1u);
    EXPECT_EQ(FindTask(tasks, u"a")->second.Kind, TaskChange);
}

TEST(TaskList, KeysThatDifferInCaseAreTwoEntries)
{
    TaskList tasks;
    TaskAt(tasks, u"a") = task(TaskNew);
    TaskAt(tasks, u"A") = task(TaskNew);
    EXPECT_EQ(tasks.size(), 2u);
    EXPECT_EQ(tasks.begin()->first, u"A") << "in the order of code units";
}

TEST(TaskList, DroppingTheLastEntryEndsTheLoop)
{
    TaskList tasks;
    TaskAt(tasks, u"a") = task(TaskNew);
    auto at = tasks.begin();
    EXPECT_TRUE(DropTask(at, tasks));
    EXPECT_EQ(at, tasks.end());
    EXPECT_FALSE(DropTask(at, tasks));
}

TEST(TaskList, ANewEntryHasAllFieldsZero)
{
    TaskList tasks;
    const RecordTask& made = TaskAt(tasks, u"a");
    EXPECT_EQ(made.Kind, TaskDelete);
    EXPECT_FALSE(made.MappedId);
    EXPECT_FALSE(made.Changes);
    EXPECT_FALSE(made.Values);
    EXPECT_FALSE(made.Settled);
    EXPECT_FALSE(made.FieldMapRemapped);
}

TEST(RecordValues, TellsWhatWasReadFromWhatWasNot)
{
    RecordValues values;
    values.set(ftTitle, u"Countess");
    values.set(ftFirstName, u"Ada");
    values.set(ftNotes, u"");
    EXPECT_EQ(values.find(ftFirstName), u"Ada");
    EXPECT_EQ(values.find(ftTitle), u"Countess");
    EXPECT_EQ(values.find(ftNotes), u"") << "read, and empty";
    EXPECT_EQ(values.find(ftCompany), std::nullopt);
    values.erase(ftTitle);
    values.erase(ftNotes);
    EXPECT_EQ(values.find(ftTitle), std::nullopt);
    EXPECT_EQ(values.find(ftNotes), std::nullopt);
    EXPECT_EQ(RecordValues(values).find(ftFirstName), u"Ada");
}

TEST(RecordValues, TheLaterTextOfAFieldStands)
{
    RecordValues values;
    values.set(ftTitle, u"");
    values.set(ftTitle, u"Countess");
    EXPECT_EQ(values.find(ftTitle), u"Countess");
    values.set(ftTitle, u"Lady");
    EXPECT_EQ(values.find(ftTitle), u"Lady");
    values.set(ftTitle, u"");
    EXPECT_EQ(values.find(ftTitle), u"");
    values.clear();
    EXPECT_EQ(values.find(ftTitle), std::nullopt);
}

TEST(FieldValues, CopyingKeepsWhatTheSourceDoesNotName)
{
    FieldValueMap to, from;
    to[ftCity1] = u"London";
    to[ftNotes] = u"kept";
    from[ftCity1] = u"Paris";
    CopyFieldValues(to, from);
    EXPECT_EQ(to[ftCity1], u"Paris");
    EXPECT_EQ(to[ftNotes], u"kept");
}

TEST(FieldValues, FreeingLeavesTheTypes)
{
    FieldValueMap map;
    map[ftCity1] = u"London";
    FreeFieldValues(map);
    EXPECT_TRUE(map.contains(ftCity1));
    EXPECT_EQ(FieldValueAt(map, ftCity1), u"");
}

TEST(FieldValues, ChangesOverlapThroughTheMapOfTypes)
{
    FieldValueMap one, two;
    one[ftPhone] = u"1";
    two[ftHomePhone] = u"2";
    EXPECT_FALSE(ChangesOverlap(one, two, {}));
    EXPECT_TRUE(ChangesOverlap(one, two, {{ftPhone, ftHomePhone}}));
    two[ftPhone] = u"3";
    EXPECT_FALSE(ChangesOverlap(one, two, {{ftPhone, ftFax}})) << "a type that is mapped counts as what it is mapped to";
}

} // namespace mb
