// Compares a keyed read of a store of 10,000 sections with the XPath expression that defines it.
#include "store/CBase64.h"
#include "store/StoreFile.h"
#include "xml.h"

#include "TestFolder.h"
#include "text.h"
#include <benchmark/benchmark.h>
#include <fstream>

namespace {

constexpr int sections = 10000;

std::u16string name(int n)
{
    const std::string digits = std::to_string(n);
    return u"record " + std::u16string(digits.begin(), digits.end());
}

struct Filled {
    Filled()
    {
        store.Open(path, true);
        for (int i = 0; i < sections; ++i)
            for (const char16_t* key : {u"MappedID", u"ModifiedTime", u"FMStatus", u"FieldData"})
                store.WriteValue(u"Trans1", name(i), key, u"some value", false, false);
        store.Save();
        std::ifstream in(path, std::ios::binary);
        (void)document.load(std::string{std::istreambuf_iterator<char>(in), {}});
    }
    mbtest::TestFolder folder;
    std::filesystem::path path = folder.path() / "store.xml";
    mb::StoreFile store;
    platform::XmlDocument document;
};

Filled& filled()
{
    static Filled made;
    return made;
}

void KeyedRead(benchmark::State& state)
{
    Filled& f = filled();
    std::u16string value;
    for (int i = 0; auto _ : state) benchmark::DoNotOptimize(f.store.ReadValue(u"Trans1", name(i++ % sections), u"FieldData", value));
}

void XPathRead(benchmark::State& state)
{
    Filled& f = filled();
    for (int i = 0; auto _ : state) {
        const std::string path = "Scs/Sc[ST = 'Trans1' and SN = '" + mb::encodeBase64(name(i++ % sections)) + "']/Ky[KN = '" +
                                 mb::encodeBase64(u"FieldData") + "']/KV";
        benchmark::DoNotOptimize(f.document.selectFirst(path));
    }
}

BENCHMARK(KeyedRead);
BENCHMARK(XPathRead);

} // namespace

BENCHMARK_MAIN();
