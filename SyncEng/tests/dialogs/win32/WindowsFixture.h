// Fixture with two open fakes that hold a contact in conflict. Dialogs are shown in real windows.
#pragma once
#include "../DialogsFixture.h"
#include "dialogs/CConfirmationDlg.h"
#include "dialogs/ConflictPrompt.h"
#include "WindowUser.h"

namespace mbtest {

class WindowsTest : public DialogsTest {
protected:
    WindowsTest()
    {
        mb::SetFrontEnd(nullptr); // the platform's front end; the base class restores the former one
        id1 = s.one().add({{ftFirstName, u"Ada"}, {ftLastName, u"Lovelace"}, {ftCompany, u"Analytical Engines"}, {ftCity1, u"Paris"}});
        id2 = s.two().add({{ftFirstName, u"Augusta"}, {ftLastName, u"Lovelace"}, {ftCity1, u"Rome"}});
    }
    int show(mb::Dialog& dialog, WindowUser::Acts acts)
    {
        const WindowUser atTheWindow(std::move(acts));
        return mb::ShowDialog(dialog, nullptr);
    }

    mb::ConflictQuestion conflict()
    {
        mb::ConflictQuestion question;
        question.side1 = {translator1.get(), fakeClass1, id1};
        question.side2 = {translator2.get(), fakeClass2, id2};
        question.ChangeMap1 = values({{ftCity1, u"Paris"}, {ftCompany, u"Analytical Engines"}, {ftTitle, u"Countess"}});
        question.ChangeMap2 = values({{ftCity1, u"Rome"}, {ftCompany, std::u16string(120, u'm')}, {ftNamePrefix, u"Lady"}});
        question.FieldTypes = &types;
        question.ConflictIndex = 2;
        question.ConflictTotal = 7;
        return question;
    }
    mb::DeleteConflictQuestion deleteConflict()
    {
        mb::DeleteConflictQuestion question;
        question.survivor = {translator1.get(), fakeClass1, id1};
        question.deletedClsid = fakeClass2;
        question.DeletedSide = idTrans2;
        question.ConflictIndex = 1;
        question.ConflictTotal = 3;
        return question;
    }
    // Returns a plan with two additions to side 1, a change on side 1, and a deletion on each side.
    mb::PlannedChanges changes()
    {
        const auto add = [&](FakeStore& store, const char16_t* first, const char16_t* last, const char16_t* company) {
            return &ids_.emplace_back(store.add({{ftFirstName, first}, {ftLastName, last}, {ftCompany, company}}));
        };
        tasks1_ = {{mb::PlannedNew, add(s.two(), u"Zoe", u"Adams", u"Beta"), nullptr, nullptr},
                   {mb::PlannedNew, add(s.two(), u"amy", u"Zorn", u"Alpha"), nullptr, nullptr},
                   {mb::PlannedChange, &id2, &id1, &change_},
                   {mb::PlannedDelete, add(s.one(), u"Gone", u"First", u""), nullptr, nullptr}};
        tasks2_ = {{mb::PlannedDelete, add(s.two(), u"Gone", u"Second", u""), nullptr, nullptr}};
        mb::PlannedChanges planned;
        planned.side1 = {translator1.get(), fakeClass1, tasks1_, u"C:\\Users\\ada\\left.db"};
        planned.side2 = {translator2.get(), fakeClass2, tasks2_, u"C:\\Users\\ada\\right.db"};
        for (const mb::PlannedTask& task : tasks1_) planned.side1.counts.add(task.Kind);
        for (const mb::PlannedTask& task : tasks2_) planned.side2.counts.add(task.Kind);
        planned.FieldTypes = &types;
        return planned;
    }

    std::u16string id1, id2;
    mb::FieldTypeMap types{
        {ftFirstName, ftFirstName}, {ftLastName, ftLastName}, {ftCompany, ftCompany}, {ftCity1, ftCity1}, {ftTitle, ftNamePrefix}};

private:
    std::deque<std::u16string> ids_;
    mb::FieldValueMap change_ = values({{ftCity1, u"Rome"}, {ftFirstName, u"Augusta"}});
    std::vector<mb::PlannedTask> tasks1_, tasks2_;
};

} // namespace mbtest
