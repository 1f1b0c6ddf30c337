// Merging in the terminal, on a console that the test controls.
#include "terminal/AskForFields.h"
#include "TypedConsole.h"
#include <algorithm>
#include <gmock/gmock.h>

namespace {

using mb::merge::AskForFields;
using mb::merge::MergeField;
using mb::merge::MergeQuestion;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

class AskForFieldsTest : public testing::Test {
protected:
    bool ask(std::deque<std::u16string> typed)
    {
        mbtest::Screen screen{std::move(typed), {}};
        mbtest::TypedConsole console(screen);
        const bool done = AskForFields(console, question);
        output = screen.text();
        return done;
    }
    std::vector<std::u16string> merged() const
    {
        std::vector<std::u16string> values;
        for (const MergeField& field : question.fields) values.push_back(field.merged);
        return values;
    }
    MergeQuestion question{nullptr,
                           u"Resolve Conflict Manually",
                           u"Mirabook",
                           u"vCard",
                           {{u"First name", u"Ada", u"Ada", {}},
                            {u"Title", u"Boss", u"Chief", {}},
                            {u"City", u"Paris", u"Rome", {}},
                            {u"Fax", u"", u"12", {}}}};
    std::string output;
};

} // namespace

TEST_F(AskForFieldsTest, AQuestionShowsBothValuesAndTheMeaningOfEachKey)
{
    EXPECT_FALSE(ask({u"q"}));
    EXPECT_EQ(output, "\nTitle (field 1 of 3)\n"
                      "  [1] Mirabook          Boss (Enter)\n"
                      "  [2] vCard             Chief\n"
                      "  [t] type              a value of your own, or none\n"
                      "  [f] first for all     this and all fields after it from Mirabook\n"
                      "  [s] second for all    this and all fields after it from vCard\n"
                      "  [q] give up           back to the previous question, with nothing changed\n"
                      "[Type 1, 2, t, f, s or q and Enter; Enter alone: 1; ?: help] \n");
}

TEST_F(AskForFieldsTest, EachFieldTakesTheValueOfEitherStoreOrATypedOne)
{
    EXPECT_TRUE(ask({u"2", u"t", u"Oslo", u"1"}));
    EXPECT_THAT(merged(), ElementsAre(u"Ada", u"Chief", u"Oslo", u""));
    EXPECT_THAT(output, Not(HasSubstr("First name"))) << "equal values are not asked about";
}

TEST_F(AskForFieldsTest, EnterAloneTakesTheFirstValue)
{
    EXPECT_TRUE(ask({u"", u"", u""}));
    EXPECT_THAT(merged(), ElementsAre(u"Ada", u"Boss", u"Paris", u""));
}

TEST_F(AskForFieldsTest, AllFurtherFieldsCanBeTakenFromOneStore)
{
    EXPECT_TRUE(ask({u"1", u"S"}));
    EXPECT_THAT(merged(), ElementsAre(u"Ada", u"Boss", u"Rome", u"12"));
    EXPECT_TRUE(ask({u"2", u"f"}));
    EXPECT_THAT(merged(), ElementsAre(u"Ada", u"Chief", u"Paris", u""));
}

TEST_F(AskForFieldsTest, TheLastFieldOffersNoAnswerForFurtherFields)
{
    EXPECT_FALSE(ask({u"", u"", u"f"})) << "the input ends after an invalid answer";
    EXPECT_THAT(output.substr(output.find("Fax")), Not(HasSubstr("for all")));
    EXPECT_THAT(output, HasSubstr("That is no answer here."));
}

TEST_F(AskForFieldsTest, TheEndOfTheInputGivesUpEvenWhileAValueIsTyped)
{
    EXPECT_FALSE(ask({}));
    EXPECT_FALSE(ask({u"1", u"2"}));
    EXPECT_FALSE(ask({u"t"}));
}

TEST_F(AskForFieldsTest, AFieldMayBeTypedEmpty)
{
    EXPECT_TRUE(ask({u"t", u"", u"f"}));
    EXPECT_EQ(merged()[1], u"");
}

