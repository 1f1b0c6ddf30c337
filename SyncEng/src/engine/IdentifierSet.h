// A set of case-insensitive identifiers, optimised for lookups in insertion order; the hash table is only built at the first out-of-order
// lookup. The views must stay valid, and no two identifiers may differ in case alone.
#pragma once
#include "text.h"
#include <cstdint>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace mb {

class IdentifierSet {
public:
    void reserve(std::size_t count) { ids_.reserve(count); }
    void insert(std::u16string_view id) { ids_.push_back(id); }
    [[nodiscard]] bool contains(std::u16string_view id);
    // The same, case-sensitive.
    [[nodiscard]] bool containsExactly(std::u16string_view id);

private:
    static constexpr std::size_t none = SIZE_MAX;
    std::size_t positionOf(std::u16string_view id);

    std::vector<std::u16string_view> ids_;
    std::unordered_map<std::u16string_view, std::size_t, platform::HashNoCase, platform::EqualNoCase> positions_;
    std::size_t indexed_ = 0, next_ = 0;
};

} // namespace mb
