// Measures the transfer of ten cards from card files of different sizes, and filter lists of different lengths. The stores are in memory,
// so no files are opened but the engine's own.
#include "BenchScenario.h"

#include <benchmark/benchmark.h>

namespace {

using mbbench::BenchScenario;
using mbbench::numbered;

constexpr GUID hostClass{0xC8679015, 0x906F, 0x4A0A, {0x87, 0x77, 0xFA, 0xD9, 0x45, 0xB2, 0xDD, 0xB6}};

// The ten cards are spread over the store.
class TransferScenario : public BenchScenario {
public:
    explicit TransferScenario(std::size_t count) : BenchScenario(hostClass, u"card-")
    {
        one().database = u"cards";
        two().database = u"contacts";
        for (std::size_t i = 0; i < count; ++i) one().add({{ftFirstName, numbered(u"First", i)}, {ftLastName, numbered(u"Last", i)}});
        for (std::size_t i = 0; i < 10; ++i) cards.push_back(one().order[i * count / 10]);
        transferer = create<ISyncTransfer>(__uuidof(SyncTransfer));
    }
    HRESULT transfer()
    {
        SAFEARRAY* array = com::makeTextArray(cards);
        const com::Bstr guid(com::guidText(mbbench::benchClass2)), file(u"cards");
        const HRESULT hr = transferer->Transfer(0, guid.get(), file.get(), nullptr, array, VARIANT_FALSE);
        (void)SafeArrayDestroy(array);
        return hr;
    }
    std::vector<std::u16string> cards;
    com::Ptr<ISyncTransfer> transferer;
};

void TransferAnewOfTen(benchmark::State& state)
{
    TransferScenario s(static_cast<std::size_t>(state.range(0)));
    if (FAILED(s.transfer())) state.SkipWithError("the transfer failed"); // creates the hidden map
    std::size_t run = 0;
    for (auto _ : state) {
        s.two().database = numbered(u"contacts ", ++run); // a database to which the cards were never transferred
        if (FAILED(s.transfer())) state.SkipWithError("the transfer failed");
    }
}
BENCHMARK(TransferAnewOfTen)->Arg(1000)->Arg(100000)->Iterations(30)->Unit(benchmark::kMillisecond);

void TransferOfTenChangedCards(benchmark::State& state)
{
    TransferScenario s(static_cast<std::size_t>(state.range(0)));
    if (FAILED(s.transfer())) state.SkipWithError("the transfer failed");
    std::size_t run = 0;
    for (auto _ : state) {
        ++run;
        for (const std::u16string& card : s.cards) s.one().set(card, ftLastName, numbered(u"Changed", run));
        if (FAILED(s.transfer())) state.SkipWithError("the transfer failed");
    }
}
BENCHMARK(TransferOfTenChangedCards)->Arg(1000)->Arg(100000)->Iterations(30)->Unit(benchmark::kMillisecond);

// Adds and enumerates the entries one by one, as a host does.
void FilterEntries(benchmark::State& state)
{
    const auto count = static_cast<std::size_t>(state.range(0));
    for (auto _ : state) {
        BenchScenario s;
        const auto filter = s.create<IFidemarkFilter>(__uuidof(TrManager));
        const com::Bstr file(u"cards.db");
        (void)filter->OpenStore();
        for (std::size_t i = 0; i < count; ++i) (void)filter->AddEntry(file.get(), com::Bstr(numbered(u"id-", i)).get());
        std::size_t found = 0;
        com::Bstr id;
        while (SUCCEEDED(filter->EnumerateEntries(file.get(), static_cast<ULONG>(found), id.put()))) ++found;
        if (found != count) state.SkipWithError("entries are missing");
    }
    state.SetItemsProcessed(state.range(0));
}
BENCHMARK(FilterEntries)->Arg(1000)->Arg(10000)->Arg(100000)->Iterations(1)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