TEST_F(AskForFieldsTest, AQuestionOfLongValuesFitsTheTerminal)
{
    question.fields = {{u"Notes", std::u16string(5000, u'a'), std::u16string(300, u'b') + u" end", {}}, {u"City", u"a", u"b", {}}};
    EXPECT_FALSE(ask({}));
    EXPECT_LE(std::ranges::count(output, '\n'), 24) << output;
    EXPECT_THAT(output, HasSubstr(" end")) << "a value that fits is shown whole";
    EXPECT_THAT(output, HasSubstr("\u2026")) << "a cut value is marked";
}

TEST_F(AskForFieldsTest, AValueThatIsCutCanBeViewedWholeBeforeTheChoice)
{
    std::u16string notes;
    for (int line = 1; line <= 100; ++line) notes += u"line " + std::u16string(1, char16_t(u'a' + line % 26)) + u" of the notes\r\n";
    question.fields = {{u"Notes", notes + u"the very end", u"short", {}}, {u"City", u"a", u"b", {}}};
    EXPECT_FALSE(ask({u"q"}));
    EXPECT_THAT(output, HasSubstr("  [v] view              both values whole"));
    EXPECT_THAT(output, HasSubstr("[Type 1, 2, t, v, f, s or q and Enter; Enter alone: 1; ?: help] "));
    EXPECT_THAT(output, Not(HasSubstr("the very end")));
    EXPECT_FALSE(ask({u"v", u"", u"", u"", u"", u"", u"2", u"q"})) << "five pages, one field, and given up at the next";
    EXPECT_EQ(merged()[0], u"short");
    const std::size_t end = output.find("the very end\n");
    ASSERT_NE(end, output.npos) << output;
    EXPECT_THAT(output.substr(end), HasSubstr("\nvCard:\n  short\n")) << "both values";
    EXPECT_THAT(output.substr(end), HasSubstr("City (field 2 of 2)")) << "the question came again, and was answered";
    for (std::size_t at = 0, prompt; (prompt = output.find('[', at)) != output.npos; at = output.find('\n', prompt) + 1)
        if (output.compare(prompt, 12, "[Enter alone") == 0) {
            const std::string page = output.substr(at, prompt - at);
            EXPECT_LE(std::ranges::count(page, '\n'), 23) << "a page fits the terminal: " << page;
        }
}

TEST_F(AskForFieldsTest, AViewCanBeLeftAtOnce)
{
    question.fields = {{u"Notes", std::u16string(9000, u'a'), u"short", {}}};
    EXPECT_TRUE(ask({u"v", u"q", u"2"}));
    EXPECT_THAT(merged(), ElementsAre(u"short"));
    EXPECT_FALSE(ask({u"v"})) << "the end of the input gives up here too";
}

TEST_F(AskForFieldsTest, NoViewIsOfferedIfNothingIsCut)
{
    EXPECT_FALSE(ask({u"v", u"q"}));
    EXPECT_THAT(output, Not(HasSubstr("[v]")));
    EXPECT_THAT(output, HasSubstr("That is no answer here."));
}

TEST_F(AskForFieldsTest, LongNamesThatDifferAtTheirEndAreShownWhole)
{
    question.name1 = u"Contacts of the choir and its friends/2023";
    question.name2 = u"Contacts of the choir and its friends/2024";
    EXPECT_FALSE(ask({u"q"}));
    EXPECT_THAT(output, HasSubstr("  [1] Contacts of the choir and its friends/2023\n                        Boss (Enter)\n"));
    EXPECT_THAT(output, HasSubstr("  [2] Contacts of the choir and its friends/2024\n"));
    EXPECT_THAT(output, HasSubstr("  [s] second for all    this and all fields after it from [2]\n"));
}

TEST_F(AskForFieldsTest, NoValueControlsTheTerminal)
{
    question.fields = {{u"a\x1b[2J", u"b\x1b]0;x\x07", u"c\r\nd", {}}};
    EXPECT_TRUE(ask({u"t", u"e\x1b[A"}));
    EXPECT_THAT(output, Not(HasSubstr("\x1b")));
    EXPECT_EQ(merged()[0], u"e\uFFFD[A");
}
