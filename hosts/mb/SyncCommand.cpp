#include "Commands.h"
#include "Failure.h"
#include "MapName.h"
#include "Options.h"
#include "Output.h"
#include "Progress.h"
#include "RunLog.h"
#include <chrono>

namespace mbhost {
namespace {

// A Synchronizer that reports to a Progress, for the length of the command.
class Runner {
public:
    explicit Runner(const Engine& engine)
        : synchronizer_(engine.create<ISynchronizer>(__uuidof(Synchronizer))), progress_(com::make<Progress>())
    {
        com::check(synchronizer_.as<IConnectionPointContainer>()->FindConnectionPoint(__uuidof(ISyncEvents), point_.put()));
        com::check(point_->Advise(com::Ptr<ISyncEvents>(progress_).get(), &cookie_));
        com::check(synchronizer_->Initialize(nullptr, VARIANT_FALSE));
    }
    Runner(const Runner&) = delete;
    Runner& operator=(const Runner&) = delete;
    ~Runner()
    {
        (void)synchronizer_->Cleanup();
        (void)point_->Unadvise(cookie_);
    }
    HRESULT run(const GUID& map, bool resync)
    {
        const HRESULT hr =
            resync ? synchronizer_.as<IReSynchronizer>()->ReSynchronize(map, VARIANT_TRUE) : synchronizer_->Synchronize(map, VARIANT_TRUE);
        progress_->finish();
        return hr;
    }
    std::string lastError() const
    {
        com::Variant code;
        com::Bstr message1, message2;
        if (FAILED(synchronizer_->GetLastError(code.put(), message1.put(), message2.put())) || message1.empty()) return {};
        return printable(message1.view()) + (message2.empty() ? "" : " " + printable(message2.view()));
    }

private:
    com::Ptr<ISynchronizer> synchronizer_;
    com::Ptr<Progress> progress_;
    com::Ptr<IConnectionPoint> point_;
    DWORD cookie_ = 0;
};

struct Outcome {
    enum class End { Done, Failed, Cancelled } end = End::Done;
    double seconds = 0.0;
    std::optional<RunCounts> counts; // empty if the log does not tell
    std::string message;             // of a failure
};

// A map whose first plug-in is missing would end well to the engine, and nothing would have been done.
std::string missingPlugin(ITrMap* maps, const MapInfo& map)
{
    for (const int i : {0, 1}) {
        com::Ptr<ITranslator> translator;
        if (FAILED(maps->GetConfiguredTranslator(map.guid, i == 0 ? idTrans1 : idTrans2, translator.put())) || !translator)
            return "The plug-in " + quote(map.translators[i].name) + " cannot be loaded. Register it again with mb register.";
    }
    return {};
}

// The engine writes the second store first, and with one direction only one of them.
std::vector<int> writtenSides(ITrMap* maps, const GUID& map)
{
    switch (readOption(maps, map, optionNamed("direction"))) {
    case stImportToTrans1: return {0};
    case stExportFromTrans1: return {1};
    default: return {1, 0};
    }
}

Outcome runMap(Runner& runner, ITrMap* maps, const MapInfo& map, bool resync)
{
    Outcome outcome;
    outcome.message = missingPlugin(maps, map);
    if (!outcome.message.empty()) {
        outcome.end = Outcome::End::Failed;
        return outcome;
    }
    const RunLog log;
    const auto start = std::chrono::steady_clock::now();
    const HRESULT hr = runner.run(map.guid, resync);
    outcome.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    outcome.counts = countRun(log.lines(), writtenSides(maps, map.guid));
    if (hr == E_ABORT) {
        outcome.end = Outcome::End::Cancelled;
    } else if (FAILED(hr)) {
        outcome.end = Outcome::End::Failed;
        outcome.message = runner.lastError();
        if (outcome.message.empty()) outcome.message = describe(hr);
    }
    return outcome;
}

std::string sideSentence(const MapInfo& map, int side, const SideCounts& counts)
{
    return "  " + storeName(map, side) + ": " + std::to_string(counts.created) + " created, " + std::to_string(counts.updated) +
           " updated, " + std::to_string(counts.deleted) + " deleted\n";
}

Json sideJson(const SideCounts& counts) { return {{"created", counts.created}, {"updated", counts.updated}, {"deleted", counts.deleted}}; }

Json outcomeJson(const MapInfo& map, const Outcome& outcome)
{
    constexpr const char* ends[] = {"done", "failed", "cancelled"};
    Json json{{"map", guidName(map.guid)}, {"result", ends[static_cast<int>(outcome.end)]}, {"seconds", outcome.seconds}};
    if (outcome.counts) {
        json["first"] = sideJson(outcome.counts->sides[0]);
        json["second"] = sideJson(outcome.counts->sides[1]);
        json["matched"] = outcome.counts->matched;
        json["conflicts"] = Json::array();
        for (const auto& [contact, settled] : outcome.counts->conflicts)
            json["conflicts"].push_back({{"contact", printable(contact)}, {"settled", printable(settled)}});
    }
    if (!outcome.message.empty()) json["message"] = outcome.message;
    return json;
}

void tellConflicts(const std::vector<SettledConflict>& conflicts)
{
    constexpr std::size_t shown = 10;
    for (std::size_t i = 0; i < std::min(conflicts.size(), shown); ++i) {
        const auto& [contact, settled] = conflicts[i];
        print("  in conflict: " + (contact.empty() ? "a contact without a name" : printable(contact)) +
              (settled.empty() ? "\n" : "; " + printable(settled) + "\n"));
    }
    if (conflicts.size() > shown) print("  and " + std::to_string(conflicts.size() - shown) + " more in conflict; mb log names them\n");
}

void tellCounts(const MapInfo& map, const Outcome& outcome)
{
    const bool done = outcome.end == Outcome::End::Done;
    const bool idle = done && outcome.counts && outcome.counts->nothing();
    char time[32];
    std::snprintf(time, sizeof time, " (%.1f s)\n", outcome.seconds);
    print(guidName(map.guid) + (idle ? ": nothing to do" : done ? ": done" : ": stopped") + time);
    if (!outcome.counts) return print("  What was written is not counted: the engine's log is switched off.\n");
    if (outcome.counts->nothing()) return;
    for (const int side : {0, 1}) print(sideSentence(map, side, outcome.counts->sides[side]));
    if (outcome.counts->matched > 0) print("  " + std::to_string(outcome.counts->matched) + " found on both sides and linked\n");
    tellConflicts(outcome.counts->conflicts);
}

[[noreturn]] void failWith(const MapInfo& map, const Outcome& outcome)
{
    if (outcome.end == Outcome::End::Cancelled)
        throw Failure("Cancelled. What was written before is kept, and the next run goes on from there.", exitCancelled);
    throw Failure("The map " + guidName(map.guid) + " failed: " + outcome.message);
}

std::vector<GUID> resolveMaps(const Engine& engine, const std::vector<std::string>& names)
{
    const auto all = listMaps(engine);
    if (names.empty()) return all;
    std::vector<GUID> wanted;
    for (const std::string& name : names) wanted.push_back(resolveMap(all, name));
    return wanted;
}

void sync(const std::vector<std::string>& names, bool resync, bool json)
{
    const Engine engine;
    const auto wanted = resolveMaps(engine, names);
    if (wanted.empty() && !json) return print("There is no map yet. mb add NAME1=DATABASE1 NAME2=DATABASE2 makes one.\n");

    catchInterrupts();
    Runner runner(engine);
    const auto maps = engine.maps();
    Json out = Json::array();
    for (const GUID& guid : wanted) {
        const MapInfo map = describeMap(maps.get(), guid);
        Outcome outcome;
        if (interrupted())
            outcome.end = Outcome::End::Cancelled;
        else
            outcome = runMap(runner, maps.get(), map, resync);
        if (json)
            out.push_back(outcomeJson(map, outcome));
        else if (outcome.end == Outcome::End::Done || (outcome.counts && !outcome.counts->nothing()))
            tellCounts(map, outcome);
        if (outcome.end == Outcome::End::Done) continue;
        if (json) printJson(out);
        failWith(map, outcome);
    }
    if (json) printJson(out);
}

} // namespace

void addSyncCommand(CLI::App& app)
{
    struct Arguments {
        std::vector<std::string> maps;
        bool resync = false, json = false;
    };
    const auto given = std::make_shared<Arguments>();
    auto* command = app.add_subcommand("sync", "Bring the stores of maps into step");
    command->footer("It runs silently: nothing is asked, and no change is shown before it is written. Where an option says \"ask\", both\n"
                    "contacts of a conflict are kept, and a contact that was changed on one side and deleted on the other is kept.\n"
                    "Maps run one after the other; the first that fails is the last. Ctrl-C stops cleanly: what was written stays, and\n"
                    "the next run goes on from there.\n\n"
                    "Examples:\n  mb sync\n  mb sync 5F49 --resync\n  mb sync --json");
    command->add_option("MAP", given->maps, "The maps' identifiers, or beginnings of them; all maps if none is given");
    command->add_flag("--resync", given->resync, "Forget what is known of the last run, and compare everything anew");
    command->add_flag("--json", given->json, jsonHelp);
    command->callback([given] { sync(given->maps, given->resync, given->json); });
}

} // namespace mbhost
