#include "automation_date.h"
#include "Commands.h"
#include "error_text.h"
#include "Failure.h"
#include "MapName.h"
#include "Output.h"
#include "RunRecord.h"
#include "StoreName.h"
#include <chrono>
#include <cmath>
#include <fstream>

namespace mbhost {
namespace {

// Formats an automation date as 2026-11-21 06:00; empty for no date.
std::string dateName(DATE date)
{
    if (date == 0.0) return {};
    const auto minutes = static_cast<long long>(std::floor(std::round(date * 86400.0) / 60.0)); // dates are exact to the second
    const std::chrono::year_month_day day = platform::calendarDay(minutes / 1440);
    const int clock = static_cast<int>(minutes % 1440);
    char text[80];
    std::snprintf(text, sizeof text, "%04d-%02u-%02u %02d:%02d", static_cast<int>(day.year()), static_cast<unsigned>(day.month()),
                  static_cast<unsigned>(day.day()), clock / 60, clock % 60);
    return text;
}

std::filesystem::path logPath() { return dataFolder() / "MBSync.log"; }

struct LastRun {
    std::string state;  // never, good, failed or unreadable; from mb's record also cancelled, refused, unanswered and unfinished
    std::string reason; // why the history is unreadable
    DATE when = 0.0;
    std::string message; // why the run failed or was refused, if known
};

// How the last run of a history ended. If the status cannot be read, an error text tells an unreadable history from one without a run.
LastRun lastRunOf(ITrMap* maps, const GUID& history)
{
    VARIANT_BOOL good = VARIANT_TRUE;
    (void)platform::takeErrorText(); // clears the text of an earlier call
    const HRESULT hr = maps->GetLastSyncStatus(history, &good);
    if (SUCCEEDED(hr)) return {good ? "good" : "failed", {}, 0.0, {}};
    const std::string reason = printable(platform::takeErrorText());
    return {reason.empty() ? "never" : "unreadable", reason, 0.0, {}};
}

// The category pass has a history of its own. The run is good only if both passes are.
LastRun lastRunOfMap(ITrMap* maps, const GUID& map)
{
    const LastRun contacts = lastRunOf(maps, map);
    GUID categories{};
    if (contacts.state != "good" || FAILED(maps->GetCategoryGuid(map, &categories))) return contacts;
    const LastRun lists = lastRunOf(maps, categories);
    return lists.state == "never" ? contacts : lists;
}

// The engine stamps runs that were completed or failed, by any host; mb records each run of mb. The later of the two was the last run.
LastRun lastRun(ITrMap* maps, const GUID& map)
{
    LastRun run = lastRunOfMap(maps, map);
    (void)maps->GetLastSyncTime(map, &run.when);
    const auto record = loadRunRecord(map);
    constexpr DATE second = 1.0 / 86400; // the engine's stamps are exact to the second
    if (run.state == "unreadable" || !record || record->when + second < run.when) return run;
    return {record->end, {}, record->when, record->message};
}

void status(bool json)
{
    const Engine engine;
    const auto maps = engine.maps();
    Json out = Json::array();
    std::vector<std::vector<std::string>> rows;
    std::string unreadable; // the reason for the first unreadable history
    for (const GUID& guid : listMaps(engine)) {
        const MapInfo map = describeMap(maps.get(), guid);
        const LastRun run = lastRun(maps.get(), guid);
        if (unreadable.empty()) unreadable = run.reason;
        out.push_back({{"map", guidName(guid)}, {"last_run", dateName(run.when)}, {"status", run.state}});
        if (!run.reason.empty() || !run.message.empty()) out.back()["message"] = run.reason.empty() ? run.message : run.reason;
        rows.push_back(
            {guidName(guid), run.state, run.when == 0.0 ? "-" : dateName(run.when), storeName(map, 0) + "  " + storeName(map, 1)});
    }
    // The map of a transfer is hidden, so transfers are listed by their targets.
    for (const TranslatorInfo& target : listTranslators(engine)) {
        const auto record = loadRunRecord(target.clsid);
        if (!record) continue;
        out.push_back({{"transfer", target.name}, {"last_run", dateName(record->when)}, {"status", record->end}});
        if (!record->message.empty()) out.back()["message"] = record->message;
        const MapInfo map = describeMap(maps.get(), target.clsid);
        const bool known = !map.databases[1].empty();
        rows.push_back({"transfer " + printable(target.name), record->end, dateName(record->when),
                        known ? storeName(map, 0) + "  " + storeName(map, 1) : "-"});
    }
    if (json)
        printJson(out);
    else
        print(rows.empty() ? noMapYet : table({"MAP", "LAST RUN", "WHEN", "STORES"}, rows));
    if (!unreadable.empty()) throw Failure(unreadable);
}

void showLog(int count, bool json)
{
    std::ifstream file(logPath(), std::ios::binary);
    if (!file) throw Failure("There is no log yet; the engine will write it to " + quote(textOf(logPath())) + ".");
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        if (!line.empty() && line != "\r") lines.push_back(printable(line));
    }
    if (count > 0 && lines.size() > static_cast<std::size_t>(count)) lines.erase(lines.begin(), lines.end() - count);
    if (json) return printJson(Json{{"file", textOf(logPath())}, {"lines", lines}});
    for (const std::string& line : lines) print(line + "\n");
}

} // namespace

void addStatusCommands(CLI::App& app)
{
    struct Arguments {
        int count = 50;
        bool json = false;
    };
    const auto given = std::make_shared<Arguments>();
    auto* state = app.add_subcommand("status", "Show when each map and transfer last ran, and how that run ended");
    state->footer(
        "LAST RUN is never, good, failed, cancelled, refused, unanswered (nobody could answer a question), unfinished (the run is\n"
        "still active or was killed), or unreadable (the map's history cannot be opened; the exit code is then 1). --json also says\n"
        "why a run failed or was refused.\n\n"
        "Examples:\n  mb status\n  mb status --json");
    state->add_flag("--json", given->json, jsonHelp);
    state->callback([given] { status(given->json); });

    const CLI::Validator lineCount(
        [](const std::string& text) {
            const bool number = !text.empty() && text.size() < 10 && text.find_first_not_of("0123456789") == std::string::npos;
            return number ? std::string() : quote(text) + " is not a number of lines";
        },
        "");
    auto* log = app.add_subcommand("log", "Show the end of the engine's log");
    log->footer("Examples:\n  mb log\n  mb log --lines 200");
    log->add_option("--lines", given->count, "How many lines, 0 for all")->capture_default_str()->check(lineCount);
    log->add_flag("--json", given->json, jsonHelp);
    log->callback([given] { showLog(given->count, given->json); });
}

} // namespace mbhost
