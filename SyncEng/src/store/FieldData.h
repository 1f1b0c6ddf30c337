// A record's values by field type, and their form in the history: one text of type, separator, value, separator, ... in ascending order of
// type.
#pragma once
#include "com.h"
#include <algorithm>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace mb {

inline constexpr std::u16string_view FieldSeparator = u"\u0003\u0006";

// An ordered map from field type to value: a sorted array, since a record has only a few dozen fields.
class FieldValueMap {
public:
    using Item = std::pair<LONG, std::u16string>;
    using iterator = std::vector<Item>::iterator;
    using const_iterator = std::vector<Item>::const_iterator;

    [[nodiscard]] iterator begin() noexcept { return items_.begin(); }
    [[nodiscard]] iterator end() noexcept { return items_.end(); }
    [[nodiscard]] const_iterator begin() const noexcept { return items_.begin(); }
    [[nodiscard]] const_iterator end() const noexcept { return items_.end(); }
    [[nodiscard]] bool empty() const noexcept { return items_.empty(); }
    [[nodiscard]] std::size_t size() const noexcept { return items_.size(); }
    void clear() noexcept { items_.clear(); }
    void reserve(std::size_t count) { items_.reserve(count); }

    [[nodiscard]] const_iterator find(LONG type) const noexcept
    {
        const auto at = std::ranges::lower_bound(items_, type, {}, &Item::first);
        return at != items_.end() && at->first == type ? at : items_.end();
    }
    [[nodiscard]] bool contains(LONG type) const noexcept { return find(type) != items_.end(); }
    // Returns the value of the type; an absent one is inserted empty.
    std::u16string& operator[](LONG type)
    {
        if (items_.empty() || items_.back().first < type)
            return items_.emplace_back(type, std::u16string()).second; // usual case: types arrive in ascending order
        auto at = std::ranges::lower_bound(items_, type, {}, &Item::first);
        if (at->first != type) at = items_.insert(at, Item(type, std::u16string()));
        return at->second;
    }
    void erase(LONG type)
    {
        if (const auto at = find(type); at != items_.end()) items_.erase(at);
    }
    friend bool operator==(const FieldValueMap&, const FieldValueMap&) = default;

private:
    std::vector<Item> items_; // sorted by type
};

// For each pair of mapped fields: the type on side 1 and the type on side 2.
using FieldTypeMap = std::map<LONG, LONG>;

// Returns the field's type on the other side; its own type if it is not mapped or there is no map.
inline LONG mappedType(const FieldTypeMap* types, LONG type)
{
    if (!types) return type;
    const auto at = types->find(type);
    return at == types->end() ? type : at->second;
}

std::u16string composeFieldData(const FieldValueMap& fields);
// Parses up to the first error and returns the fields before it.
FieldValueMap parseFieldData(std::u16string_view text);

} // namespace mb
