// The field mapping dialog in its window: rows are dragged with the mouse and checked with their check boxes.
#include "dialogs/CFieldMappingDlg.h"
#include "RegistryValues.h"
#include "SyncScenario.h"
#include "text.h"
#include "TextMatchers.h"
#include "WindowUser.h"

#include <gmock/gmock.h>

namespace {

using mb::CFieldMappingDlg;
using mb::idCancel;
using mb::idOk;
using mbtest::eventually;
using mbtest::List;
using mbtest::Window;
using mbtest::WindowUser;
using testing::ElementsAre;

class FieldMappingWindowTest : public testing::Test {
protected:
    FieldMappingWindowTest()
    {
        s.one().fields = {{ftFirstName, u"Given"}, {ftCity1, u"Town"}, {ftPhone, u"Phone"}, {ftBirthday, u"Born", 0, 0, dtDateTime}};
        s.two().fields = {{ftFirstName, u"First"}, {ftCity1, u"City"}, {ftFax, u"Fax"}, {ftPager, u"Pager"}, {ftMobile, u"Mobile"}};
    }
    // Opens the dialog of the map and calls `acts`. Returns S_FALSE if the dialog is cancelled.
    HRESULT edit(std::function<void(WindowUser&, const Window&)> acts)
    {
        s.makeMap();
        const WindowUser atTheWindow([&](WindowUser& actor) { acts(actor, actor.window(caption)); });
        return s.maps()->ConfigureFieldMapping(nullptr, s.map(), VARIANT_TRUE);
    }
    static void startDrag(const List& list, int row)
    {
        const POINT from = list.middleOf(row);
        mbtest::moveMouse(from);
        mbtest::holdButton();
        for (int step = 1; step <= 3; ++step) mbtest::moveMouse({from.x + 4 * step, from.y + 2 * step});
    }
    static void drag(const List& list, int row, int target)
    {
        const POINT to = list.middleOf(target);
        startDrag(list, row);
        mbtest::moveMouse(to);
        mbtest::releaseButton();
    }
    // Returns each row as "left|right", with a star in front if the row is checked.
    static std::vector<std::u16string> rows(const List& list)
    {
        std::vector<std::u16string> lines;
        for (int i = 0; i < list.rowCount(); ++i) lines.push_back(list.row(i).at(0) + u"|" + list.row(i).at(1));
        return lines;
    }
    std::u16string caption = u"Edit Field Mapping";
    mbtest::SyncScenario s;
};

} // namespace

TEST_F(FieldMappingWindowTest, FieldsAreListedWithCheckBoxesAndTwoEqualColumns)
{
    EXPECT_EQ(edit([](WindowUser&, const Window& window) {
                  const List list = window.list(CFieldMappingDlg::idList);
                  EXPECT_THAT(rows(list), ElementsAre(u"*Given|First", u"*Town|City", u"Phone|Fax", u"Born|Pager", u"(no field)|Mobile"));
                  EXPECT_THAT(list.headers(), ElementsAre(u"First", u"Second"));
                  RECT client{};
                  GetClientRect(list.window(), &client);
                  const int half = static_cast<int>(client.right) / 2 - 10;
                  EXPECT_THAT(list.widths(), ElementsAre(half, half));
                  EXPECT_TRUE(list.extendedStyle() & LVS_EX_FULLROWSELECT);
                  EXPECT_TRUE(list.extendedStyle() & LVS_EX_CHECKBOXES);
                  EXPECT_THAT(window.tabOrder(),
                              ElementsAre(CFieldMappingDlg::idList, idOk, CFieldMappingDlg::idReset, idCancel, CFieldMappingDlg::idHelp));
                  EXPECT_THAT(window.texts().front(), mbtest::Begins(u"Drag the fields in the left column up or down"));
                  window.keepPicture("field-mapping");
                  window.press(idCancel);
              }),
              S_FALSE);
}

TEST_F(FieldMappingWindowTest, ARowIsDraggedOntoAnother)
{
    EXPECT_EQ(edit([](WindowUser&, const Window& window) {
                  const List list = window.list(CFieldMappingDlg::idList);
                  startDrag(list, 2);
                  mbtest::moveMouse(list.middleOf(4));
                  eventually("the target is lit", [&] { return list.litRow() == 4; });
                  window.keepPicture("field-mapping-drag");
                  mbtest::releaseButton();
                  eventually("the rows have changed", [&] { return list.cell(4, 0) == u"Phone"; });
                  EXPECT_THAT(rows(list), ElementsAre(u"*Given|First", u"*Town|City", u"(no field)|Fax", u"Born|Pager", u"*Phone|Mobile"));
                  EXPECT_EQ(list.litRow(), -1);
                  drag(list, 0, 1);
                  eventually("the rows have changed again", [&] { return list.cell(0, 0) == u"Town"; });
                  EXPECT_THAT(rows(list), testing::IsSupersetOf({u"*Town|First", u"*Given|City"}));
                  window.press(idOk);
              }),
              S_OK);
    const auto pairs = s.create<IFieldMap>(__uuidof(FieldMap));
    GUID fieldMap{};
    LONG updated = 0;
    EXPECT_EQ(s.maps()->GetFieldMap(s.map(), &fieldMap), S_OK);
    EXPECT_EQ(pairs->GetFieldMapUpdated(fieldMap, &updated), S_OK);
    EXPECT_EQ(updated, 1) << "the dragged row is stored";
}

