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
#include <algorithm>
#include <chrono>
#include <thread>

namespace mbhost {
namespace {

// The options of mb sync.
struct SyncOptions {
    bool resync = false, json = false, silent = false, yes = false, dryRun = false;
    std::optional<DeleteLimit> limit; // without it the limit of the map applies
    std::optional<int> wait;          // how many seconds to wait for another run of the map, or of a map that shares a store

    // By default an hour for a silent run of another map, which ends by itself. Any other run may wait for its user: ten seconds.
    [[nodiscard]] std::chrono::seconds patience(bool forSilentRun) const
    {
        return std::chrono::seconds(wait.value_or(forSilentRun ? 3600 : 10));
    }
};

// A Synchronizer with its RunSink. The constructor initialises it, the destructor cleans it up.
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
    // A dry run asks nothing: its plan shows conflicts as a silent run would settle them.
    [[nodiscard]] bool asks() const noexcept { return !options_.silent && !options_.dryRun; }
    // Waits while another run holds the map or one of its stores. Prints each new reason to wait once.
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
    // Returns the deletions for which the last run was refused. A run that is refused for its categories ends before its contacts, so a dry
    // run looks at the contacts.
    std::vector<TooManyDeletions> refused(const MapInfo& map)
    {
        const std::vector<TooManyDeletions> found = sink_->plan.refused;
        if (options_.resync || std::ranges::none_of(found, &TooManyDeletions::ofCategories)) return found;
        sink_->begin();
        sink_->confirmDeletions = nullptr;
        sink_->onRunBegin = nullptr;
        sink_->planOnly = true;
        (void)synchronizer_->Synchronize(map.guid, VARIANT_TRUE);
        sink_->planOnly = options_.dryRun;
        sink_->finish();
        return sink_->plan.refused.empty() ? found : sink_->plan.refused;
    }
    // Whether the last run called recordStart().
    [[nodiscard]] bool recorded() const noexcept { return recorded_; }
    [[nodiscard]] const RunSink& sink() const noexcept { return *sink_.get(); }
    [[nodiscard]] const SyncOptions& options() const noexcept { return options_; }
    struct Error {
        HRESULT code = S_OK; // S_OK if the engine's code is not a number
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

// The end of a run that was cancelled, stopped by the sink, or refused by the engine.
Outcome::End endOfStopped(const Runner& runner)
{
    if (interrupted()) return Outcome::End::Cancelled;
    const _RunEnd end = runner.sink().end;
    if (end == reStopped && runner.options().dryRun) return Outcome::End::Planned;
    if ((end == reStopped || end == reRefused) && !runner.sink().plan.refused.empty()) return Outcome::End::Refused;
    return end == reUnanswered ? Outcome::End::Unanswered : Outcome::End::Cancelled;
}

// The engine's refusal of a run that would delete too much.
constexpr HRESULT deletionsRefused = static_cast<HRESULT>(0x80040240);

// Sets the default limit in a map of another host, which may have none.
void requireDeletionLimit(ITrMap* maps, const GUID& map)
{
    com::Variant limit;
    if (FAILED(maps->GetOption(map, soDeletionLimit, limit.put())))
        com::check(maps->SetOption(map, soDeletionLimit, com::Variant(LONG{halfOfAStore})));
}

Outcome runMap(Runner& runner, ITrMap* maps, const MapInfo& map)
{
    Outcome outcome;
    // The engine reports success for a map whose first plug-in is missing, although it did nothing.
    for (const TranslatorInfo& translator : map.translators)
        if (outcome.message.empty()) outcome.message = missingPlugin(maps, translator);
    // The engine finds nothing to do in a map of one store.
    if (outcome.message.empty() && !map.databases[0].empty() && isSameStore(map.databases[0], map.databases[1]))
        outcome.message = "both of its sides are the store " + quote(map.databases[0]) +
                          ", perhaps by a link. Give one side another store: mb set MAP second DATABASE.";
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
    if (outcome.end == Outcome::End::Refused) outcome.message = refusalSentence(map, runner.refused(map), writtenBeforeContacts(outcome));
    return outcome;
}

Json mapJson(const MapInfo& map, const Outcome& outcome)
{
    Json json{{"map", guidName(map.guid)}};
    json.update(outcomeJson(outcome));
    return json;
}

StoreNames storeNames(const MapInfo& map) { return {storeName(map, 0), storeName(map, 1)}; }

// Names the record at which the run failed, if there is one.
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

// The sentence and the exit code for a run that did not end well.
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
                (platform::someoneAnswers() ? "the environment variable MB_UNATTENDED forbids questions"
                                            : "there is no terminal to ask on") +
                "; " + writtenBeforeContacts(outcome) +
                ". Type mb sync --yes to accept the changes, mb sync --silent to accept them and settle conflicts, or mb sync --dry-run to "
                "see them.",
            exitCancelled};
    case Outcome::End::InUse: return {name + " was not run. " + outcome.message, exitInUse};
    case Outcome::End::Refused: return {outcome.message, exitFailed};
    case Outcome::End::Failed: break;
    }
    return {failureSentence(map, outcome), exitFailed};
}

// From worst to best: failed, in use, cancelled, done.
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
    // The other maps run even if one fails; an interrupt stops all of them.
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
        "On a terminal mb asks about contacts that both sides changed, and before it writes; the options of the map say what is\n"
        "asked. Without a terminal, a run that has a question ends with exit code 3 and writes no contact; the lists of categories\n"
        "come first and are never asked about. --silent asks nothing: it keeps both contacts of a conflict, and it keeps a contact\n"
        "that one side changed and the other deleted.\n"
        "--max-delete is a number, a percentage such as 20%, or none. Without it the limit of the map applies: half of a store of\n"
        "more than three contacts, unless mb set changed it. On a terminal mb asks about a run over the limit, but not with --yes.\n"
        "Maps run one after the other, even if one fails; the exit code is that of the worst: 1 before 4 before 3.\n"
        "A map has one run at a time, and a store is in one run at a time. mb waits ten seconds for another run of the map, and for\n"
        "a run of another map that shares a store and asks its user; for one that asks nothing it waits until that ends, an hour\n"
        "at the most. --wait says otherwise for all of them. Then mb names the process that it waited for, and the exit code is 4.\n"
        "--json lists each record that was written, each failure and conflict, and what a plug-in left out or noted.\n"
        "Ctrl-C stops all maps safely: what was written stays, and the next run goes on from there.\n\n"
        "Examples:\n  mb sync\n  mb sync --dry-run\n  mb sync 5F49 --yes\n  mb sync --silent --max-delete 20%\n"
        "  mb sync 5F49 --resync\n  mb sync --silent --json");
    command->add_option("MAP", given->maps, "The maps' identifiers, or beginnings of them; all maps if none is given");
    auto* resync = command->add_flag("--resync", options.resync, "Forget the history of the map and compare all contacts again");
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
