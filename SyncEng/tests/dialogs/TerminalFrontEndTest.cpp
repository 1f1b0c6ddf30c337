// Dialogs in a terminal, with a fake console.
#include "dialogs/terminal/TerminalFrontEnd.h"
#include "console_text.h"
#include "text.h"
#include "TypedConsole.h"

#include <algorithm>
#include <gmock/gmock.h>

namespace {

using mbtest::Screen;
using mbtest::TypedConsole;
using testing::HasSubstr;
using testing::Not;

// A dialog with a list and answers of each kind.
class SampleDialog final : public mb::Dialog {
public:
    enum ControlId { idList = 14, idMore = 15 };
    std::u16string text = u"What is to be done?", value = u"Paris";
    std::size_t rowCount = 3;
    bool hasRowAnswers = false;
    std::vector<std::string> acts;
    void prepare() override
    {
        mb::Control& list = model_.add(idList, mb::ControlKind::List);
        list.columns = {{u"Field"}, {u"First"}, {u"Second"}};
        list.checkBoxes = hasRowAnswers;
        for (std::size_t i = 0; i < rowCount; ++i) list.rows.push_back({{u"City", value, u"Rome"}});
        list.rows.push_back({{u"Fax", u"", u""}});
        model_.addButton(mb::idOk, u"OK", mb::ButtonRole::Default);
        model_.addButton(idMore, u"&More");
    }
    mb::Question question() override
    {
        mb::Question question;
        question.text = text;
        question.help = u"Say what becomes of it.";
        question.tables.push_back({idList, {}, {u"", u"~/one", u"~/two"}, true, 2});
        question.ask = u"Keep:";
        question.answers.push_back({u'b', u"both", u"nothing is lost", [this] { press(mb::idOk); }});
        question.answers.push_back({u'2', u"~/two", u"it replaces ~/one", [this] { press(idMore); }});
        question.answers.push_back({u'q', u"stop", u"ends the run", [this] { press(mb::idCancel); }});
        if (!hasRowAnswers) return question;
        question.chooseRow = [this](int, int row) {
            acts.push_back("row " + std::to_string(row));
            return row != 1;
        };
        question.rowEffect = u"look at row 3";
        question.rowRefusal = u"That row has nothing to look at.";
        question.moveRow = [this](int, int from, int to) {
            acts.push_back("move " + std::to_string(from) + " " + std::to_string(to));
            return from != 2;
        };
        question.sortBy = [this](int column) { acts.push_back("sort " + std::to_string(column)); };
        return question;
    }

private:
    void onPress(int button) override
    {
        acts.push_back("press " + std::to_string(button));
        if (button == mb::idOk || button == mb::idCancel) end(button);
    }
};

class TerminalFrontEndTest : public testing::Test {
protected:
    int show(std::deque<std::u16string> input)
    {
        screen.input = std::move(input);
        mb::TerminalFrontEnd frontEnd([this] { return std::make_unique<TypedConsole>(screen); });
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

TEST_F(TerminalFrontEndTest, AQuestionHasItsRowsAndALineForEachAnswer)
{
    EXPECT_EQ(show({u""}), mb::idOk);
    EXPECT_EQ(output(), "\nWhat is to be done?\n\n"
                        "        ~/one  ~/two\n"
                        "  City  Paris  Rome\n"
                        "  City  Paris  Rome\n"
                        "  City  Paris  Rome\n\n"
                        "Keep:\n"
                        "  [b] both   nothing is lost (Enter)\n"
                        "  [2] ~/two  it replaces ~/one\n"
                        "  [q] stop   ends the run\n"
                        "[Type b, 2 or q and Enter; Enter alone: b; ?: help] \n")
        << "a row without values is not shown";
}

TEST_F(TerminalFrontEndTest, AnAnswerIsOneKey)
{
    EXPECT_EQ(show({u"2", u"Q"}), mb::idCancel);
    EXPECT_THAT(dialog.acts, testing::ElementsAre("press 15", "press 2"));
    EXPECT_EQ(output().find("What is", output().find("What is") + 1) != std::string::npos, true)
        << "a key that does not end the dialog asks again";
}

TEST_F(TerminalFrontEndTest, NumbersAndLettersActOnRowsAndColumns)
{
    dialog.hasRowAnswers = true;
    EXPECT_EQ(show({u"1", u"2", u"m1 2", u"M 3 1", u"s1", u"q"}), mb::idCancel);
    EXPECT_THAT(dialog.acts, testing::ElementsAre("row 0", "row 1", "move 0 1", "move 2 0", "sort 0", "press 2"));
    EXPECT_THAT(output(), HasSubstr("  1  [ ] City  Paris  Rome\n  2  [ ] City"));
    EXPECT_THAT(output(), HasSubstr("That row has nothing to look at.\n[Type a row's number, b, 2 or q"));
    EXPECT_THAT(output(), HasSubstr("That row cannot be moved.\n"));
}

TEST_F(TerminalFrontEndTest, AnUnknownCommandIsReportedAndDoesNothing)
{
    EXPECT_EQ(show({u"99", u"1", u"x", u"bb", u"r9", u"m1 2", u"s1", u"1 2", u"99999999999", u"\x1b[A", u"b"}), mb::idOk);
    EXPECT_THAT(dialog.acts, testing::ElementsAre("press 1"));
    EXPECT_THAT(output(), HasSubstr("That is no answer here. Type one of the keys in brackets and press Enter"));
}

TEST_F(TerminalFrontEndTest, TheEndOfTheInputClosesTheDialog)
{
    EXPECT_EQ(show({}), mb::idCancel);
    EXPECT_THAT(dialog.acts, testing::ElementsAre("press 2"));
}

TEST_F(TerminalFrontEndTest, TheEndOfTheInputInTheHelpClosesTheDialogToo)
{
    EXPECT_EQ(show({u"?"}), mb::idCancel);
    EXPECT_THAT(dialog.acts, testing::ElementsAre("press 2"));
}

TEST_F(TerminalFrontEndTest, WithoutATerminalEveryDialogIsClosed)
{
    mb::TerminalFrontEnd frontEnd([] { return std::unique_ptr<platform::Console>(); });
    dialog.prepare();
    frontEnd.run(dialog, nullptr);
    EXPECT_EQ(dialog.ending(), mb::idCancel);
}

TEST_F(TerminalFrontEndTest, AQuestionMarkExplainsTheKeysAndAsksAgain)
{
    dialog.hasRowAnswers = true;
    EXPECT_EQ(show({u"?", u"", u"?", u"q"}), mb::idCancel);
    EXPECT_THAT(output(), HasSubstr("Say what becomes of it."));
    EXPECT_THAT(output(), HasSubstr("Type 2 and Enter: ~/two, it replaces ~/one."));
    EXPECT_THAT(output(), HasSubstr("Type 3 and Enter: look at row 3."));
    EXPECT_THAT(output(), HasSubstr("Ctrl-D cancels."));
    EXPECT_THAT(dialog.acts, testing::ElementsAre("press 2")) << "Enter returns to the question and chooses no answer";
}

TEST_F(TerminalFrontEndTest, NoValueControlsTheTerminal)
{
    dialog.text = u"\x1b]0;title\x07 \u009b2J \u202Eevil";
    dialog.value = u"a\x1b[2J\r\nb\tc\x08";
    (void)show({u""});
    for (const char16_t bad : {u'\x1b', u'\x07', u'\x08', u'\u009b', u'\u202E', u'\r', u'\t'})
        EXPECT_EQ(screen.output.find(bad), std::u16string::npos) << static_cast<unsigned>(bad);
    EXPECT_THAT(output(), HasSubstr("a\uFFFD[2J b c\uFFFD"));
}

TEST_F(TerminalFrontEndTest, ColourIsUsedOnlyIfTheConsoleHasIt)
{
    (void)show({u""});
    EXPECT_THAT(output(), Not(HasSubstr("\x1b")));
    screen.output.clear();
    screen.colour = true;
    SampleDialog again;
    again.prepare();
    mb::TerminalFrontEnd([this] { return std::make_unique<TypedConsole>(screen); }).run(again, nullptr);
    EXPECT_THAT(output(), HasSubstr("\x1b[1mWhat is to be done?\x1b[0m\n"));
    EXPECT_EQ(output().find("\x1b[1m", output().find("\x1b[1m") + 1), std::string::npos) << "only the question is bold";
}

TEST_F(TerminalFrontEndTest, EverythingFitsATerminalOf20Columns)
{
    screen.width = 20;
    dialog.value = std::u16string(200, u'x');
    dialog.text = u"A sentence that is much longer than the terminal is wide, with a wordthatislongerthanthewholeline.";
    (void)show({u"?", u""});
    EXPECT_LE(widestLine(), 20u) << output();
    EXPECT_THAT(output(), HasSubstr("~/two: Rome"));
}

TEST_F(TerminalFrontEndTest, ALongValueTakesTwoLinesAndIsThenCut)
{
    dialog.value = std::u16string(60, u'a') + u" " + std::u16string(10000, u'漢');
    (void)show({u""});
    EXPECT_LE(widestLine(), 80u);
    EXPECT_THAT(output(), HasSubstr(std::string(60, 'a') + "       Rome\n        \u6F22"));
    EXPECT_THAT(output(), HasSubstr("\u2026\n"));
}

TEST_F(TerminalFrontEndTest, LongListsAreShownInPagesWithTheWholeQuestion)
{
    dialog.rowCount = 100;
    EXPECT_EQ(show({u"", u"+", u"-", u"2", u"q"}), mb::idCancel);
    EXPECT_THAT(dialog.acts, testing::ElementsAre("press 15", "press 2")) << "Enter turned the page";
    EXPECT_THAT(output(), HasSubstr("Rows 1 to 13 of 100; + and - turn the page."));
    EXPECT_THAT(output(), HasSubstr("Enter alone: next page"));
    EXPECT_THAT(output(), HasSubstr("Rows 14 to 26 of 100"));
    EXPECT_THAT(output(), HasSubstr("Rows 27 to 39 of 100"));
}

TEST_F(TerminalFrontEndTest, OnlyTheLastPageSaysThatEnterChoosesTheFirstAnswer)
{
    dialog.rowCount = 20;
    EXPECT_EQ(show({u"", u"q"}), mb::idCancel);
    const std::size_t second = output().find("Rows 14 to 20 of 20");
    ASSERT_NE(second, std::string::npos) << output();
    EXPECT_THAT(output().substr(0, second), AllOf(HasSubstr("[b] both   nothing is lost\n"), Not(HasSubstr("(Enter)"))));
    EXPECT_THAT(output().substr(second), HasSubstr("[b] both   nothing is lost (Enter)\n"));
}

TEST_F(TerminalFrontEndTest, NoPageIsHigherThanTheTerminal)
{
    for (const std::size_t height : {14u, 24u, 50u}) {
        for (const std::size_t rows : {0u, 1u, 3u, 12u, 13u, 14u, 15u, 16u, 40u, 200u}) {
            SampleDialog asked;
            asked.rowCount = rows;
            asked.value = std::u16string(70, u'v');
            asked.prepare();
            screen = {std::deque<std::u16string>(100, u"+"), {}, 80, height};
            mb::TerminalFrontEnd([this] { return std::make_unique<TypedConsole>(screen); }).run(asked, nullptr);
            const std::string all = output();
            for (std::size_t at = all.find("\nWhat is"); at != std::string::npos;) {
                const std::size_t next = all.find("\nWhat is", at + 1), prompt = all.find("help] ", at);
                EXPECT_LE(
                    std::count(all.begin() + static_cast<std::ptrdiff_t>(at), all.begin() + static_cast<std::ptrdiff_t>(prompt), '\n'),
                    static_cast<std::ptrdiff_t>(height) - 1)
                    << rows << " rows on " << height << " lines\n"
                    << all.substr(at, prompt - at);
                at = next;
            }
        }
    }
}

TEST_F(TerminalFrontEndTest, ChoosingARowOfAnotherPageShowsThatPage)
{
    dialog.hasRowAnswers = true;
    dialog.rowCount = 60;
    EXPECT_EQ(show({u"55", u"q"}), mb::idCancel);
    EXPECT_THAT(dialog.acts, testing::ElementsAre("row 54", "press 2"));
    EXPECT_THAT(output(), HasSubstr("Rows 1 to 13 of 60"));
    EXPECT_THAT(output(), HasSubstr("Rows 53 to 60 of 60"));
}
