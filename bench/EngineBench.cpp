// Measures runs of the engine on stores in memory. The yardstick is the time that pugixml alone needs, in the same process, to parse and
// write the history file of the run. Both times are the fastest of several; the counters are time and peak memory per record, and the ratio
// to the yardstick.
#include "BenchScenario.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <pugixml.hpp>
#include <thread>
#include <vector>

namespace {

using mbbench::BenchScenario;
using mbbench::BenchStore;
using mbbench::numbered;
using mbbench::Values;
using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point start) { return std::chrono::duration<double>(Clock::now() - start).count(); }

// The changes replace values of the usual contact.
Values contact(std::size_t n, const Values& changes = {})
{
    Values values = {{ftNamePrefix, u"Dr."},
                     {ftFirstName, numbered(u"First", n)},
                     {ftMiddleName, u"M."},
                     {ftLastName, numbered(u"Last", n)},
                     {ftNameSuffix, u"jr."},
                     {ftTitle, u"Engineer of records"},
                     {ftCompany, numbered(u"Company ", n % 100)},
                     {ftStreet1, numbered(u"Long Street ", n)},
                     {ftCity1, u"Springfield"},
                     {ftState1, u"Oregon"},
                     {ftZipCode1, numbered(u"9", n % 10000)},
                     {ftCountry1, u"Country"},
                     {ftNotes, u"A remark of some length, as people write them."},
                     {ftPhone, numbered(u"+1 555 ", n)},
                     {ftEmail1, numbered(u"someone", n) + u"@example.org"}};
    values.insert(values.end(), changes.begin(), changes.end());
    return values;
}

void fill(BenchStore& store, std::size_t count, std::size_t from = 0)
{
    for (std::size_t i = 0; i < count; ++i) store.add(contact(from + i));
}

// Resets the peak of the process's memory.
void resetPeak() { std::ofstream("/proc/self/clear_refs") << "5"; }

double memoryOf(const char* name)
{
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.starts_with(name)) return std::stod(line.substr(line.find(':') + 1)) * 1024;
    return 0;
}

double yardstick(const BenchScenario& s)
{
    const auto path = s.historyFile();
    double best = 1e9;
    for (int i = 0; i < 3; ++i) {
        const auto start = Clock::now();
        pugi::xml_document document;
        document.load_file(path.c_str());
        document.save_file((path.string() + ".copy").c_str(), "", pugi::format_raw);
        best = std::min(best, secondsSince(start));
    }
    std::filesystem::remove(path.string() + ".copy");
    return best;
}

// A run stamps the history with its time in seconds. A run in the same second as the previous one would have nothing to write.
void awaitNextSecond()
{
    using std::chrono::system_clock;
    std::this_thread::sleep_until(std::chrono::ceil<std::chrono::seconds>(system_clock::now()));
}

struct Measured {
    double seconds = 0, peakBytes = 0, yardstick = 0;
};

// Measures one run of the map.
Measured measure(benchmark::State& state, BenchScenario& s)
{
    awaitNextSecond();
    resetPeak();
    const double before = memoryOf("VmRSS");
    const auto start = Clock::now();
    const HRESULT hr = s.sync();
    const double seconds = secondsSince(start);
    if (FAILED(hr)) state.SkipWithError("the run failed");
    return {seconds, memoryOf("VmHWM") - before, yardstick(s)};
}

// Reports the fastest of several runs, each on new stores, to exclude what else the machine does. Short runs vary most and are repeated
// more often.
template <class Prepare> void run(benchmark::State& state, Prepare&& prepare)
{
    const auto n = static_cast<std::size_t>(state.range(0));
    for (auto _ : state) {
        std::vector<Measured> tries;
        for (int i = n < 10000 ? 9 : 5; i > 0; --i) {
            BenchScenario s;
            s.makeMap();
            prepare(s, n);
            tries.push_back(measure(state, s));
        }
        const double seconds = std::ranges::min(tries, {}, &Measured::seconds).seconds,
                     yard = std::ranges::min(tries, {}, &Measured::yardstick).yardstick,
                     peak = std::ranges::max(tries, {}, &Measured::peakBytes).peakBytes;
        state.SetIterationTime(seconds);
        state.counters["us/record"] = seconds * 1e6 / static_cast<double>(n);
        state.counters["bytes/record"] = peak / static_cast<double>(n);
        state.counters["yardstick_ms"] = yard * 1e3;
        state.counters["x_yardstick"] = seconds / yard;
    }
}

void FirstSync(benchmark::State& state)
{
    run(state, [](BenchScenario& s, std::size_t n) { fill(s.one(), n); });
}

void NothingChanged(benchmark::State& state)
{
    run(state, [](BenchScenario& s, std::size_t n) {
        fill(s.one(), n);
        s.sync();
    });
}

void OnePercentChangedOnEachSide(benchmark::State& state)
{
    run(state, [](BenchScenario& s, std::size_t n) {
        fill(s.one(), n);
        s.sync();
        for (std::size_t i = 0; i < n; i += 100) {
            s.one().set(s.one().order[i], ftCity1, u"Shelbyville");
            s.two().set(s.two().order[i + 1], ftCity1, u"Ogdenville");
        }
    });
}

void EqualSides(benchmark::State& state)
{
    run(state, [](BenchScenario& s, std::size_t n) {
        fill(s.one(), n);
        fill(s.two(), n);
    });
}

// Groups of fifty contacts have the same last name.
void SharedLastNames(benchmark::State& state)
{
    run(state, [](BenchScenario& s, std::size_t n) {
        for (BenchStore* store : {&s.one(), &s.two()})
            for (std::size_t i = 0; i < n; ++i) { store->add(contact(i, {{ftLastName, numbered(u"Family", i / 50)}})); }
    });
}

void OneLastNameForAll(benchmark::State& state)
{
    run(state, [](BenchScenario& s, std::size_t n) {
        for (BenchStore* store : {&s.one(), &s.two()})
            for (std::size_t i = 0; i < n; ++i) { store->add(contact(i, {{ftLastName, u"Smith"}})); }
    });
}

// Every tenth contact has another title.
void NearDuplicates(benchmark::State& state)
{
    run(state, [](BenchScenario& s, std::size_t n) {
        fill(s.one(), n);
        for (std::size_t i = 0; i < n; ++i) { s.two().add(contact(i, i % 10 == 0 ? Values{{ftTitle, u"Keeper of records"}} : Values())); }
    });
}

void EveryContactInConflict(benchmark::State& state)
{
    run(state, [](BenchScenario& s, std::size_t n) {
        s.setOption(soConflictResolution, croTrans1Wins);
        fill(s.one(), n);
        s.sync();
        for (std::size_t i = 0; i < n; ++i) {
            s.one().set(s.one().order[i], ftCity1, u"Shelbyville");
            s.two().set(s.two().order[i], ftCity1, u"Ogdenville");
        }
    });
}

#define SIZES ->Arg(1000)->Arg(10000)->Arg(100000)->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond)
BENCHMARK(FirstSync) SIZES;
BENCHMARK(NothingChanged) SIZES;
BENCHMARK(OnePercentChangedOnEachSide) SIZES;
BENCHMARK(EqualSides) SIZES;
BENCHMARK(SharedLastNames) SIZES;
BENCHMARK(NearDuplicates) SIZES;
BENCHMARK(EveryContactInConflict) SIZES;
BENCHMARK(OneLastNameForAll)->Arg(1000)->Arg(10000)->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
