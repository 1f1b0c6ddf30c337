#include "terminal/AskForFields.h"

#include "console_text.h"
#include "text.h"
#include <algorithm>

namespace mb::merge {
namespace {

std::u16string digits(std::size_t number)
{
    const std::string text = std::to_string(number);
    return {text.begin(), text.end()};
}

// The questions about one contact.
class FieldQuestions {
public:
    FieldQuestions(platform::Console& console, MergeQuestion& question) : console_(console), question_(question)
    {
        nameWidth_ =
            std::max(platform::columnsOf(platform::harmless(question.name1)), platform::columnsOf(platform::harmless(question.name2)));
        nameWidth_ = std::min(std::max(nameWidth_, shortestNames), console.columns() / 3);
        total_ = static_cast<std::size_t>(std::ranges::count_if(question.fields, differs));
    }

    // False if the user gave up or the input ended.
    bool askAll()
    {
        for (MergeField& field : question_.fields) {
            field.merged = field.value1;
            if (!differs(field)) continue;
            ++number_;
            if (rest_ != 0)
                field.merged = rest_ == 1 ? field.value1 : field.value2;
            else if (!ask(field))
                return false;
        }
        return true;
    }

private:
    static constexpr std::size_t shortestNames = 16;
    static constexpr std::size_t ownLines = 11; // of a question, without the two values

    static bool differs(const MergeField& field) { return field.value1 != field.value2; }
    [[nodiscard]] bool isLast() const { return number_ == total_; }

    void say(const std::u16string& text) { console_.write(platform::wrapped(text, console_.columns())); }

    // An answer: the key, a name, and what it does. Cut to a number of lines.
    void sayAnswer(char16_t key, std::u16string_view name, std::u16string_view effect, std::size_t mostLines)
    {
        const std::u16string shown = platform::fitted(platform::harmless(name), nameWidth_);
        std::u16string lead = std::u16string(u"  [") + key + u"] " + shown;
        lead.append(nameWidth_ - platform::columnsOf(shown) + 2, u' ');
        const std::size_t width = platform::columnsOf(lead), room = console_.columns() - std::min(width, console_.columns() / 2);
        const std::u16string text = platform::fitted(platform::harmless(effect), room * mostLines - mostLines);
        const std::u16string lines = platform::wrapped(text, room);
        for (std::size_t at = 0; at < lines.size();) {
            const std::size_t end = lines.find(u'\n', at);
            console_.write(lead + lines.substr(at, end - at) + u"\n");
            lead = std::u16string(width, u' ');
            at = end + 1;
        }
    }

    void draw(const MergeField& field)
    {
        const std::size_t lines = console_.lines(), valueLines = lines > ownLines + 2 ? (lines - ownLines) / 2 : 1;
        const auto value = [](const std::u16string& text) { return text.empty() ? std::u16string(u"(empty)") : text; };
        console_.write(u"\n");
        say(platform::harmless(field.label) + u" (field " + digits(number_) + u" of " + digits(total_) + u")");
        sayAnswer(u'1', question_.name1, value(field.value1) + u" (Enter)", valueLines);
        sayAnswer(u'2', question_.name2, value(field.value2), valueLines);
        sayAnswer(u't', u"type", u"a value of your own, or none", 1);
        if (!isLast()) {
            sayAnswer(u'f', u"first for all", u"this and all fields after it from " + question_.name1, 1);
            sayAnswer(u's', u"second for all", u"this and all fields after it from " + question_.name2, 1);
        }
        sayAnswer(u'q', u"give up", u"back to the question before, with nothing changed", 1);
    }

    [[nodiscard]] std::u16string prompt() const
    {
        const std::u16string all =
            std::u16string(u"[Type 1, 2, t, ") + (isLast() ? u"" : u"f, s ") + u"or q and Enter; Enter alone: 1; ?: help] ";
        return all.size() <= console_.columns() ? all : u"[Enter: 1, ?: help] ";
    }

    bool ask(MergeField& field)
    {
        draw(field);
        for (;;) {
            console_.write(prompt());
            std::u16string line;
            if (!console_.readLine(line)) return givenUp();
            const char16_t key = line.empty() ? u'1' : line.size() == 1 ? platform::lower(line.front()) : u'\0';
            if (key == u'q') return false;
            if (key == u't') return type(field);
            if (key == u'1' || key == u'2') return take(field, key == u'1' ? 1 : 2);
            if (!isLast() && (key == u'f' || key == u's')) return take(field, rest_ = key == u'f' ? 1 : 2);
            say(key == u'?' ? u"Both stores have a value for this field. Type a key in brackets and press Enter; Ctrl-D gives up."
                            : u"That is no answer here. Type one of the keys in brackets and press Enter.");
        }
    }

    static bool take(MergeField& field, int side)
    {
        field.merged = side == 1 ? field.value1 : field.value2;
        return true;
    }

    bool type(MergeField& field)
    {
        console_.write(platform::harmless(field.label) + u" (Enter alone leaves it empty): ");
        std::u16string line;
        if (!console_.readLine(line)) return givenUp();
        field.merged = platform::harmless(line);
        return true;
    }

    bool givenUp()
    {
        console_.write(u"\n");
        return false;
    }

    platform::Console& console_;
    MergeQuestion& question_;
    std::size_t nameWidth_ = 0, total_ = 0, number_ = 0;
    int rest_ = 0; // the side that all further fields are taken from; 0 for none
};

} // namespace

bool AskForFields(platform::Console& console, MergeQuestion& question) { return FieldQuestions(console, question).askAll(); }

bool AskForMerge(MergeQuestion& question)
{
    const auto console = platform::openConsole();
    return console && AskForFields(*console, question);
}

} // namespace mb::merge
