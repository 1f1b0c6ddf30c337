#include "Commands.h"
#include "console.h"
#include "EngineMessages.h"
#include "Failure.h"
#include "host.h"
#include "MapName.h"
#include "Options.h"
#include "Outcome.h"
#include "Output.h"
#include "PlanOutput.h"
#include "Progress.h"
#include "Refusal.h"
#include "RunRecord.h"
#include "RunSink.h"
#include "StoreName.h"
#include "terminal.h"
#include "unattended.h"
#include <chrono>
#include <thread>

namespace mbhost {
namespace {

// How the user wants to be asked, and what is answered for him.
struct SyncOptions {
    bool resync = false, json = false, silent = false, yes = false, dryRun = false;
    std::optional<DeleteLimit> limit; // without one that of the map holds
    std::optional<int> wait;          // seconds, for another run of the map, or of a map that shares a store, to end

    // A silent run of another map ends by itself, and its length is that of its stores; one that asks may wait for its user for ever.
    [[nodiscard]] std::chrono::seconds patience(bool forSilentRun) const
    {
        return std::chrono::seconds(wait.value_or(forSilentRun ? 3600 : 10));
    }
};

// A Synchronizer that reports to a sink, for the length of the command.
class Runner {
public:
    Runner(const Engine& engine, const SyncOptions& options)
        : options_(options), synchronizer_(engine.create<ISynchronizer>(__uuidof(Synchronizer))), sink_(com::make<RunSink>())
    {
        sink_->acceptSummary = options.yes;
        sink_->planOnly = options.dryRun;
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
    // Waits for another run of the map, and for runs of other maps that use a store of it. Each new reason to wait is told once.
    HRESULT runWhenFree(const MapInfo& map, const DeleteLimit& limit)
    {
        const auto start = std::chrono::steady_clock::now();
        std::string told;
        recorded_ = false;
        for (;;) {
            const HRESULT hr = run(map, limit);
            if (hr != mapInUse) return hr;
            const auto [code, why] = lastError();
            if (std::chrono::steady_clock::now() - start >= options_.patience(code == storeInUseSilently)) return hr;
            if (interrupted()) return E_ABORT;
            if (why != told && platform::errorIsTerminal()) std::fprintf(stderr, "mb: Waiting. %s\n", why.c_str());
            told = why;
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
        }
    }
    HRESULT run(const MapInfo& map, const DeleteLimit& limit)
    {
        sink_->begin();
        sink_->limit = limit;
        sink_->confirmDeletions = nullptr;
        sink_->onRunBegin = [&] {
            if (options_.dryRun) return;
            recordStart(map.guid);
            recorded_ = true;
        };
        if (asks() && !options_.yes)
            sink_->confirmDeletions = [&](const TooManyDeletions& tooMany) { return confirmDeletions(map, tooMany); };
        const VARIANT_BOOL silent = asks() ? VARIANT_FALSE : VARIANT_TRUE;
        const HRESULT hr = options_.resync ? synchronizer_.as<IReSynchronizer>()->ReSynchronize(map.guid, silent)
                                           : synchronizer_->Synchronize(map.guid, silent);
        sink_->finish();
        return hr;
    }
    // Whether the record of the last map says that its run is unfinished.
    [[nodiscard]] bool recorded() const noexcept { return recorded_; }
    [[nodiscard]] const RunSink& sink() const noexcept { return *sink_.get(); }
    [[nodiscard]] const SyncOptions& options() const noexcept { return options_; }
    struct Error {
        HRESULT code = S_OK; // where it is a number
        std::string message;
    };
    Error lastError() const
    {
        com::Variant code;
        com::Bstr message1, message2;
        if (FAILED(synchronizer_->GetLastError(code.put(), message1.put(), message2.put()))) return {};
        return {code.vt == VT_I4 ? static_cast<HRESULT>(code.lVal) : S_OK, joined(message1, message2)};
    }

private:
    const SyncOptions& options_;
    com::Ptr<ISynchronizer> synchronizer_;
    com::Ptr<RunSink> sink_;
    com::Ptr<IConnectionPoint> point_;
    DWORD cookie_ = 0;
    bool recorded_ = false;
};

// Why a run ended that was stopped before its end.
Outcome::End endOfStopped(const Runner& runner)
{
    if (interrupted()) return Outcome::End::Cancelled;
    const _RunEnd end = runner.sink().end;
    if (end == reStopped && runner.options().dryRun) return Outcome::End::Planned;
    if ((end == reStopped || end == reRefused) && runner.sink().plan.refused) return Outcome::End::Refused;
    return end == reUnanswered ? Outcome::End::Unanswered : Outcome::End::Cancelled;
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
    // To the engine such a map has nothing to do.
    if (outcome.message.empty() && !map.databases[0].empty() && isSameStore(map.databases[0], map.databases[1]))
        outcome.message =
            "both of its sides are the store " + quote(map.databases[0]) + " by now, maybe by a link; point one to another store.";
    if (!outcome.message.empty()) {
        outcome.end = Outcome::End::Failed;
        return outcome;
    }
    requireDeletionLimit(maps, map.guid);
    const DeleteLimit limit = runner.options().limit.value_or(DeleteLimit::ofMap(readOption(maps, map.guid, optionNamed("max-delete"))));
    const auto start = std::chrono::steady_clock::now();
    const EngineMessages told;
    const HRESULT hr = runner.runWhenFree(map, limit);
    outcome.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    outcome.events = runner.sink().events;
    outcome.recorded = runner.recorded();
    outcome.settle(
        hr, [&] { return runner.lastError().message; }, told);
    if (hr == E_ABORT || hr == deletionsRefused) outcome.end = endOfStopped(runner);
    if (outcome.end == Outcome::End::Refused)
        outcome.message = refusalSentence(map, *runner.sink().plan.refused, writtenBeforeContacts(outcome));
    return outcome;
}

Json mapJson(const MapInfo& map, const Outcome& outcome)
{
    Json json{{"map", guidName(map.guid)}};
    json.update(outcomeJson(outcome));
    return json;
}

StoreNames storeNames(const MapInfo& map) { return {storeName(map, 0), storeName(map, 1)}; }

// A failure of a record names the record.
std::string failureSentence(const MapInfo& map, const Outcome& outcome)
{
    const auto failures = outcome.events.of(raFailed);
    std::string where;
    if (!failures.empty() && !failures.back().name.empty())
        where = " at " + quote(failures.back().name) + " in " + storeName(map, failures.back().side);
    return "The map " + guidName(map.guid) + " failed" + where + ": " + outcome.message;
}

struct Told {
    std::string sentence;
    ExitCode code = exitDone;
};

// What is said of a run that did not end well.
Told failureOf(const MapInfo& map, const Outcome& outcome)
{
    const std::string name = "The map " + guidName(map.guid);
    switch (outcome.end) {
    case Outcome::End::Done:
    case Outcome::End::Planned: return {};
    case Outcome::End::Cancelled: return {cancelledSentence(outcome), exitCancelled};
    case Outcome::End::Unanswered:
        return {
            name + " has changes to confirm or conflicts to settle, and " +
                (platform::someoneAnswers() ? "the environment variable MB_UNATTENDED forbids to ask" : "there is no terminal to ask on") +
                "; " + writtenBeforeContacts(outcome) + ". Say --yes to accept the changes, --silent to have conflicts settled too, or " +
                "--dry-run to see them.",
            exitCancelled};
    case Outcome::End::InUse: return {name + " was not run. " + outcome.message, exitInUse};
    case Outcome::End::Refused: return {outcome.message, exitFailed};
    case Outcome::End::Failed: break;
    }
    return {failureSentence(map, outcome), exitFailed};
}

// A failure is worse than a map that is in use, and that is worse than a cancel.
ExitCode worse(ExitCode a, ExitCode b)
{
    for (const ExitCode code : {exitFailed, exitInUse, exitCancelled})
        if (a == code || b == code) return code;
    return exitDone;
}

std::vector<GUID> resolveMaps(const Engine& engine, const std::vector<std::string>& names)
{
    const auto all = listMaps(engine);
    if (names.empty()) return all;
    std::vector<GUID> wanted;
    for (const std::string& name : names) wanted.push_back(resolveMap(all, name));
    return wanted;
}

void tell(const MapInfo& map, const Outcome& outcome, const RunSink& sink)
{
    if (outcome.end == Outcome::End::Planned) {
        print(planText(map, sink.plan));
        tellNotes(storeNames(map), outcome);
    } else if (outcome.end == Outcome::End::Done || !outcome.events.nothing()) {
        tellCounts(guidName(map.guid), storeNames(map), outcome);
    }
}

void sync(const std::vector<std::string>& names, const SyncOptions& options)
{
    const Engine engine;
    const auto wanted = resolveMaps(engine, names);
    if (wanted.empty() && !options.json) return print(noMapYet);

    catchInterrupts();
    if (!platform::someoneAnswers()) platform::setUnattended();
    Runner runner(engine, options);
    const auto maps = engine.maps();
    Json out = Json::array();
    ExitCode worst = exitDone;
    // A map that fails does not keep the others from their run; an interrupt is meant for all of them.
    for (std::size_t i = 0; i < wanted.size() && !interrupted(); ++i) {
        const MapInfo map = describeMap(maps.get(), wanted[i]);
        const Outcome outcome = runMap(runner, maps.get(), map);
        recordEnd(wanted[i], outcome);
        if (options.json) {
            out.push_back(mapJson(map, outcome));
            if (outcome.end == Outcome::End::Planned) out.back()["plan"] = planJson(runner.sink().plan);
        } else {
            tell(map, outcome, runner.sink());
        }
        const Told failed = failureOf(map, outcome);
        tellFailure(failed.sentence);
        worst = worse(worst, failed.code);
    }
    if (options.json) printJson(out);
    if (worst != exitDone) throw Failure({}, worst);
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
        "no contact; the lists of categories come first, and are not asked about. --silent asks nothing: both contacts of a conflict are "
        "kept, and a contact that was changed on one side and\n"
        "deleted on the other is kept.\n"
        "--max-delete is a number, a percentage such as 20%, or none; without it, the limit of the map holds: half of a store of\n"
        "more than three, unless mb set changed it. On a terminal a run over the limit is asked about, but not with --yes.\n"
        "Maps run one after the other, also after one that failed; the exit code is that of the worst: 1 before 4 before 3.\n"
        "A map has one run at a time, and a store is in one run at a time. mb waits ten seconds for another run of the map, and for\n"
        "a run of another map that shares a store and asks its user; for one that asks nothing it waits until that ends, an hour\n"
        "at the most. --wait says otherwise for all of them. Then mb names the process that it waited for, and the exit code is 4.\n"
        "--json lists each record that was written, each failure and conflict, and what a plug-in left out or noted.\n"
        "Ctrl-C stops all cleanly: what was written stays, and the next run goes on from there.\n\n"
        "Examples:\n  mb sync\n  mb sync --dry-run\n  mb sync 5F49 --yes\n  mb sync --silent --max-delete 20%\n"
        "  mb sync 5F49 --resync\n  mb sync --silent --json");
    command->add_option("MAP", given->maps, "The maps' identifiers, or beginnings of them; all maps if none is given");
    auto* resync = command->add_flag("--resync", options.resync, "Forget what is known of the last run, and compare everything anew");
    auto* silent = command->add_flag("--silent", options.silent, "Ask nothing");
    auto* yes = command->add_flag("--yes", options.yes, "Accept the changes; conflicts are still asked about");
    auto* dryRun = command->add_flag("--dry-run", options.dryRun,
                                     "Show what would be done, field by field, with conflicts settled as by --silent; write nothing");
    command->add_option("--max-delete", given->limit, "Refuse a run that would delete more contacts of a store than this");
    command->add_option("--wait", options.wait, "How long to wait for another run of the map or of a map that shares a store; see below")
        ->type_name("SECONDS")
        ->check(CLI::Range(0, 86400));
    command->add_flag("--json", options.json, jsonHelp);
    dryRun->excludes(resync, silent, yes);
    silent->excludes(yes);
    command->callback([given] {
        if (!given->limit.empty()) given->options.limit = DeleteLimit(given->limit);
        sync(given->maps, given->options);
    });
}

} // namespace mbhost
