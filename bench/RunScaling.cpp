// Measures how the time of a run grows from 10,000 to 20,000 records, on stores in memory: a first run into an empty side, and a run
// without changes. Each time is the fastest of three. Uses no benchmark library, so that it runs on every platform.
#include "apartment.h"
#include "BenchScenario.h"

#include <algorithm>
#include <chrono>
#include <cstdio>

namespace {

using mbbench::BenchScenario;
using mbbench::numbered;
using Clock = std::chrono::steady_clock;

constexpr std::size_t count = 10'000;
constexpr double limit = 2.4;

struct Times {
    double first = 1e9, unchanged = 1e9;
};

void fill(mbbench::BenchStore& store, std::size_t records)
{
    for (std::size_t n = 0; n < records; ++n)
        store.add({{ftFirstName, numbered(u"First", n)},
                   {ftLastName, numbered(u"Last", n)},
                   {ftTitle, u"Engineer of records"},
                   {ftCompany, numbered(u"Company ", n % 100)},
                   {ftStreet1, numbered(u"Long Street ", n)},
                   {ftCity1, u"Springfield"},
                   {ftZipCode1, numbered(u"9", n % 10000)},
                   {ftNotes, u"A remark of some length, as people write them."},
                   {ftPhone, numbered(u"+1 555 ", n)},
                   {ftEmail1, numbered(u"someone", n) + u"@example.org"}});
}

double seconds(BenchScenario& scenario)
{
    const auto start = Clock::now();
    com::check(scenario.sync());
    return std::chrono::duration<double>(Clock::now() - start).count();
}

void measure(std::size_t records, Times& least)
{
    BenchScenario scenario;
    fill(scenario.one(), records);
    least.first = std::min(least.first, seconds(scenario));
    if (scenario.two().order.size() != records) throw std::runtime_error("the first run did not write every record");
    least.unchanged = std::min(least.unchanged, seconds(scenario));
}

bool report(const char* what, double few, double many)
{
    std::printf("%-16s %zu records %6.2f s, %zu records %6.2f s, ratio %.2f (wanted: at most %.1f)\n", what, count, few, 2 * count, many,
                many / few, limit);
    return many <= few * limit;
}

} // namespace

int main()
{
    const platform::Apartment apartment;
    try {
        Times few, many;
        for (int turn = 0; turn < 3; ++turn) { // alternating, so that a busy machine slows both
            measure(count, few);
            measure(2 * count, many);
        }
        const bool first = report("first run", few.first, many.first), unchanged = report("nothing changed", few.unchanged, many.unchanged);
        return first && unchanged ? 0 : 1;
    } catch (const std::exception& e) {
        std::fprintf(stderr, "%s\n", e.what());
        return 2;
    }
}
