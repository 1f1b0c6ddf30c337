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

// Splits a value at its line breaks.
std::vector<std::u16string> linesOf(std::u16string_view text)
{
    std::vector<std::u16string> lines{{}};
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == u'\r' && i + 1 < text.size() && text[i + 1] == u'\n') continue;
        if (text[i] == u'\n' || text[i] == u'\r')
            lines.emplace_back();
        else
            lines.back() += text[i];
    }
    return lines;
}

std::u16string shownValue(const std::u16string& text) { return text.empty() ? std::u16string(u"(empty)") : text; }

// Asks about the fields of one contact.
class FieldQuestions {
public:
    FieldQuestions(platform::Console& console, MergeQuestion& question) : console_(console), question_(question)
    {
        const std::size_t widest =
            std::max(platform::columnsOf(platform::harmless(question.name1)), platform::columnsOf(platform::harmless(question.name2)));
        namesFit_ = widest <= std::max(console.columns() / 3, shortestNames);
        nameWidth_ = namesFit_ ? std::max(widest, shortestNames) : shortestNames;
        total_ = static_cast<std::size_t>(std::ranges::count_if(question.fields, differs));
    }

    // Returns false if the user gave up or the input ended.
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
    static constexpr std::size_t ownLines = 11; // lines of a question besides the two values

    static bool differs(const MergeField& field) { return field.value1 != field.value2; }
    [[nodiscard]] bool isLast() const { return number_ == total_; }

    void say(const std::u16string& text) { console_.write(platform::wrapped(text, console_.columns())); }

    // The column in which the effects of the answers begin, and the number of columns from there on.
    [[nodiscard]] std::size_t lead() const { return nameWidth_ + 8; }
    [[nodiscard]] std::size_t room() const { return console_.columns() - std::min(lead(), console_.columns() / 2); }
    [[nodiscard]] std::u16string fitted(std::u16string_view effect, std::size_t mostLines) const
    {
        return platform::fitted(platform::harmless(effect), room() * mostLines - mostLines);
    }

    // Writes an answer: the key, a name, and what the answer does; the effect in at most `mostLines` lines. A name that is too long for its
    // column gets its own line.
    void sayAnswer(char16_t key, std::u16string_view name, std::u16string_view effect, std::size_t mostLines)
    {
        const std::u16string shown = platform::harmless(name);
        std::u16string lead = std::u16string(u"  [") + key + u"] " + shown;
        const std::size_t width = this->lead();
        if (platform::columnsOf(lead) + 2 > width) {
            say(lead);
            lead.clear();
        }
        lead.append(width - platform::columnsOf(lead), u' ');
        const std::u16string lines = platform::wrapped(fitted(effect, mostLines), room());
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
        const std::u16string value1 = shownValue(field.value1) + u" (Enter)", value2 = shownValue(field.value2);
        const auto cut = [&](const std::u16string& value) { return fitted(value, valueLines) != platform::harmless(value); };
        isCut_ = cut(value1) || cut(value2);
        console_.write(u"\n");
        say(platform::harmless(field.label) + u" (field " + digits(number_) + u" of " + digits(total_) + u")");
        sayAnswer(u'1', question_.name1, value1, valueLines);
        sayAnswer(u'2', question_.name2, value2, valueLines);
        sayAnswer(u't', u"type", u"a value of your own, or none", 1);
        if (isCut_) sayAnswer(u'v', u"view", u"both values whole, page by page", 1);
        if (!isLast()) {
            sayAnswer(u'f', u"first for all", u"this and all fields after it from " + (namesFit_ ? question_.name1 : u"[1]"), 1);
            sayAnswer(u's', u"second for all", u"this and all fields after it from " + (namesFit_ ? question_.name2 : u"[2]"), 1);
        }
        sayAnswer(u'q', u"give up", u"back to the previous question, with nothing changed", 1);
    }

    [[nodiscard]] std::u16string prompt() const
    {
        const std::u16string all = std::u16string(u"[Type 1, 2, t, ") + (isCut_ ? u"v, " : u"") + (isLast() ? u"" : u"f, s ") +
                                   u"or q and Enter; Enter alone: 1; ?: help] ";
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
            if (key == u'v' && isCut_) {
                if (!view(field)) return givenUp();
                draw(field);
                continue;
            }
            if (!isLast() && (key == u'f' || key == u's')) return take(field, rest_ = key == u'f' ? 1 : 2);
            say(key == u'?' ? u"Both stores have a value for this field. Type a key in brackets and press Enter; Ctrl-D gives up."
                            : u"That is no answer here. Type one of the keys in brackets and press Enter.");
        }
    }

    // Shows both values whole, in pages that fit the terminal. Returns false if the input ended.
    bool view(const MergeField& field)
    {
        std::u16string text;
        for (const auto& [name, value] : {std::pair(&question_.name1, &field.value1), std::pair(&question_.name2, &field.value2)}) {
            text += platform::wrapped(platform::harmless(*name) + u":", console_.columns());
            for (const std::u16string& line : linesOf(shownValue(*value)))
                text += line.empty() ? u"\n" : platform::wrapped(platform::harmless(line), console_.columns(), u"  ");
        }
        const std::size_t pageLines = std::max<std::size_t>(console_.lines(), 4) - 2;
        for (std::size_t at = 0; at < text.size();) {
            std::size_t end = at;
            for (std::size_t i = 0; i < pageLines && end < text.size(); ++i) end = text.find(u'\n', end) + 1;
            console_.write(text.substr(at, end - at));
            at = end;
            console_.write(at < text.size() ? u"[Enter alone: next page; q and Enter: back to the question] "
                                            : u"[Enter alone: back to the question] ");
            std::u16string line;
            if (!console_.readLine(line)) return false;
            if (line == u"q" || line == u"Q") break;
        }
        return true;
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
    bool namesFit_ = false; // the names of the stores fit the column of the answers
    bool isCut_ = false;    // the question shows a value only in part
    int rest_ = 0;          // the side that all further fields are taken from; 0 to ask about each
};

} // namespace

bool AskForFields(platform::Console& console, MergeQuestion& question) { return FieldQuestions(console, question).askAll(); }

bool AskForMerge(MergeQuestion& question)
{
    const auto console = platform::openConsole();
    return console && AskForFields(*console, question);
}

} // namespace mb::merge
