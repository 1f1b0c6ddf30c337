// Dialogs in a terminal, over a console of the test's own.
#include "dialogs/terminal/TerminalFrontEnd.h"
#include "console_text.h"
#include "text.h"

#include <deque>
#include <gmock/gmock.h>

namespace {

using testing::HasSubstr;
using testing::Not;

struct Screen {
    std::deque<std::u16string> input;
    std::u16string output;
    std::size_t width = 80;
    bool colour = false;
};

class ScreenConsole final : public platform::Console {
public:
    explicit ScreenConsole(Screen& screen) : screen_(screen) {}
    void write(std::u16string_view text) override { screen_.output += text; }
    bool readLine(std::u16string& line) override
    {
        if (screen_.input.empty()) return false;
        line = screen_.input.front();
        screen_.input.pop_front();
        screen_.output += u'\n'; // a terminal shows what is typed
        return true;
    }
    [[nodiscard]] std::size_t columns() const override { return screen_.width; }
    [[nodiscard]] bool coloured() const override { return screen_.colour; }

private:
    Screen& screen_;
};

// A dialog with one of each kind of control.
class SampleDialog final : public mb::Dialog {
public:
    enum ControlId { idText = 10, idRadio1 = 11, idRadio2 = 12, idBox = 13, idList = 14, idMore = 15, idHelp = 16 };
    std::u16string text = u"What is to be done?";
    std::size_t rowCount = 3;
    std::vector<std::string> acts;
    void prepare() override
    {
        model_.caption = u"Sample";
        model_.help = u"Say what becomes of it.";
        model_.add(idText, mb::ControlKind::Text, text);
        mb::Control& list = model_.add(idList, mb::ControlKind::List);
        list.columns = {{u"Field"}, {u"First"}, {u"Second"}};
        list.selectable = list.sortable = list.checkBoxes = list.draggable = true;
        for (std::size_t i = 0; i < rowCount; ++i) list.rows.push_back({{u"City", value, u"Rome"}});
        model_.add(idRadio1, mb::ControlKind::Radio, u"&One").checked = true;
        model_.add(idRadio2, mb::ControlKind::Radio, u"&Two");
        model_.add(idBox, mb::ControlKind::CheckBox, u"&All").enabled = boxEnabled;
        model_.addButton(mb::idOk, u"OK", mb::ButtonRole::Default);
        model_.addButton(idMore, u"&More");
        model_.addButton(mb::idCancel, u"Cancel", mb::ButtonRole::Cancel);
        model_.addButton(idHelp, u"&Help", mb::ButtonRole::Help);
    }
    std::u16string value = u"Paris";
    bool boxEnabled = true;

private:
    void onPress(int button) override
    {
        acts.push_back("press " + std::to_string(button));
        if (button == mb::idOk || button == mb::idCancel) end(button);
    }
    void onChoose(int radio) override { acts.push_back("choose " + std::to_string(radio)); }
    void onSelect(int, int row) override { acts.push_back("select " + std::to_string(row)); }
    void onClickHeader(int, int column) override { acts.push_back("sort " + std::to_string(column)); }
    void onCheckRow(int, int row, bool on) override { acts.push_back((on ? "check " : "uncheck ") + std::to_string(row)); }
    bool onBeginDrag(int, int row) override
    {
        acts.push_back("drag " + std::to_string(row));
        return row != 2;
    }
    void onDrop(int row) override { acts.push_back("drop " + std::to_string(row)); }
};

class TerminalFrontEndTest : public testing::Test {
protected:
    int show(std::deque<std::u16string> input)
    {
        screen.input = std::move(input);
        mb::TerminalFrontEnd frontEnd([this] { return std::make_unique<ScreenConsole>(screen); });
        dialog.prepare();
        frontEnd.run(dialog, nullptr);
        return dialog.ending().value_or(-1);
    }
    std::string output() const { return platform::utf8(screen.output); }
    std::size_t widestLine() const
    {
        std::size_t widest = 0;
        for (std::size_t at = 0; at < screen.output.size();) {
            const std::size_t end = std::min(screen.output.find(u'\n', at), screen.output.size());
            widest = std::max(widest, platform::columnsOf(screen.output.substr(at, end - at)));
            at = end + 1;
        }
        return widest;
    }
    Screen screen;
    SampleDialog dialog;
};

} // namespace

TEST_F(TerminalFrontEndTest, ADialogIsWrittenAsTextWithNumberedChoices)
{
    EXPECT_EQ(show({u""}), mb::idOk);
    EXPECT_EQ(output(), "\nSample\nWhat is to be done?\n\n"
                        "          Field  First  Second\n"
                        "  1 [ ]   City   Paris  Rome\n"
                        "  2 [ ]   City   Paris  Rome\n"
                        "  3 [ ]   City   Paris  Rome\n\n"
                        "  1 (*) One\n  2 ( ) Two\n  3 [ ] All\n  4 OK\n  5 More\n  6 Cancel\n  7 Help\n"
                        "[Enter: OK, r1: select row 1, x1: check row 1, ?: help] \n");
}

TEST_F(TerminalFrontEndTest, NumbersChooseCheckAndPress)
{
    EXPECT_EQ(show({u"2", u"3", u"5", u"4"}), mb::idOk);
    EXPECT_THAT(dialog.acts, testing::ElementsAre("choose 12", "press 15", "press 1"));
    EXPECT_TRUE(dialog.model().find(SampleDialog::idBox)->checked);
    EXPECT_TRUE(dialog.model().find(SampleDialog::idRadio2)->checked);
}

