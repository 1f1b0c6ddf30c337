#include "HelpText.h"

#include "console_text.h"
#include "Failure.h"
#include "Output.h"
#include "terminal.h"
#include "text.h"
#include <algorithm>
#include <memory>

namespace mbhost {
namespace {

constexpr std::size_t nameColumn = 28, widestHelp = 100;

// Joins lines to paragraphs and breaks these at `width`. A line that begins with a blank is a paragraph of its own. An example, a line that
// begins with "mb ", is not broken, because users copy it.
std::string broken(const std::string& text, std::size_t width, const std::string& indent)
{
    std::string out, paragraph;
    const auto flush = [&] {
        if (!paragraph.empty()) out += platform::utf8(platform::wrapped(platform::utf16(paragraph), width, platform::utf16(indent)));
        paragraph.clear();
    };
    std::size_t at = 0;
    while (at <= text.size()) {
        const std::size_t end = std::min(text.find('\n', at), text.size());
        const std::string line = text.substr(at, end - at);
        at = end + 1;
        if (line.empty() || line.front() == ' ') {
            flush();
            const std::size_t lead = std::min(line.find_first_not_of(' '), line.size());
            const std::u16string blanks(lead, u' ');
            const bool stays = line.empty() || line.compare(lead, 3, "mb ") == 0;
            out += stays ? line + "\n" : platform::utf8(platform::wrapped(platform::utf16(line.substr(lead)), width, blanks));
        } else {
            paragraph += (paragraph.empty() ? "" : " ") + line;
        }
    }
    flush();
    while (out.ends_with("\n\n")) out.pop_back();
    return out;
}

// Like CLI11's own formatter, but lines break at blanks.
class HelpFormatter final : public CLI::Formatter {
public:
    explicit HelpFormatter(std::size_t width) : width_(width) {}

    std::string make_description(const CLI::App* app) const override { return broken(app->get_description(), width_, "") + "\n"; }
    std::string make_footer(const CLI::App* app) const override { return broken(app->get_footer(), width_, ""); }
    std::string make_option(const CLI::Option* option, bool positional) const override
    {
        return beside(make_option_name(option, positional) + make_option_opts(option), make_option_desc(option));
    }
    // Leaves out which options exclude each other: that list would hide the option, and a wrong use gets an error message.
    std::string make_option_opts(const CLI::Option* option) const override
    {
        if (option->get_type_size() == 0) return {};
        std::string text;
        if (!option->get_positional())
            for (int i = 0; i < option->get_expected_min(); ++i) text += " " + valueName(option);
        else if (option->get_expected_max() > 1)
            text = " ...";
        if (option->get_required()) text += " (required)";
        return text;
    }
    std::string make_subcommand(const CLI::App* command) const override { return beside(command->get_name(), command->get_description()); }

private:
    // Returns the name that the option gives its value, such as SECONDS; VALUE instead of the library's names of types.
    static std::string valueName(const CLI::Option* option)
    {
        const std::string type = option->get_type_name(), name = type.substr(0, type.find(':'));
        const bool isLibraryName = name.empty() || name == "TEXT" || name == "INT" || name == "UINT" || name == "FLOAT";
        return isLibraryName ? "VALUE" : name;
    }

    // The name in the left column, its meaning in the right one.
    [[nodiscard]] std::string beside(const std::string& name, const std::string& meaning) const
    {
        std::string front = "  " + name;
        const std::string lines = broken(meaning, width_ > nameColumn + 20 ? width_ - nameColumn : 20, "");
        std::string out;
        if (front.size() + 2 > nameColumn) {
            out = front + "\n";
            front.clear();
        }
        for (std::size_t at = 0; at < lines.size();) {
            const std::size_t end = std::min(lines.find('\n', at), lines.size());
            front.resize(nameColumn, ' ');
            out += front + lines.substr(at, end - at) + "\n";
            front.clear();
            at = end + 1;
        }
        return out;
    }

