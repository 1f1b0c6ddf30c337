#include "dialogs/terminal/TerminalFrontEnd.h"

#include "console_text.h"
#include "dialogs/terminal/ListView.h"
#include "text.h"
#include <algorithm>

namespace mb {
namespace {

constexpr std::size_t pageSize = 40;

std::u16string digits(std::size_t number)
{
    const std::string text = std::to_string(number);
    return {text.begin(), text.end()};
}

// A caption without the mark of its access key.
std::u16string plainCaption(std::u16string_view text)
{
    std::u16string plain;
    for (std::size_t i = 0; i < text.size(); ++i)
        if (text[i] != u'&' || i + 1 == text.size() || text[i + 1] == u' ') plain += text[i];
    return platform::harmless(plain);
}

// What the user typed: a letter or none, and up to two numbers.
struct Command {
    char16_t letter = 0;
    std::vector<std::size_t> numbers;
    bool understood = true;
};

Command parseCommand(std::u16string_view line)
{
    Command command;
    std::size_t at = 0;
    while (at < line.size()) {
        const char16_t c = line[at];
        if (platform::isSpace(c)) {
            ++at;
        } else if (platform::isDigit(c)) {
            const std::size_t end = std::min(line.find_first_not_of(u"0123456789", at), line.size());
            if (end - at > 8) command.understood = false;
            command.numbers.push_back(static_cast<std::size_t>(platform::toInt(line.substr(at, end - at))));
            at = end;
        } else {
            if (command.letter != 0 || !command.numbers.empty()) command.understood = false;
            command.letter = platform::lower(c);
            ++at;
        }
    }
    return command;
}

class Conversation {
public:
    Conversation(Dialog& dialog, platform::Console& console) : dialog_(dialog), console_(console) {}

    void run()
    {
        drawAll();
        while (!dialog_.ending()) {
            console_.write(prompt());
            std::u16string line;
            if (!console_.readLine(line)) {
                console_.write(u"\n");
                return dialog_.close();
            }
            take(parseCommand(line));
        }
    }

private:
    const DialogModel& model() const { return dialog_.model(); }

    void say(std::u16string_view text, std::u16string_view indent = {})
    {
        console_.write(platform::wrapped(text, console_.columns(), indent));
    }

    void drawAll()
    {
        const std::u16string caption = platform::harmless(model().caption);
        console_.write(u"\n");
        const std::u16string lines = platform::wrapped(caption, console_.columns());
        console_.write(console_.coloured() ? u"\x1b[1m" + lines + u"\x1b[0m" : lines);
        std::size_t rowNumber = 1;
        for (const Control& control : model().controls()) {
            if (!control.visible) continue;
            if (control.kind == ControlKind::Text) say(platform::harmless(control.text));
            if (control.kind == ControlKind::Edit) drawEdit(control.text);
            if (control.kind != ControlKind::List) continue;
            drawList(control, rowNumber);
            rowNumber += control.rows.size();
        }
        drawChoices();
    }

    // Its line ends and tabs are the dialog's own.
    void drawEdit(std::u16string_view text)
    {
        while (!text.empty()) {
            const std::size_t end = text.find(u"\r\n");
            std::u16string_view line = text.substr(0, end);
            text.remove_prefix(end == std::u16string_view::npos ? text.size() : end + 2);
            const bool indented = line.starts_with(u'\t');
            if (indented) line.remove_prefix(1);
            say(platform::harmless(line), indented ? u"    " : u"  ");
        }
    }

    void drawList(const Control& list, std::size_t firstNumber)
    {
        const std::size_t first = std::min(page_ * pageSize, list.rows.size()), count = std::min(pageSize, list.rows.size() - first);
        console_.write(u"\n");
        if (count > 0 || list.rows.empty()) console_.write(DrawList(list, {first, count, firstNumber, console_.columns()}));
        if (list.rows.size() > pageSize)
            say(u"rows " + digits(std::min(first + 1, list.rows.size())) + u" to " + digits(first + count) + u" of " +
                    digits(list.rows.size()) + u"; + and - turn the page",
                u"  ");
        console_.write(u"\n");
    }