TEST_F(FieldMappingWindowTest, ARowWithoutALeftFieldIsNotDragged)
{
    (void)edit([](WindowUser&, const Window& window) {
        const List list = window.list(CFieldMappingDlg::idList);
        const auto before = rows(list);
        startDrag(list, 4);
        mbtest::moveMouse(list.middleOf(0));
        EXPECT_EQ(list.litRow(), -1);
        mbtest::releaseButton();
        EXPECT_EQ(rows(list), before);
        window.press(idCancel);
    });
}

TEST_F(FieldMappingWindowTest, EscapeCancelsTheDragButNotTheDialog)
{
    (void)edit([](WindowUser&, const Window& window) {
        const List list = window.list(CFieldMappingDlg::idList);
        const auto before = rows(list);
        SetForegroundWindow(window.handle());
        startDrag(list, 2);
        mbtest::moveMouse(list.middleOf(1));
        eventually("the target is lit", [&] { return list.litRow() == 1; });
        mbtest::typeKey(VK_ESCAPE);
        eventually("the drag is over", [&] { return list.litRow() == -1; });
        mbtest::releaseButton();
        EXPECT_EQ(rows(list), before);
        EXPECT_TRUE(IsWindow(window.handle()));
        window.press(idCancel);
    });
}

TEST_F(FieldMappingWindowTest, FieldsOfDifferentTypesAreRefusedWithAMessage)
{
    (void)edit([](WindowUser& actor, const Window& window) {
        const List list = window.list(CFieldMappingDlg::idList);
        const auto before = rows(list);
        drag(list, 2, 3);
        EXPECT_EQ(actor.answerMessage(), u"Cannot map a field of type \"Phone\" (String) to a field of type \"Born\" (Date/Time).");
        EXPECT_EQ(rows(list), before);
        list.clickBox(3);
        EXPECT_EQ(actor.answerMessage(), u"Cannot map a field of type \"Born\" (Date/Time) to a field of type \"Pager\" (String).");
        EXPECT_EQ(rows(list), before);
        window.press(idCancel);
    });
}

TEST_F(FieldMappingWindowTest, OnlyRowsThatCanBeMappedCanBeChecked)
{
    EXPECT_EQ(edit([](WindowUser&, const Window& window) {
                  const List list = window.list(CFieldMappingDlg::idList);
                  list.clickBox(0);
                  eventually("the pair is unmapped", [&] { return !list.isChecked(0); });
                  list.clickBox(2);
                  eventually("the pair is mapped", [&] { return list.isChecked(2); });
                  list.clickRow(4);
                  EXPECT_EQ(list.selection(), 4);
                  list.clickBox(4);
                  eventually("the row without a field is not selected any more", [&] { return list.selection() == -1; });
                  EXPECT_FALSE(list.isChecked(4));
                  window.press(CFieldMappingDlg::idReset);
                  eventually("the default map again", [&] { return list.isChecked(0) && !list.isChecked(2); });
                  window.press(idOk);
              }),
              S_OK);
}

TEST_F(FieldMappingWindowTest, AListThatIsLongerThanItsWindowScrollsDuringADrag)
{
    for (int i = 0; i < 60; ++i)
        s.one().fields.push_back({ftDynamicStart + i, u"Field " + std::u16string(1, static_cast<char16_t>(u'A' + i % 26))});
    (void)edit([](WindowUser&, const Window& window) {
        const List list = window.list(CFieldMappingDlg::idList);
        const RECT box = list.onScreen();
        const int x = static_cast<int>(box.left) + 60;
        startDrag(list, 0);
        for (int i = 0; i < 4; ++i) mbtest::moveMouse({x + i, box.bottom + 10});
        eventually("it scrolls down", [&] { return list.topRow() > 0; });
        const int top = list.topRow();
        EXPECT_LE(top, 5) << "each mouse move scrolls by one row";
        EXPECT_EQ(list.litRow(), -1);
        mbtest::moveMouse({x, box.top - 10});
        eventually("it scrolls up", [&] { return list.topRow() == top - 1; });
        mbtest::releaseButton();
        EXPECT_EQ(list.cell(0, 0), u"Given") << "a drop outside of the list moves nothing";
        window.press(idCancel);
    });
}

TEST_F(FieldMappingWindowTest, ALanguageModuleMayUseARightToLeftLayout)
{
    mbtest::setText(platform::Root::CurrentUser, u"Software\\Zorel\\Mirabook\\Locale", u"DefaultLanguage", u"he");
    mbtest::setText(platform::Root::LocalMachine, u"Software\\Zorel\\MBSyncEng", u"InstallPath", platform::utf16(LANGUAGE_FOLDER));
    caption = u"\u05de\u05d9\u05e4\u05d5\u05d9 \u05e9\u05d3\u05d5\u05ea";
    s.one().fields[2].name = u"\u05d8\u05dc\u05e4\u05d5\u05df (Phone)";
    (void)edit([](WindowUser&, const Window& window) {
        EXPECT_EQ(window.text(idCancel), u"\u05d1\u05d9\u05d8\u05d5\u05dc") << "the captions of the language module are kept";
        EXPECT_NE(window.texts().front().substr(0, 4), u"Drag") << "and so are its texts";
        EXPECT_EQ(window.text(CFieldMappingDlg::idHelp), u"&Help") << "a caption that the language module lacks is English";
        const List list = window.list(CFieldMappingDlg::idList);
        EXPECT_GT(list.middleOf(0).x, (list.onScreen().left + list.onScreen().right) / 2) << "the left column is at the right";
        startDrag(list, 2);
        mbtest::moveMouse(list.middleOf(4));
        eventually("the target is lit", [&] { return list.litRow() == 4; });
        window.keepPicture("field-mapping-right-to-left");
        mbtest::releaseButton();
        eventually("the rows have changed", [&] { return list.isChecked(4); });
        window.press(idCancel);
    });
}
