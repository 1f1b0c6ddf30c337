#include "Commands.h"
#include "Failure.h"
#include "MapName.h"
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

std::string sideSentence(const MapInfo& map, int side, const SideCounts& counts)
{
    return "  " + printable(map.translators[side].name + "=" + map.databases[side]) + ": " + std::to_string(counts.created) + " created, " +
           std::to_string(counts.updated) + " updated, " + std::to_string(counts.deleted) + " deleted\n";
}

Json sideJson(const SideCounts& counts) { return {{"created", counts.created}, {"updated", counts.updated}, {"deleted", counts.deleted}}; }

void tellDone(const MapInfo& map, const RunCounts& counts, double seconds)
{
    char time[32];
    std::snprintf(time, sizeof time, "%.1f s", seconds);
    print(guidName(map.guid) + (counts.nothing() ? ": nothing to do (" : ": done (") + time + ")\n");
    if (counts.nothing()) return;
    for (const int side : {0, 1}) print(sideSentence(map, side, counts.sides[side]));
    if (counts.matched > 0) print("  " + std::to_string(counts.matched) + " found on both sides and linked\n");
}

void sync(const std::vector<std::string>& names, bool resync, bool json)
{
    const Engine engine;
    const auto all = listMaps(engine);
    std::vector<GUID> wanted;
    for (const std::string& name : names) wanted.push_back(resolveMap(all, name));
    if (names.empty()) wanted = all;
    if (wanted.empty() && !json) return print("There is no map yet. mb add NAME1=DATABASE1 NAME2=DATABASE2 makes one.\n");

    catchInterrupts();
    Runner runner(engine);
    const auto maps = engine.maps();
    Json out = Json::array();
    for (const GUID& guid : wanted) {
        const MapInfo map = describeMap(maps.get(), guid);
        const RunLog log;
        const auto start = std::chrono::steady_clock::now();
        const HRESULT hr = runner.run(guid, resync);
        const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        const RunCounts counts = countRun(log.lines());
        if (hr == E_ABORT) throw Failure("cancelled; what was written before is kept, and the next run goes on from there", exitCancelled);
        if (FAILED(hr)) {
            const std::string reason = runner.lastError();
            throw Failure("The map " + guidName(guid) + " (" + printable(map.databases[0]) + ", " + printable(map.databases[1]) +
                          ") was not brought into step: " + (reason.empty() ? describe(hr) : reason));
        }
        if (json)
            out.push_back({{"map", guidName(guid)},
                           {"seconds", seconds},
                           {"first", sideJson(counts.sides[0])},
                           {"second", sideJson(counts.sides[1])},
                           {"matched", counts.matched}});
        else
            tellDone(map, counts, seconds);
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
    auto* command = app.add_subcommand(
        "sync", "Bring the stores of maps into step\n\nIt runs silently: nothing is asked, and what the options leave to "
                "be asked is settled by the safe choice. Ctrl-C stops cleanly.\n\n"
                "Examples:\n  mb sync\n  mb sync 5F49 --resync");
    command->add_option("MAP", given->maps, "The maps' identifiers, or beginnings of them; all maps if none is given");
    command->add_flag("--resync", given->resync, "Forget what is known of the last run, and compare everything anew");
    command->add_flag("--json", given->json, "For scripts");
    command->callback([given] { sync(given->maps, given->resync, given->json); });
}

} // namespace mbhost
