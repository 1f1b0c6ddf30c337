// A map of two stores of the benchmarks.
#pragma once
#include "BenchStore.h"
#include "MapScenario.h"
#include "RegisteredClass.h"

#include <string>

namespace mbbench {

inline constexpr GUID benchClass1{0xBE4C0001, 0x1111, 0x4111, {0x81, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11}};
inline constexpr GUID benchClass2{0xBE4C0002, 0x2222, 0x4222, {0x82, 0x22, 0x22, 0x22, 0x22, 0x22, 0x22, 0x22}};

class BenchScenario : public mbtest::MapScenario {
public:
    // The class of the first store, and the prefix of its identifiers; the second is benchClass2.
    explicit BenchScenario(const GUID& class1 = benchClass1, const std::u16string& idPrefix1 = u"A")
        : MapScenario(class1, benchClass2), one_(idPrefix1)
    {
        registerStore(0, class1, one_);
        registerStore(1, benchClass2, two_);
    }
    BenchStore& one() { return one_; }
    BenchStore& two() { return two_; }

private:
    void registerStore(int side, const GUID& clsid, BenchStore& store)
    {
        classes_[side].emplace(clsid,
                               [&store](IUnknown* outer, REFIID riid, void** out) { return createTranslator(store, outer, riid, out); });
    }
    BenchStore one_, two_{u"B"};
    std::optional<mbtest::RegisteredClass> classes_[2];
};

inline std::u16string numbered(const char16_t* word, std::size_t n)
{
    const std::string digits = std::to_string(n);
    return word + std::u16string(digits.begin(), digits.end());
}

} // namespace mbbench
