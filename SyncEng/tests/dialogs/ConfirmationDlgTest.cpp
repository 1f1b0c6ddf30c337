#include "dialogs/CChangeDetailsDlg.h"
#include "dialogs/CConfirmationDlg.h"
#include "dialogs/CDetailsDlg.h"
#include "DialogsFixture.h"

namespace {

using mb::CChangeDetailsDlg;
using mb::CConfirmationDlg;
using mb::CDetailsDlg;
using mb::idCancel;
using mb::idOk;
using mb::idReSync;
using mb::PlannedTask;
using mbtest::Holds;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

class ConfirmationDlgTest : public mbtest::DialogsTest {
protected:
    ConfirmationDlgTest()
    {
        changes.side1 = {translator1.get(), mbtest::fakeClass1, {}, u"left.db"};
        changes.side2 = {translator2.get(), mbtest::fakeClass2, {}, u"right.db"};
        changes.FieldTypes = &types;
        changes.UnverifiedRecords = &unverified;
    }
    // Adds a task of a record of the other side. A deletion is written to the record's own side.
    void add(int side, mb::PlannedKind kind, std::u16string record, std::u16string mapped = {}, mb::FieldValueMap fields = {})
    {
        Planned& planned = store_.emplace_back(Planned{std::move(record), std::move(mapped), std::move(fields)});
        if (kind == mb::PlannedNew && !planned.mapped.empty()) kind = mb::PlannedChange;
        const bool toOne = (side == 1) != (kind == mb::PlannedDelete);
        (toOne ? tasks1_ : tasks2_).push_back({kind, &planned.record, planned.mapped.empty() ? nullptr : &planned.mapped, &planned.fields});
        (toOne ? changes.side1 : changes.side2).counts.add(kind);
        changes.side1.tasks = tasks1_;
        changes.side2.tasks = tasks2_;
    }
    std::u16string summary() { return mb::SummaryText(changes); }
    std::u16string record(mbtest::FakeStore& store, const char16_t* first, const char16_t* last, const char16_t* company = u"")
    {
        return store.add({{ftFirstName, first}, {ftLastName, last}, {ftCompany, company}});
    }

    mb::PlannedChanges changes;
    mb::FieldTypeMap types;
    std::vector<std::u16string> unverified;

private:
    struct Planned {
        std::u16string record, mapped;
        mb::FieldValueMap fields;
    };
    std::deque<Planned> store_;
    std::vector<PlannedTask> tasks1_, tasks2_;
};

} // namespace

TEST_F(ConfirmationDlgTest, TheSummaryShowsBothStoresAndBothDirections)
{
    add(1, mb::PlannedNew, u"B1");
    add(1, mb::PlannedChange, u"B2", u"A2");
    add(2, mb::PlannedNew, u"A3");
    add(2, mb::PlannedNew, u"A4");
    add(2, mb::PlannedDelete, u"A5"); // deletes a record of side 1
    add(1, mb::PlannedMatch, u"B6", u"A6");
    EXPECT_EQ(summary(), u"Store:: left.db\r\nStore:: right.db\r\n\r\n"
                         u"The following changes from Second will be applied to First:\r\n\t1 Addition\r\n\t1 Change\r\n\t1 Deletion\r\n"
                         u"\r\n\r\n"
                         u"The following changes from First will be applied to Second:\r\n\t2 Additions\r\n");
}

TEST_F(ConfirmationDlgTest, SeveralTasksOfAKindUseThePlural)
{
    for (const char16_t* id : {u"a", u"b"}) {
        add(1, mb::PlannedNew, id);
        add(1, mb::PlannedNew, id, u"m");
        add(2, mb::PlannedDelete, id);
    }
    EXPECT_THAT(summary(), Holds(u"\t2 Additions\r\n\t2 Changes\r\n\t2 Deletions\r\n"));
}

TEST_F(ConfirmationDlgTest, WithNothingToConfirmItIsNotShown)
{
    add(1, mb::PlannedNew, u"B1");
    add(2, mb::PlannedDelete, u"A1");
    unverified = {u"x"};
    changes.ConfirmAdds = changes.ConfirmUpdates = changes.ConfirmDeletes = false;
    CConfirmationDlg dialog(changes);
    EXPECT_EQ(mb::ShowDialog(dialog, nullptr), idOk);
    EXPECT_THAT(user.captions, IsEmpty());
}

