// Identifiers of one side, which differ in more than case: texts of a history list, that stay as they are. One that is asked for in the
// order in which they were added is found by a look at the next one; the hash table is made by the first that is not.
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
    // This very one, and not one that differs in case.
    [[nodiscard]] bool containsExactly(std::u16string_view id);

private:
    static constexpr std::size_t none = SIZE_MAX;
    std::size_t positionOf(std::u16string_view id);

    std::vector<std::u16string_view> ids_;
    std::unordered_map<std::u16string_view, std::size_t, platform::HashNoCase, platform::EqualNoCase> positions_;
    std::size_t indexed_ = 0, next_ = 0;
};

} // namespace mb