TEST_F(TerminalFrontEndTest, LettersActOnRowsAndColumns)
{
    EXPECT_EQ(show({u"r2", u"x 3", u"s1", u"m1 2", u"M3 1", u"6"}), mb::idCancel);
    EXPECT_THAT(dialog.acts, testing::ElementsAre("select 1", "check 2", "sort 0", "drag 0", "drop 1", "drag 2", "press 2"));
    EXPECT_THAT(output(), HasSubstr("That row cannot be moved."));
}

TEST_F(TerminalFrontEndTest, WhatIsNoChoiceIsSaidAndDoesNothing)
{
    dialog.boxEnabled = false;
    EXPECT_EQ(show({u"99", u"x", u"r9", u"m1", u"zz", u"1 2", u"99999999999", u"s7", u"\x1b[A", u"3", u""}), mb::idOk);
    EXPECT_THAT(dialog.acts, testing::ElementsAre("press 1"));
    EXPECT_THAT(output(), HasSubstr("? tells what can be typed"));
    EXPECT_THAT(output(), HasSubstr("That cannot be chosen now."));
    EXPECT_THAT(output(), HasSubstr("All (not now)"));
}

TEST_F(TerminalFrontEndTest, TheEndOfTheInputClosesTheDialog)
{
    EXPECT_EQ(show({}), mb::idCancel);
    EXPECT_THAT(dialog.acts, testing::ElementsAre("press 2"));
}

TEST_F(TerminalFrontEndTest, WithoutATerminalEveryDialogIsClosed)
{
    mb::TerminalFrontEnd frontEnd([] { return std::unique_ptr<platform::Console>(); });
    dialog.prepare();
    frontEnd.run(dialog, nullptr);
    EXPECT_EQ(dialog.ending(), mb::idCancel);
}

TEST_F(TerminalFrontEndTest, AQuestionMarkTellsWhatCanBeTyped)
{
    (void)show({u"?", u""});
    EXPECT_THAT(output(), HasSubstr("Say what becomes of it."));
    EXPECT_THAT(output(), HasSubstr("r3 selects row 3."));
    EXPECT_THAT(output(), HasSubstr("Ctrl-D"));
}

TEST_F(TerminalFrontEndTest, TheHelpButtonTellsTheSameAsAQuestionMark)
{
    (void)show({u"?", u""});
    const std::string asked = output().substr(output().find("Say what"));
    screen.output.clear();
    SampleDialog again;
    again.prepare();
    screen.input = {u"7", u""};
    mb::TerminalFrontEnd([this] { return std::make_unique<ScreenConsole>(screen); }).run(again, nullptr);
    EXPECT_EQ(output().substr(output().find("Say what")), asked);
    EXPECT_THAT(again.acts, testing::ElementsAre("press 1")) << "there is no help file to open";
}

TEST_F(TerminalFrontEndTest, NoValueSteersTheTerminal)
{
    dialog.text = u"\x1b]0;title\x07 \u009b2J \u202Eevil";
    dialog.value = u"a\x1b[2J\r\nb\tc\x08";
    (void)show({u""});
    for (const char16_t bad : {u'\x1b', u'\x07', u'\x08', u'\u009b', u'\u202E', u'\r', u'\t'})
        EXPECT_EQ(screen.output.find(bad), std::u16string::npos) << static_cast<unsigned>(bad);
    EXPECT_THAT(output(), HasSubstr("a\uFFFD[2J b c\uFFFD"));
}

TEST_F(TerminalFrontEndTest, ColourIsUsedOnlyWhereItIsWanted)
{
    (void)show({u""});
    EXPECT_THAT(output(), Not(HasSubstr("\x1b")));
    screen.output.clear();
    screen.colour = true;
    SampleDialog again;
    again.prepare();
    mb::TerminalFrontEnd([this] { return std::make_unique<ScreenConsole>(screen); }).run(again, nullptr);
    EXPECT_THAT(output(), HasSubstr("\x1b[1mSample\n\x1b[0m"));
}

TEST_F(TerminalFrontEndTest, EverythingFitsATerminalOf20Columns)
{
    screen.width = 20;
    dialog.value = std::u16string(10000, u'x');
    dialog.text = u"A sentence that is much longer than the terminal is wide, with a wordthatislongerthanthewholeline.";
    (void)show({u"?", u""});
    EXPECT_LE(widestLine(), 21u) << "the prompt may be wider by its blank";
    EXPECT_THAT(output(), HasSubstr("Field: City"));
}

TEST_F(TerminalFrontEndTest, LongNamesAreCutToFitTheTable)
{
    dialog.value = std::u16string(10000, u'漢');
    (void)show({u""});
    EXPECT_LE(widestLine(), 80u);
    EXPECT_THAT(output(), HasSubstr("\u2026"));
    EXPECT_THAT(output(), HasSubstr("Rome"));
}

TEST_F(TerminalFrontEndTest, LongListsAreShownPageByPage)
{
    dialog.rowCount = 1000;
    (void)show({u"+", u"-", u""});
    EXPECT_THAT(output(), HasSubstr("rows 1 to 40 of 1000"));
    EXPECT_THAT(output(), HasSubstr("rows 41 to 80 of 1000"));
}