TEST_F(ConfirmationDlgTest, AdditionsThatAreNotConfirmedAreLeftOutOfTheSummary)
{
    add(1, mb::PlannedNew, u"B1");
    add(1, mb::PlannedChange, u"B2", u"A2");
    unverified = {u"x"};
    changes.ConfirmAdds = false;
    EXPECT_THAT(summary(), Not(Holds(u"Addition")));
    EXPECT_THAT(summary(), Holds(u"1 Change"));
}

TEST_F(ConfirmationDlgTest, ChangesAndDeletionsThatAreNotConfirmedAreLeftOutToo)
{
    add(1, mb::PlannedNew, u"B1");
    add(1, mb::PlannedChange, u"B2", u"A2");
    add(2, mb::PlannedDelete, u"A3");
    changes.ConfirmUpdates = false;
    EXPECT_THAT(summary(), Holds(u"\t1 Addition\r\n\t1 Deletion\r\n"));
    changes.ConfirmUpdates = true;
    changes.ConfirmDeletes = false;
    EXPECT_THAT(summary(), Holds(u"\t1 Addition\r\n\t1 Change\r\n"));
    EXPECT_THAT(summary(), Not(Holds(u"Deletion")));
}

TEST_F(ConfirmationDlgTest, UnverifiedRecordsAreCounted)
{
    unverified = {u"x"};
    EXPECT_THAT(summary(),
                Holds(u"The following changes from First will NOT be applied to Second:\r\n\t1 Addition ignored because the record is not "
                      u"verified"));
    unverified.push_back(u"y");
    EXPECT_THAT(summary(), Holds(u"\t2 Additions ignored because the records are not verified"));
}

TEST_F(ConfirmationDlgTest, TheBlocksAreInOrderWithTheirLineEnds)
{
    const std::u16string stores = u"Store:: left.db\r\nStore:: right.db\r\n\r\n",
                         first = u"The following changes from Second will be applied to First:\r\n\t1 Addition\r\n",
                         ignored = u"The following changes from First will NOT be applied to Second:\r\n\t1 Addition ignored because the "
                                   u"record is not verified",
                         second = u"The following changes from First will be applied to Second:\r\n\t1 Addition\r\n";
    unverified = {u"x"};
    EXPECT_EQ(summary(), stores + ignored);
    add(2, mb::PlannedNew, u"A1");
    EXPECT_EQ(summary(), stores + ignored + u"\r\n\r\n" + second);
    add(1, mb::PlannedNew, u"B1");
    EXPECT_EQ(summary(), stores + first + u"\r\n" + ignored + u"\r\n\r\n" + second);
    unverified.clear();
    EXPECT_EQ(summary(), stores + first + u"\r\n\r\n" + second);
}

TEST_F(ConfirmationDlgTest, ATranslatorWithoutInfoIsNamedByItsStore)
{
    add(1, mb::PlannedNew, u"B1");
    s.one().options.info = s.one().options.infoEx = false;
    EXPECT_THAT(summary(), Holds(u" file:: left.db\r\n"));
}

TEST_F(ConfirmationDlgTest, ItsButtonsEndItAndReSyncOnlyIfAllowed)
{
    add(1, mb::PlannedNew, u"B1");
    user.press(idReSync);
    CConfirmationDlg without(changes);
    EXPECT_EQ(mb::ShowDialog(without, nullptr), idCancel) << "Re-Sync is disabled, the window is closed";
    EXPECT_FALSE(control(without, idReSync).enabled);
    changes.AllowReSync = true;
    for (const int button : {idOk, idCancel, idReSync}) {
        user.press(button);
        CConfirmationDlg dialog(changes);
        EXPECT_EQ(mb::ShowDialog(dialog, nullptr), button);
        EXPECT_EQ(dialog.model().caption, u"Confirm Changes");
        EXPECT_EQ(dialog.model().focus, 1);
        EXPECT_THAT(control(dialog, CConfirmationDlg::idInstructions).text, mbtest::Begins(u"Review the summary of changes below."));
        EXPECT_EQ(control(dialog, CConfirmationDlg::idSummary).text, summary());
    }
}

