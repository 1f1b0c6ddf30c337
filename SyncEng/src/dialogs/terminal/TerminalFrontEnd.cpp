#include "dialogs/terminal/TerminalFrontEnd.h"

#include "console_text.h"
#include "dialogs/terminal/QuestionPages.h"
#include "dialogs/terminal/TypedCommand.h"
#include "text.h"
#include <algorithm>
#include <optional>

namespace mb {
namespace {

class Conversation {
public:
    Conversation(Dialog& dialog, platform::Console& console) : dialog_(dialog), console_(console) {}

    void run()
    {
        while (!dialog_.ending()) {
            if (redraw_) draw();
            console_.write(prompt());
            std::u16string line;
            if (!console_.readLine(line)) {
                console_.write(u"\n");
                return dialog_.close();
            }
            take(line);
        }
    }

private:
    void say(std::u16string_view text) { console_.write(platform::wrapped(text, console_.columns())); }

    void draw()
    {
        redraw_ = false;
        question_ = dialog_.question();
        pages_.emplace(dialog_.model(), question_, console_.columns(), console_.lines());
        page_ = std::min(page_, pages_->count() - 1);
        const TextLines& lines = pages_->page(page_);
        std::u16string text;
        for (std::size_t i = 0; i < lines.size(); ++i) {
            const bool bold = i >= 1 && i <= pages_->textLines() && console_.coloured();
            text += (bold ? u"\x1b[1m" + lines[i] + u"\x1b[0m" : lines[i]) + u"\n";
        }
        console_.write(text);
    }

    // Enter shows the next page; on the last page it chooses the first answer.
    [[nodiscard]] bool hasNextPage() const { return page_ + 1 < pages_->count(); }

    [[nodiscard]] std::u16string prompt() const
    {
        std::u16string keys;
        for (std::size_t i = 0; i < question_.answers.size(); ++i) {
            if (i > 0) keys += i + 1 == question_.answers.size() ? u" or " : u", ";
            keys += question_.answers[i].key;
        }
        const std::u16string enter = hasNextPage() ? u"next page" : std::u16string(1, question_.answers.front().key);
        const std::u16string rows = question_.chooseRow ? u"a row's number, " : u"";
        const std::u16string all = u"[Type " + rows + keys + u" and Enter; Enter alone: " + enter + u"; ?: help] ";
        if (all.size() <= console_.columns()) return all;
        return u"[Enter: " + (hasNextPage() ? u"+" : enter) + u", ?: help] ";
    }

    void take(std::u16string_view line)
    {
        const auto command = ParseCommand(line);
        if (!command) return refuse();
        if (command->letter == 0) {
            if (command->numbers.empty()) return hasNextPage() ? turnPage(true) : give(question_.answers.front());
            return command->numbers.size() == 1 ? takeNumber(command->numbers.front()) : refuse();
        }
        if (command->numbers.empty()) return takeLetter(command->letter);
        if (command->letter == u'm' && question_.moveRow && command->numbers.size() == 2)
            return moveRow(command->numbers[0], command->numbers[1]);
        if (command->letter == u's' && question_.sortBy && command->numbers.size() == 1 && command->numbers[0] > 0) {
            question_.sortBy(static_cast<int>(command->numbers[0]) - 1);
            redraw_ = true;
            return;
        }
        refuse();
    }

    void refuse() { say(u"That is no answer here. Type one of the keys in brackets and press Enter; ? explains them."); }

    void takeLetter(char16_t letter)
    {
        if (letter == u'?') return help();
        if (letter == u'+' || letter == u'-') return turnPage(letter == u'+');
        takeKey(letter);
    }

    void takeKey(char16_t key)
    {
        const auto at = std::ranges::find(question_.answers, key, &Answer::key);
        if (at == question_.answers.end()) return refuse();
        give(*at);
    }

    void takeNumber(std::size_t number)
    {
        if (!question_.chooseRow) return number < 10 ? takeKey(static_cast<char16_t>(u'0' + number)) : refuse();
        const auto place = pages_->rowOf(number);
        if (place.row < 0) return refuse();
        if (!question_.chooseRow(place.list, place.row)) return say(question_.rowRefusal);
        page_ = pages_->pageOf(number);
        redraw_ = true;
    }

    void give(const Answer& answer)
    {
        redraw_ = true; // the answer may print something; then the question is shown again
        answer.act();
    }

    void moveRow(std::size_t from, std::size_t to)
    {
        const auto source = pages_->rowOf(from), target = pages_->rowOf(to);
        if (source.row < 0 || target.row < 0 || source.list != target.list) return refuse();
        if (!question_.moveRow(source.list, source.row, target.row)) return say(u"That row cannot be moved.");
        page_ = pages_->pageOf(to);
        redraw_ = true;
    }

    void turnPage(bool forward)
    {
        if (forward ? !hasNextPage() : page_ == 0) return say(forward ? u"This is the last page." : u"This is the first page.");
        page_ += forward ? 1 : std::size_t(-1);
        redraw_ = true;
    }

    void help()
    {
        console_.write(u"\n");
        if (!question_.help.empty()) say(question_.help);
        for (const Answer& answer : question_.answers)
            say(std::u16string(u"Type ") + answer.key + u" and Enter: " + platform::harmless(answer.name) +
                (answer.effect.empty() ? u"" : u", " + platform::harmless(answer.effect)) + u".");
        if (question_.chooseRow) say(u"Type 3 and Enter: " + question_.rowEffect + u".");
        if (question_.moveRow) say(u"Type m 3 5 and Enter: move the left field of row 3 to row 5, and the left field of row 5 to row 3.");
        if (question_.sortBy) say(u"Type s2 and Enter: sort by column 2; a second time, the other way round.");
        if (pages_->count() > 1) say(u"Type + or - and Enter: turn the page.");
        say(u"Ctrl-D cancels.");
        const std::u16string back = u"[Enter alone: back to the question; ?: help] ";
        console_.write(back.size() <= console_.columns() ? back : u"[Enter: back] ");
        std::u16string line;
        if (!console_.readLine(line)) {
            console_.write(u"\n");
            return dialog_.close();
        }
        redraw_ = true;
        // An answer that is typed here is taken.
        if (!line.empty() && line != u"?") take(line);
    }

    Dialog& dialog_;
    platform::Console& console_;
    Question question_;
    std::optional<QuestionPages> pages_;
    std::size_t page_ = 0;
    bool redraw_ = true;
};

} // namespace

void TerminalFrontEnd::run(Dialog& dialog, HWND)
{
    const bool outermost = !console_;
    if (outermost) console_ = open_();
    if (!console_) return dialog.closeUnanswered();
    try {
        Conversation(dialog, *console_).run();
    } catch (...) {
        if (outermost) console_.reset();
        throw;
    }
    if (outermost) console_.reset();
}

void TerminalFrontEnd::tell(HWND parent, std::u16string_view text, std::u16string_view caption, platform::MessageKind kind)
{
    if (!console_) return DialogFrontEnd::tell(parent, text, caption, kind);
    console_->write(platform::wrapped(platform::harmless(text), console_->columns()));
}

} // namespace mb