    // What can be chosen by a number, in the order of the numbers.
    std::vector<const Control*> choices() const
    {
        std::vector<const Control*> found;
        for (const Control& control : model().controls()) {
            const bool chosen =
                control.kind == ControlKind::Radio || control.kind == ControlKind::CheckBox || control.kind == ControlKind::Button;
            if (chosen && control.visible) found.push_back(&control);
        }
        return found;
    }

    void drawChoices()
    {
        const auto all = choices();
        for (std::size_t i = 0; i < all.size(); ++i) {
            const Control& control = *all[i];
            std::u16string line = digits(i + 1) + u' ';
            if (control.kind == ControlKind::Radio) line += control.checked ? u"(*) " : u"( ) ";
            if (control.kind == ControlKind::CheckBox) line += control.checked ? u"[x] " : u"[ ] ";
            line += plainCaption(control.text);
            if (!control.enabled) line += u" (not now)";
            say(line, u"  ");
        }
    }

    const Control* defaultButton() const
    {
        for (const Control& control : model().controls())
            if (control.role == ButtonRole::Default && control.enabled) return &control;
        return nullptr;
    }

    bool anyRow(bool Control::*has) const
    {
        return std::ranges::any_of(model().controls(), [&](const Control& control) { return control.*has && !control.rows.empty(); });
    }

    std::u16string prompt() const
    {
        const std::u16string end = u"?: help]";
        std::u16string text = u"[";
        if (const Control* byDefault = defaultButton()) text += u"Enter: " + plainCaption(byDefault->text) + u", ";
        // A number alone is a choice, so the prompt tells how a row is meant, where there is room for it.
        for (const auto& [has, hint] :
             {std::pair{&Control::selectable, u"r1: select row 1, "}, {&Control::checkBoxes, u"x1: check row 1, "}}) {
            const std::u16string more = text + hint;
            if (anyRow(has) && more.size() + end.size() <= console_.columns()) text = more;
        }
        return text + end + u" ";
    }

    void take(const Command& command)
    {
        if (!command.understood) return notUnderstood();
        const auto& numbers = command.numbers;
        if (command.letter == 0) {
            if (numbers.size() > 1) return notUnderstood();
            return numbers.empty() ? takeDefault() : takeChoice(numbers[0]);
        }
        if (command.letter == u'?') return help();
        if ((command.letter == u'+' || command.letter == u'-') && numbers.empty()) return turnPage(command.letter == u'+');
        if (command.letter == u'm' && numbers.size() == 2) return moveRow(numbers[0], numbers[1]);
        if (numbers.size() != 1) return notUnderstood();
        switch (command.letter) {
        case u'r': return selectRow(numbers[0]);
        case u'x': return toggleRow(numbers[0]);
        case u's': return sortBy(numbers[0]);
        default: return notUnderstood();
        }
    }

    void notUnderstood() { say(u"That is no choice here; ? tells what can be typed."); }

    void takeDefault()
    {
        if (const Control* button = defaultButton()) pressButton(button->id);
    }

    void pressButton(int id)
    {
        dialog_.press(id);
        if (!dialog_.ending()) drawAll();
    }

    void takeChoice(std::size_t number)
    {
        const auto all = choices();
        if (number == 0 || number > all.size()) return notUnderstood();
        const Control& control = *all[number - 1];
        if (!control.enabled) return say(u"That cannot be chosen now.");
        if (control.role == ButtonRole::Help) return help();
        if (control.kind == ControlKind::Button) return pressButton(control.id);
        if (control.kind == ControlKind::Radio)
            dialog_.choose(control.id);
        else
            dialog_.check(control.id, !control.checked);
        drawChoices();
    }

    struct RowPlace {
        const Control* list = nullptr;
        int row = -1;
    };