TEST_F(ConfirmationDlgTest, ViewDetailsOpensTheDetailsAndTheSummaryStays)
{
    add(1, mb::PlannedNew, u"B1");
    user.script.emplace_back([](mb::Dialog& dialog) {
        dialog.press(CConfirmationDlg::idViewDetails);
        EXPECT_EQ(dialog.ending(), std::nullopt);
        dialog.press(idOk);
    });
    CConfirmationDlg dialog(changes);
    EXPECT_EQ(mb::ShowDialog(dialog, nullptr), idOk);
    EXPECT_THAT(user.captions, ElementsAre(u"Confirm Changes", u"Details"));
}

TEST_F(ConfirmationDlgTest, TheDetailsListEachContactOnTheSideThatIsWritten)
{
    add(1, mb::PlannedNew, record(s.two(), u"Grace", u"Hopper", u"Navy"));
    add(2, mb::PlannedChange, record(s.one(), u"Ada", u"Lovelace"), record(s.two(), u"Ada", u"L"));
    add(2, mb::PlannedDelete, record(s.one(), u"Gone", u"One"));
    add(2, mb::PlannedMatch, record(s.one(), u"Not", u"Shown"), u"B9");
    unverified = {record(s.one(), u"Un", u"Verified")};
    CDetailsDlg dialog(changes);
    dialog.prepare();
    EXPECT_EQ(control(dialog, CDetailsDlg::idTitle1).text, u"The following changes will be applied to First");
    EXPECT_EQ(control(dialog, CDetailsDlg::idTitle2).text, u"The following changes will be applied to Second");
    EXPECT_THAT(column(dialog, CDetailsDlg::idList1, 0), ElementsAre(u"Add", u"Delete", u"No Action (Unverified)"));
    EXPECT_THAT(column(dialog, CDetailsDlg::idList1, 1), ElementsAre(u"Grace", u"Gone", u"Un"));
    EXPECT_THAT(column(dialog, CDetailsDlg::idList1, 3), ElementsAre(u"Navy", u"", u""));
    EXPECT_THAT(column(dialog, CDetailsDlg::idList2, 0), ElementsAre(u"Change"));
    EXPECT_EQ(control(dialog, CDetailsDlg::idList1).sortColumn, 0);
    EXPECT_TRUE(control(dialog, CDetailsDlg::idList1).sortAscending);
    EXPECT_FALSE(control(dialog, CDetailsDlg::idViewChanges).enabled);
    EXPECT_FALSE(control(dialog, idCancel).visible);
}

TEST_F(ConfirmationDlgTest, ACancelFromAStoreThatTheDetailsReadEndsTheConfirmationToo)
{
    add(2, mb::PlannedNew, record(s.one(), u"Ada", u"Lovelace"));
    CConfirmationDlg dialog(changes);
    dialog.prepare();
    s.log().failNext("1 BeginReadRecord", E_ABORT);
    dialog.press(CConfirmationDlg::idViewDetails);
    EXPECT_TRUE(dialog.cancelledByTranslator());
    EXPECT_EQ(dialog.ending(), idCancel);
}

TEST_F(ConfirmationDlgTest, TwoClicksOnAHeaderSortUpAndThenDown)
{
    for (const char16_t* last : {u"beta", u"Alpha", u"alpha", u"Gamma"}) add(1, mb::PlannedNew, record(s.two(), u"x", last));
    CDetailsDlg dialog(changes);
    dialog.prepare();
    dialog.clickHeader(CDetailsDlg::idList1, 2);
    EXPECT_THAT(column(dialog, CDetailsDlg::idList1, 2), ElementsAre(u"Alpha", u"alpha", u"beta", u"Gamma"));
    EXPECT_EQ(control(dialog, CDetailsDlg::idList1).sortColumn, 2);
    dialog.clickHeader(CDetailsDlg::idList1, 2);
    EXPECT_THAT(column(dialog, CDetailsDlg::idList1, 2), ElementsAre(u"Gamma", u"beta", u"alpha", u"Alpha"));
    EXPECT_FALSE(control(dialog, CDetailsDlg::idList1).sortAscending);
    dialog.clickHeader(CDetailsDlg::idList1, 1);
    EXPECT_TRUE(control(dialog, CDetailsDlg::idList1).sortAscending) << "another column begins ascending";
    EXPECT_EQ(control(dialog, CDetailsDlg::idList2).sortColumn, 0) << "each list is sorted separately";
}

