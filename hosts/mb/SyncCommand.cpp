#include "Commands.h"
#include "console.h"
#include "EngineMessages.h"
#include "Failure.h"
#include "MapName.h"
#include "Options.h"
#include "Outcome.h"
#include "Output.h"
#include "PlanOutput.h"
#include "Progress.h"
#include "RunSink.h"
#include <chrono>

namespace mbhost {
namespace {

// How the user wants to be asked, and what is answered for him.
struct SyncOptions {
    bool resync = false, json = false, silent = false, yes = false, dryRun = false;
    DeleteLimit limit;
};

// A Synchronizer that reports to a sink, for the length of the command.
class Runner {
public:
    Runner(const Engine& engine, const SyncOptions& options)
        : options_(options), synchronizer_(engine.create<ISynchronizer>(__uuidof(Synchronizer))), sink_(com::make<RunSink>())
    {
        sink_->acceptSummary = options.yes;
        sink_->planOnly = options.dryRun;
        sink_->limit = options.limit;
        com::check(synchronizer_.as<IConnectionPointContainer>()->FindConnectionPoint(__uuidof(ISyncEvents), point_.put()));
        com::check(point_->Advise(com::Ptr<ISyncEvents>(sink_).get(), &cookie_));
        com::check(synchronizer_->Initialize(nullptr, VARIANT_FALSE));
    }
    Runner(const Runner&) = delete;
    Runner& operator=(const Runner&) = delete;
    ~Runner()
    {
        (void)synchronizer_->Cleanup();
        (void)point_->Unadvise(cookie_);
    }
    // A look at the plan asks nothing: conflicts are shown as a silent run settles them.
    [[nodiscard]] bool asks() const noexcept { return !options_.silent && !options_.dryRun; }
    HRESULT run(const GUID& map)
    {
        sink_->begin();
        const VARIANT_BOOL silent = asks() ? VARIANT_FALSE : VARIANT_TRUE;
        const HRESULT hr =
            options_.resync ? synchronizer_.as<IReSynchronizer>()->ReSynchronize(map, silent) : synchronizer_->Synchronize(map, silent);
        sink_->finish();
        return hr;
    }
    [[nodiscard]] const RunSink& sink() const noexcept { return *sink_.get(); }
    [[nodiscard]] const SyncOptions& options() const noexcept { return options_; }
    std::string lastError() const
    {
        com::Variant code;
        com::Bstr message1, message2;
        if (FAILED(synchronizer_->GetLastError(code.put(), message1.put(), message2.put()))) return {};
        return joined(message1, message2);
    }

private:
    const SyncOptions& options_;
    com::Ptr<ISynchronizer> synchronizer_;
    com::Ptr<RunSink> sink_;
    com::Ptr<IConnectionPoint> point_;
    DWORD cookie_ = 0;
};

// The engine writes the second store first, and with one direction only one of them.
std::vector<int> writtenSides(ITrMap* maps, const GUID& map)
{
    switch (readOption(maps, map, optionNamed("direction"))) {
    case stImportToTrans1: return {0};
    case stExportFromTrans1: return {1};
    default: return {1, 0};
    }
}

std::string refusalSentence(const Runner& runner, const MapInfo& map)
{
    const int side = runner.sink().refusedSide;
    const RunPlan& plan = runner.sink().plan;
    const PlannedCounts& counts = (plan.ofCategories ? plan.categories : plan.sides)[side];
    return "The run would delete " + std::to_string(counts.deletions) + " of the " + std::to_string(counts.records) +
           (plan.ofCategories ? " categories of " : " contacts of ") + storeName(map, side) + ", and --max-delete " +
           runner.options().limit.text() +
           " is the limit; nothing of it was written. Look at the stores, and if the deletions are meant, set --max-delete higher.";
}

// Why a run ended that was stopped before its end.
Outcome::End endOfStopped(const Runner& runner)
{
    if (interrupted()) return Outcome::End::Cancelled;
    if (runner.options().dryRun) return Outcome::End::Planned;
    if (runner.sink().refusedSide >= 0) return Outcome::End::Refused;
    return runner.asks() && !platform::someoneAnswers() ? Outcome::End::Unanswered : Outcome::End::Cancelled;
}

// The engine's refusal of a run that would delete too much.
constexpr HRESULT deletionsRefused = static_cast<HRESULT>(0x80040240);

// A map that another host made may have no limit yet.
void requireDeletionLimit(ITrMap* maps, const GUID& map)
{
    com::Variant limit;
    if (FAILED(maps->GetOption(map, soDeletionLimit, limit.put())))
        com::check(maps->SetOption(map, soDeletionLimit, com::Variant(LONG{halfOfAStore})));
}

Outcome runMap(Runner& runner, ITrMap* maps, const MapInfo& map)
{
    Outcome outcome;
    // A map whose first plug-in is missing would end well to the engine, and nothing would have been done.
    for (const TranslatorInfo& translator : map.translators)
        if (outcome.message.empty()) outcome.message = missingPlugin(maps, translator);
    if (!outcome.message.empty()) {
        outcome.end = Outcome::End::Failed;
        return outcome;
    }
    requireDeletionLimit(maps, map.guid);
    const RunLog log;
    const auto start = std::chrono::steady_clock::now();
    const EngineMessages told;
    const HRESULT hr = runner.run(map.guid);
    outcome.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    outcome.counts = countRun(log.lines(), writtenSides(maps, map.guid));
    outcome.settle(
        hr, [&] { return runner.lastError(); }, told);
    if (hr == E_ABORT || hr == deletionsRefused) outcome.end = endOfStopped(runner);
    if (outcome.end == Outcome::End::Refused) outcome.message = refusalSentence(runner, map);
    return outcome;
}

Json mapJson(const MapInfo& map, const Outcome& outcome)
{
    Json json{{"map", guidName(map.guid)}};
    json.update(outcomeJson(outcome));
    return json;
}

void tellMap(const MapInfo& map, const Outcome& outcome)
{
    tellCounts(guidName(map.guid), {storeName(map, 0), storeName(map, 1)}, outcome);
}

[[noreturn]] void failWith(const MapInfo& map, const Outcome& outcome)
{
    switch (outcome.end) {
    case Outcome::End::Cancelled:
        if (outcome.counts && outcome.counts->nothing()) throw Failure("Cancelled. Nothing was written.", exitCancelled);
        throwCancelled();
    case Outcome::End::Unanswered:
        throw Failure("The map " + guidName(map.guid) + " has changes to confirm or conflicts to settle, and there is no terminal to ask " +
                          "on; nothing of it was written. Say --yes to accept the changes, --silent to have conflicts settled too, or " +
                          "--dry-run to see them.",
                      exitCancelled);
    case Outcome::End::Refused: throw Failure(outcome.message);
    default: throw Failure("The map " + guidName(map.guid) + " failed: " + outcome.message);
    }
}

std::vector<GUID> resolveMaps(const Engine& engine, const std::vector<std::string>& names)
{
    const auto all = listMaps(engine);
    if (names.empty()) return all;
    std::vector<GUID> wanted;
    for (const std::string& name : names) wanted.push_back(resolveMap(all, name));
    return wanted;
}

void tell(const MapInfo& map, const Outcome& outcome, const RunPlan& plan)
{
    if (outcome.end == Outcome::End::Planned) {
        print(planText(map, plan));
        tellNotes(outcome);
    } else if (outcome.end == Outcome::End::Done || (outcome.counts && !outcome.counts->nothing())) {
        tellMap(map, outcome);
    }
}

void sync(const std::vector<std::string>& names, const SyncOptions& options)
{
    const Engine engine;
    const auto wanted = resolveMaps(engine, names);
    if (wanted.empty() && !options.json) return print(noMapYet);

    catchInterrupts();
    Runner runner(engine, options);
    const auto maps = engine.maps();
    Json out = Json::array();
    for (const GUID& guid : wanted) {
        const MapInfo map = describeMap(maps.get(), guid);
        Outcome outcome;
        if (interrupted())
            outcome.end = Outcome::End::Cancelled;
        else
            outcome = runMap(runner, maps.get(), map);
        if (options.json) {
            out.push_back(mapJson(map, outcome));
            if (outcome.end == Outcome::End::Planned) out.back()["plan"] = planJson(runner.sink().plan);
        } else {
            tell(map, outcome, runner.sink().plan);
        }
        if (outcome.end == Outcome::End::Done || outcome.end == Outcome::End::Planned) continue;
        if (options.json) printJson(out);
        failWith(map, outcome);
    }
    if (options.json) printJson(out);
}

} // namespace

void addSyncCommand(CLI::App& app)
{
    struct Arguments {
        std::vector<std::string> maps;
        SyncOptions options;
        std::string limit;
    };
    const auto given = std::make_shared<Arguments>();
    SyncOptions& options = given->options;
    auto* command = app.add_subcommand("sync", "Bring the stores of maps into step");
    command->footer(
        "On a terminal it asks: what becomes of contacts that both sides changed, and whether the changes are to be written, as\n"
        "the options of the map say. With no terminal to ask on, a run that has a question ends with code 3 and writes\n"
        "nothing. --silent asks nothing: both contacts of a conflict are kept, and a contact that was changed on one side and\n"
        "deleted on the other is kept.\n"
        "--max-delete is a number, a percentage such as 20%, or none; without it, half of a store of more than three.\n"
        "Maps run one after the other; the first that fails is the last. Ctrl-C stops cleanly: what was written stays, and\n"
        "the next run goes on from there.\n\n"
        "Examples:\n  mb sync\n  mb sync --dry-run\n  mb sync 5F49 --yes\n  mb sync --silent --max-delete 20%\n"
        "  mb sync 5F49 --resync\n  mb sync --silent --json");
    command->add_option("MAP", given->maps, "The maps' identifiers, or beginnings of them; all maps if none is given");
    auto* resync = command->add_flag("--resync", options.resync, "Forget what is known of the last run, and compare everything anew");
    auto* silent = command->add_flag("--silent", options.silent, "Ask nothing");
    auto* yes = command->add_flag("--yes", options.yes, "Accept the changes; conflicts are still asked about");
    auto* dryRun = command->add_flag("--dry-run", options.dryRun,
                                     "Show what would be done, field by field, with conflicts settled as by --silent; write nothing");
    command->add_option("--max-delete", given->limit, "Refuse a run that would delete more contacts of a store than this");
    command->add_flag("--json", options.json, jsonHelp);
    dryRun->excludes(resync, silent, yes);
    silent->excludes(yes);
    command->callback([given] {
        if (!given->limit.empty()) given->options.limit = DeleteLimit(given->limit);
        sync(given->maps, given->options);
    });
}

} // namespace mbhost