    // Rows are numbered through all lists.
    template <class Fits> RowPlace findRow(std::size_t number, Fits&& fits) const
    {
        for (const Control& control : model().controls()) {
            if (control.kind != ControlKind::List) continue;
            if (number >= 1 && number <= control.rows.size())
                return fits(control) ? RowPlace{&control, static_cast<int>(number - 1)} : RowPlace();
            number -= std::min(number, control.rows.size());
        }
        return {};
    }

    void selectRow(std::size_t number)
    {
        const RowPlace place = findRow(number, [](const Control& list) { return list.selectable; });
        if (!place.list) return notUnderstood();
        dialog_.select(place.list->id, place.row);
        drawAll();
    }

    void toggleRow(std::size_t number)
    {
        const RowPlace place = findRow(number, [](const Control& list) { return list.checkBoxes; });
        if (!place.list) return notUnderstood();
        dialog_.checkRow(place.list->id, place.row, !place.list->rows[static_cast<std::size_t>(place.row)].checked);
        drawAll();
    }

    void moveRow(std::size_t from, std::size_t to)
    {
        const auto draggable = [](const Control& list) { return list.draggable; };
        const RowPlace source = findRow(from, draggable), target = findRow(to, draggable);
        if (!source.list || source.list != target.list) return notUnderstood();
        if (!dialog_.beginDrag(source.list->id, source.row)) return say(u"That row cannot be moved.");
        dialog_.drop(target.row);
        drawAll();
    }

    // Columns are numbered through all lists.
    void sortBy(std::size_t number)
    {
        for (const Control& control : model().controls()) {
            if (control.kind != ControlKind::List || !control.sortable) continue;
            if (number >= 1 && number <= control.columns.size()) {
                dialog_.clickHeader(control.id, static_cast<int>(number - 1));
                return drawAll();
            }
            number -= std::min(number, control.columns.size());
        }
        notUnderstood();
    }

    void turnPage(bool forward)
    {
        std::size_t longest = 0;
        for (const Control& control : model().controls()) longest = std::max(longest, control.rows.size());
        if (forward && (page_ + 1) * pageSize < longest) ++page_;
        if (!forward && page_ > 0) --page_;
        drawAll();
    }

    void help()
    {
        const auto any = [&](bool Control::*has) {
            return std::ranges::any_of(model().controls(), [&](const Control& control) { return control.*has; });
        };
        if (!model().help.empty()) say(model().help);
        say(u"A number takes the choice that has it; a second time takes a check away.");
        if (const Control* button = defaultButton()) say(u"Enter alone is \"" + plainCaption(button->text) + u"\".");
        if (any(&Control::selectable)) say(u"r3 selects row 3.");
        if (any(&Control::checkBoxes)) say(u"x3 checks row 3, or takes its check away.");
        if (any(&Control::draggable)) say(u"m3 5 moves the left field of row 3 to row 5, and that of row 5 to row 3.");
        if (any(&Control::sortable))
            say(u"s2 sorts by column 2, a second time the other way round; the columns of a second list count on from those of the first.");
        say(u"+ and - turn the pages of long lists.");
        say(u"The end of the input (Ctrl-D) closes this without doing anything.");
    }

    Dialog& dialog_;
    platform::Console& console_;
    std::size_t page_ = 0;
};

} // namespace

void TerminalFrontEnd::run(Dialog& dialog, HWND)
{
    const bool outermost = !console_;
    if (outermost) console_ = open_();
    if (!console_) return dialog.close();
    Conversation(dialog, *console_).run();
    if (outermost) console_.reset();
}

void TerminalFrontEnd::tell(HWND parent, std::u16string_view text, std::u16string_view caption, platform::MessageKind kind)
{
    if (!console_) return DialogFrontEnd::tell(parent, text, caption, kind);
    console_->write(platform::wrapped(platform::harmless(caption) + u": " + platform::harmless(text), console_->columns()));
}

} // namespace mb