TEST_F(ConfirmationDlgTest, AnUnverifiedRecordOfEitherSideIsListedWithItsName)
{
    unverified = {record(s.two(), u"Un", u"Verified")};
    CDetailsDlg dialog(changes);
    dialog.prepare();
    EXPECT_THAT(column(dialog, CDetailsDlg::idList1, 1), ElementsAre(u"Un"));
    EXPECT_THAT(control(dialog, CDetailsDlg::idList2).rows, IsEmpty());
}

TEST_F(ConfirmationDlgTest, TheSelectionStaysOnItsContactWhenTheListIsSorted)
{
    for (const char16_t* last : {u"b", u"c", u"a"}) add(1, mb::PlannedNew, record(s.two(), u"x", last));
    CDetailsDlg dialog(changes);
    dialog.prepare();
    dialog.select(CDetailsDlg::idList1, 1);
    dialog.clickHeader(CDetailsDlg::idList1, 2);
    ASSERT_EQ(control(dialog, CDetailsDlg::idList1).selection, 2);
    EXPECT_EQ(control(dialog, CDetailsDlg::idList1).rows[2].cells[2], u"c");
}

TEST_F(ConfirmationDlgTest, OnlyAChangeCanBeViewedAndOnlyOneListHasASelection)
{
    add(1, mb::PlannedNew, record(s.two(), u"New", u"One"));
    add(2, mb::PlannedDelete, record(s.one(), u"Gone", u"One"));
    add(2, mb::PlannedChange, record(s.one(), u"Ada", u"L"), record(s.two(), u"Ada", u"L"));
    CDetailsDlg dialog(changes);
    dialog.prepare();
    dialog.select(CDetailsDlg::idList1, 0);
    EXPECT_FALSE(control(dialog, CDetailsDlg::idViewChanges).enabled) << "an addition";
    dialog.select(CDetailsDlg::idList1, 1);
    EXPECT_FALSE(control(dialog, CDetailsDlg::idViewChanges).enabled) << "a deletion";
    dialog.select(CDetailsDlg::idList2, 0);
    EXPECT_TRUE(control(dialog, CDetailsDlg::idViewChanges).enabled);
    EXPECT_EQ(control(dialog, CDetailsDlg::idList1).selection, -1);
    dialog.select(CDetailsDlg::idList1, 0);
    EXPECT_EQ(control(dialog, CDetailsDlg::idList2).selection, -1);
    EXPECT_FALSE(control(dialog, CDetailsDlg::idViewChanges).enabled);
}

TEST_F(ConfirmationDlgTest, TheRowsOfATranslatorWithoutFieldsAreLeftOut)
{
    add(1, mb::PlannedNew, record(s.two(), u"New", u"One"));
    add(2, mb::PlannedNew, record(s.one(), u"Other", u"One"));
    s.two().options.fieldList = false;
    CDetailsDlg dialog(changes);
    dialog.prepare();
    EXPECT_THAT(control(dialog, CDetailsDlg::idList1).rows, IsEmpty());
    EXPECT_EQ(control(dialog, CDetailsDlg::idList2).rows.size(), 1u);
}

TEST_F(ConfirmationDlgTest, AChangeShowsTheFieldsAndValuesOfTheSideThatIsWritten)
{
    types = {{ftCity1, ftState1}};
    const auto a = s.one().add({{ftFirstName, u"Ada"}, {ftLastName, u"L"}, {ftCity1, u"old one"}});
    const auto b = s.two().add({{ftFirstName, u"Ada"}, {ftLastName, u"L"}, {ftState1, u"old two"}});
    add(2, mb::PlannedChange, a, b, values({{ftCity1, u"new two"}}));
    add(1, mb::PlannedChange, b, a, values({{ftState1, u"new one"}}));
    CDetailsDlg dialog(changes);
    dialog.prepare();
    std::vector<std::vector<std::u16string>> rows;
    for (const int list : {CDetailsDlg::idList2, CDetailsDlg::idList1}) {
        user.script.emplace_back([&](mb::Dialog& inner) {
            EXPECT_EQ(inner.model().caption, u"Contact Changes");
            rows.push_back(control(inner, CChangeDetailsDlg::idList).rows.at(0).cells);
        });
        dialog.select(list, 0);
        dialog.press(CDetailsDlg::idViewChanges);
    }
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_THAT(rows[0], ElementsAre(u"State", u"old two", u"new two"));
    EXPECT_THAT(rows[1], ElementsAre(u"City", u"old one", u"new one"));
}