    std::size_t width_;
};

struct Distance {
    std::size_t whole, beginning; // to the name, and to the nearest of its beginnings
};

// How many letters of `a` are wrong, missing, added, or swapped with their neighbour.
Distance distanceOf(const std::string& a, const std::string& b)
{
    std::vector<std::vector<std::size_t>> table(a.size() + 1, std::vector<std::size_t>(b.size() + 1));
    for (std::size_t i = 0; i <= a.size(); ++i) {
        for (std::size_t j = 0; j <= b.size(); ++j) {
            if (i == 0 || j == 0) {
                table[i][j] = i + j;
                continue;
            }
            table[i][j] = std::min({table[i - 1][j] + 1, table[i][j - 1] + 1, table[i - 1][j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1)});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
                table[i][j] = std::min(table[i][j], table[i - 2][j - 2] + 1);
        }
    }
    return {table[a.size()].back(), *std::ranges::min_element(table[a.size()])};
}

std::vector<std::string> commandNames(const CLI::App* app)
{
    std::vector<std::string> names;
    for (const CLI::App* command : app->get_subcommands([](const CLI::App*) { return true; })) names.push_back(command->get_name());
    return names;
}

std::vector<std::string> optionNames(const CLI::App* command)
{
    std::vector<std::string> names;
    for (const CLI::Option* option : command->get_options())
        for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
    return names;
}

std::string suggestion(const std::string& typed, const std::vector<std::string>& names)
{
    const std::string nearest = nearestName(typed, names);
    return nearest.empty() ? std::string() : " Did you mean " + nearest + "?";
}

} // namespace

void formatHelp(CLI::App& app)
{
    const std::size_t width = std::min(platform::outputIsTerminal() ? platform::errorColumns() : widestHelp, widestHelp);
    const auto formatter = std::make_shared<HelpFormatter>(width);
    app.formatter(formatter);
    for (CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; })) command->formatter(formatter);
}

std::vector<std::string> commandLine(const CLI::App& app, std::vector<std::string> arguments)
{
    if (arguments.front() == "help") {
        arguments.erase(arguments.begin());
        if (arguments.size() > 1) arguments.resize(1);
        if (arguments.empty() || !arguments.front().starts_with('-')) arguments.emplace_back("--help");
    }
    const std::string& typed = arguments.front();
    const std::vector<std::string> names = commandNames(&app);
    if (typed.starts_with('-') || std::ranges::find(names, typed) != names.end()) return arguments;
    const std::string nearest = suggestion(typed, names);
    throw Failure("There is no command " + quote(typed) + (nearest.empty() ? ";" : "." + nearest) + " mb --help lists the commands.",
                  exitUsage);
}

std::string nearestName(const std::string& typed, const std::vector<std::string>& names)
{
    std::string nearest;
    std::size_t least = 0;
    const std::size_t letters = typed.size() - std::min(typed.find_first_not_of('-'), typed.size());
    for (const std::string& name : names) {
        const auto [whole, beginning] = distanceOf(typed, name);
        const bool isNear = whole * 3 <= std::max(typed.size(), name.size());
        // A name that was typed in part, such as --drry for --dry-run. A whole name is preferred.
        const bool beginsNear = letters >= 3 && beginning * 3 <= letters;
        if (!isNear && !beginsNear) continue;
        const std::size_t distance = isNear ? whole : beginning + 1;
        if (nearest.empty() || distance < least) {
            nearest = name;
            least = distance;
        }
    }
    return nearest;
}

std::string usageSentence(const CLI::App* app, const CLI::Error& error)
{
    const auto used = app->get_subcommands();
    const CLI::App* const command = used.empty() ? app : used.front();
    const std::string name = used.empty() ? "mb" : "mb " + used.front()->get_name(), more = " " + name + " --help tells more.\n";
    const std::vector<std::string> remaining = app->remaining(true);
    const auto unknown = std::ranges::find_if(remaining, [](const std::string& text) { return text.starts_with('-'); });
    if (unknown != remaining.end()) {
        const std::string typed = unknown->substr(0, unknown->find('='));
        return "mb: There is no option " + quote(typed) + " of " + name + "." + suggestion(typed, optionNames(command)) + more;
    }
    std::string what = printable(error.what());
    if (!what.ends_with('.')) what += '.';
    return "mb: " + what + more;
}

} // namespace mbhost
