#include "Commands.h"
#include "Failure.h"
#include "MapName.h"
#include "Options.h"
#include "Outcome.h"
#include "Output.h"
#include "Progress.h"
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
        if (FAILED(synchronizer_->GetLastError(code.put(), message1.put(), message2.put()))) return {};
        return joined(message1, message2);
    }

private:
    com::Ptr<ISynchronizer> synchronizer_;
    com::Ptr<Progress> progress_;
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

Outcome runMap(Runner& runner, ITrMap* maps, const MapInfo& map, bool resync)
{
    Outcome outcome;
    // A map whose first plug-in is missing would end well to the engine, and nothing would have been done.
    for (const TranslatorInfo& translator : map.translators)
        if (outcome.message.empty()) outcome.message = missingPlugin(maps, translator);
    if (!outcome.message.empty()) {
        outcome.end = Outcome::End::Failed;
        return outcome;
    }
    const RunLog log;
    const auto start = std::chrono::steady_clock::now();
    const HRESULT hr = runner.run(map.guid, resync);
    outcome.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    outcome.counts = countRun(log.lines(), writtenSides(maps, map.guid));
    outcome.settle(hr, [&] { return runner.lastError(); });
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
    if (outcome.end == Outcome::End::Cancelled) throwCancelled();
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
            out.push_back(mapJson(map, outcome));
        else if (outcome.end == Outcome::End::Done || (outcome.counts && !outcome.counts->nothing()))
            tellMap(map, outcome);
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