namespace {

class ChangeDetailsTest : public mbtest::DialogsTest {
protected:
    std::vector<mb::ListRow> rows(bool syncImages = true)
    {
        CChangeDetailsDlg dialog({translator2.get(), mbtest::fakeClass2, id, &fields, nullptr, syncImages});
        dialog.prepare();
        message = control(dialog, CChangeDetailsDlg::idMessage).text;
        return control(dialog, CChangeDetailsDlg::idList).rows;
    }
    std::u16string id = s.two().add({{ftFirstName, u"Ada"}, {ftLastName, u"Lovelace"}, {ftCity1, u"London"}}), message;
    mb::FieldValueMap fields;
};

} // namespace

TEST_F(ChangeDetailsTest, EachFieldIsShownWithBothValues)
{
    fields = values({{ftCity1, u"a\r\nb"}, {ftNotes, std::u16string(101, u'n')}});
    const auto shown = rows();
    EXPECT_EQ(message, u"The following changes will be applied to the contact \"Ada Lovelace\" in Second.");
    ASSERT_EQ(shown.size(), 2u);
    EXPECT_THAT(shown[0].cells, ElementsAre(u"City", u"London", u"a b"));
    EXPECT_THAT(shown[1].cells, ElementsAre(u"Notes", u"", std::u16string(100, u'n') + u"..."));
}

TEST_F(ChangeDetailsTest, DetailsAreShownLineByLine)
{
    fields = values({{ftCity1, u"Paris"}, {ftDetails, u"-NOTE;LANGUAGE=de:a\n+item1.URL:b\n+@20;TYPE=cell\n-BDAY"}});
    const auto shown = rows();
    ASSERT_EQ(shown.size(), 5u);
    EXPECT_THAT(shown[0].cells, ElementsAre(u"City", u"London", u"Paris"));
    EXPECT_THAT(shown[1].cells, ElementsAre(u"NOTE", u"-NOTE;LANGUAGE=de:a", u""));
    EXPECT_THAT(shown[2].cells, ElementsAre(u"URL", u"", u"+item1.URL:b"));
    EXPECT_THAT(shown[3].cells, ElementsAre(u"Phone", u"", u"+@20;TYPE=cell"));
    EXPECT_THAT(shown[4].cells, ElementsAre(u"BDAY", u"-BDAY", u""));
}

TEST_F(ChangeDetailsTest, ImagesAreShownByPresenceAndSizeIfTheyAreSynchronised)
{
    fields = values({{ftImage1, u"1"}, {ftImageSize1, u"77"}});
    EXPECT_TRUE(rows().empty()) << "the store has no images";
    s.two().addImageFields();
    auto shown = rows();
    ASSERT_EQ(shown.size(), 2u);
    EXPECT_THAT(shown[0].cells, ElementsAre(u"Front image", u"0", u"1"));
    EXPECT_THAT(shown[1].cells, ElementsAre(u"Image Size (front)", u"0", u"77"));
    s.two().set(id, ftImage1, u"picture");
    shown = rows();
    ASSERT_EQ(shown.size(), 1u) << "the image already exists: only its size changes";
    EXPECT_EQ(shown[0].cells[1], u"14");
    EXPECT_EQ(rows(false).size(), 1u);
}

TEST_F(ChangeDetailsTest, AFieldThatCannotBeReadIsLeftOutAndAMissingRecordLeavesTheListEmpty)
{
    fields = values({{ftCity1, u"x"}, {ftNotes, u"y"}});
    s.log().failOn("ReadField", 3, E_FAIL);
    EXPECT_EQ(rows().size(), 1u);
    s.two().remove(id);
    EXPECT_TRUE(rows().empty());
}
